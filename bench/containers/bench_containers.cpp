// Record containers and their peers: one million records with keys of three labels, 400 labels
// per position, and one double, unless the name says how many; with "prefixes" 400 by 400 by 6
// labels. "ns" is the time per record, "bytes" its size on the heap. Repetitions of all
// benchmarks are mixed, so that a slow phase of the machine does not affect only one container;
// compare the lines "_min".

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "cube.h"
#include "dmap/dmap.h"
#include "dmap/dmaputree.h"
#include "dmap/dmapvector.h"
#include "slabtree.h"
#include "sqlitemap.h"
#include "subjects.h"

namespace {

constexpr std::size_t kRecords = 1000000;
constexpr Shape kScattered = scattered(kRecords);

double minimum(const std::vector<double>& times) {
  return *std::min_element(times.begin(), times.end());
}

void countRecords(benchmark::State& state, std::size_t records) {
  state.counters["ns"] = benchmark::Counter(
      static_cast<double>(records) / 1e9,
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

template <class C>
std::unique_ptr<C> loaded(const std::vector<Key>& keys) {
  auto container = std::make_unique<C>();
  for (const Key& key : keys) container->insert(key, key[2]);
  benchmark::DoNotOptimize(container->sum());  // makes a container that sorts late do so
  return container;
}

/// Times loading into new containers; `add` adds all keys.
template <class C, class Add>
void load(benchmark::State& state, const std::vector<Key>& keys, Add add) {
  for (auto _ : state) {
    state.PauseTiming();
    const auto before = C::bytes();
    auto container = std::make_unique<C>();
    state.ResumeTiming();
    if constexpr (requires { container->expect(keys.size()); }) container->expect(keys.size());
    add(*container);
    benchmark::DoNotOptimize(*container);
    state.PauseTiming();
    state.counters["bytes"] =
        static_cast<double>(C::bytes() - before) / static_cast<double>(keys.size());
    container.reset();
    state.ResumeTiming();
  }
  countRecords(state, keys.size());
}

template <class C>
void loadSorted(benchmark::State& state, const Shape& shape) {
  const std::vector<Key>& keys = cubeOf(shape).inOrder;
  load<C>(state, keys, [&keys](C& container) {
    for (const Key& key : keys) container.append(key, key[2]);
  });
}

/// Includes the first look-up, before which some containers sort.
template <class C>
void loadRandom(benchmark::State& state, const Shape& shape) {
  const std::vector<Key>& keys = cubeOf(shape).shuffled;
  load<C>(state, keys, [&keys](C& container) {
    for (const Key& key : keys) container.insert(key, key[2]);
    benchmark::DoNotOptimize(container.value(keys.front()));
  });
}

template <class C>
void find(benchmark::State& state, const Shape& shape, const std::vector<Key>& keys) {
  const auto container = loaded<C>(keys);
  for (auto _ : state) {
    double total = 0;
    for (const Key& key : cubeOf(shape).probes) total += container->value(key);
    benchmark::DoNotOptimize(total);
  }
  countRecords(state, shape.records);
}

template <class C>
void findRandom(benchmark::State& state, const Shape& shape) {
  find<C>(state, shape, cubeOf(shape).inOrder);
}

template <class C>
void findRandomLoadedRandom(benchmark::State& state, const Shape& shape) {
  find<C>(state, shape, cubeOf(shape).shuffled);
}

template <class C>
void walk(benchmark::State& state, const std::vector<Key>& keys) {
  const auto container = loaded<C>(keys);
  for (auto _ : state) benchmark::DoNotOptimize(container->sum());
  countRecords(state, keys.size());
}

template <class C>
void walkSorted(benchmark::State& state, const Shape& shape) {
  walk<C>(state, cubeOf(shape).inOrder);
}

template <class C>
void walkLoadedRandom(benchmark::State& state, const Shape& shape) {
  walk<C>(state, cubeOf(shape).shuffled);
}

template <class C>
void eraseRandom(benchmark::State& state, const Shape& shape) {
  for (auto _ : state) {
    state.PauseTiming();
    auto container = loaded<C>(cubeOf(shape).inOrder);
    state.ResumeTiming();
    for (const Key& key : cubeOf(shape).probes) container->erase(key);
  }
  countRecords(state, shape.records);
}

template <class From, class To>
void convert(benchmark::State& state, const Shape& shape) {
  const auto source = loaded<RecordMap<From>>(cubeOf(shape).inOrder);
  for (auto _ : state) {
    auto target = std::make_unique<To>(source->map());
    state.PauseTiming();
    if (target->size() != shape.records) state.SkipWithError("records are missing");
    target.reset();
    state.ResumeTiming();
  }
  countRecords(state, shape.records);
}

void add(const std::string& name, const Shape& shape,
         void (*work)(benchmark::State&, const Shape&)) {
  benchmark::RegisterBenchmark(name.c_str(), work, shape)
      ->Unit(benchmark::kMillisecond)
      ->Iterations(shape.records < kRecords ? std::max<std::size_t>(1, kRecords / shape.records)
                                            : 1)
      ->Repetitions(shape.records > kRecords ? 3 : 7)
      ->ComputeStatistics("min", minimum)
      ->ReportAggregatesOnly();
}

/// The benchmarks of a container that is filled in order and not changed afterwards.
template <class C>
void addInOrder(const std::string& name) {
  add("load_sorted/" + name, kScattered, loadSorted<C>);
  add("find_random/" + name, kScattered, findRandom<C>);
  add("walk/" + name, kScattered, walkSorted<C>);
}

template <class C>
void addAll(const std::string& name) {
  addInOrder<C>(name);
  add("load_random/" + name, kScattered, loadRandom<C>);
  add("find_random_loaded_random/" + name, kScattered, findRandomLoadedRandom<C>);
  add("walk_loaded_random/" + name, kScattered, walkLoadedRandom<C>);
  if constexpr (requires(C container, Key key) { container.erase(key); }) {
    add("erase_random/" + name, kScattered, eraseRandom<C>);
  }
}

template <class C>
void addPrefixes(const std::string& name) {
  add("prefixes_load_sorted/" + name, kPrefixes, loadSorted<C>);
  add("prefixes_find_random/" + name, kPrefixes, findRandom<C>);
  add("prefixes_walk/" + name, kPrefixes, walkSorted<C>);
}

template <class C>
void addGrowth(const std::string& name) {
  for (const std::size_t records : {10000, 100000, 1000000, 10000000}) {
    const std::string suffix = name + "/" + std::to_string(records);
    add("growth_load_sorted/" + suffix, scattered(records), loadSorted<C>);
    add("growth_find_random/" + suffix, scattered(records), findRandom<C>);
    add("growth_walk/" + suffix, scattered(records), walkSorted<C>);
  }
}

/// Without random insertions into sorted arrays, which take minutes at this size.
void addContainers() {
  using namespace zdb::dmap;
  addAll<RecordMap<DMap>>("DMap");
  addInOrder<RecordMap<DMapVector>>("DMapVector");
  addInOrder<Reserved<RecordMap<DMapVector>>>("DMapVector_reserved");
  addAll<RecordMap<DMapUTree>>("DMapUTree");
  addAll<StdMap>("std_map");
  addAll<PmrMap>("pmr_map");
  addAll<BtreeMap>("absl_btree_map");
  addAll<SlabTree>("avl_in_slabs");
  addAll<SortedVector>("sorted_vector");
  addInOrder<Reserved<SortedVector>>("sorted_vector_reserved");
  addAll<SqliteMap>("sqlite");

  addPrefixes<RecordMap<DMap>>("DMap");
  addPrefixes<RecordMap<DMapVector>>("DMapVector");
  addPrefixes<RecordMap<DMapUTree>>("DMapUTree");
  addPrefixes<BtreeMap>("absl_btree_map");
  addPrefixes<SortedVector>("sorted_vector");

  addGrowth<RecordMap<DMap>>("DMap");
}

void addConversions() {
  using namespace zdb::dmap;
  add("convert/DMap_DMapVector", kScattered, convert<DMap, DMapVector>);
  add("convert/DMap_DMapUTree", kScattered, convert<DMap, DMapUTree>);
  add("convert/DMapVector_DMap", kScattered, convert<DMapVector, DMap>);
  add("convert/DMapVector_DMapUTree", kScattered, convert<DMapVector, DMapUTree>);
  add("convert/DMapUTree_DMap", kScattered, convert<DMapUTree, DMap>);
  add("convert/DMapUTree_DMapVector", kScattered, convert<DMapUTree, DMapVector>);
}

}  // namespace

int main(int argc, char** argv) {
  std::string mixed = "--benchmark_enable_random_interleaving=true";
  std::vector<char*> arguments(argv, argv + argc);
  arguments.insert(arguments.begin() + 1, mixed.data());
  int count = static_cast<int>(arguments.size());
  arguments.push_back(nullptr);
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 1;

  addContainers();
  addConversions();

  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
