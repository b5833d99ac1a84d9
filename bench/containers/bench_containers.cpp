// Record containers beside their peers: one million records with keys of three labels, 400 labels a
// position, and one double, unless the name says how many. The column "ns" is the time of one
// record, "bytes" what it takes on the heap. Repetitions of all benchmarks are mixed, so that a
// slow phase of the machine does not fall on one container alone; compare the lines "_min".

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "cube.h"
#include "dmap/dmap.h"
#include "slabtree.h"
#include "sqlitemap.h"
#include "subjects.h"

namespace {

constexpr std::size_t kRecords = 1000000;

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
  benchmark::DoNotOptimize(container->sum());  // sorts what is sorted late
  return container;
}

/// Loads into new containers; `add` is append or insert.
template <class C, class Add>
void load(benchmark::State& state, const std::vector<Key>& keys, Add add) {
  for (auto _ : state) {
    state.PauseTiming();
    const auto before = C::bytes();
    auto container = std::make_unique<C>();
    state.ResumeTiming();
    for (const Key& key : keys) add(*container, key);
    benchmark::DoNotOptimize(container->value(keys.front()));
    state.PauseTiming();
    state.counters["bytes"] =
        static_cast<double>(C::bytes() - before) / static_cast<double>(keys.size());
    container.reset();
    state.ResumeTiming();
  }
  countRecords(state, keys.size());
}

template <class C>
void loadSorted(benchmark::State& state, std::size_t records) {
  load<C>(state, cubeOf(records).inOrder,
          [](C& container, const Key& key) { container.append(key, key[2]); });
}

template <class C>
void loadRandom(benchmark::State& state, std::size_t records) {
  load<C>(state, cubeOf(records).shuffled,
          [](C& container, const Key& key) { container.insert(key, key[2]); });
}

template <class C>
void find(benchmark::State& state, std::size_t records, const std::vector<Key>& keys) {
  const auto container = loaded<C>(keys);
  for (auto _ : state) {
    double total = 0;
    for (const Key& key : cubeOf(records).probes) total += container->value(key);
    benchmark::DoNotOptimize(total);
  }
  countRecords(state, records);
}

template <class C>
void findRandom(benchmark::State& state, std::size_t records) {
  find<C>(state, records, cubeOf(records).inOrder);
}

template <class C>
void findRandomLoadedRandom(benchmark::State& state, std::size_t records) {
  find<C>(state, records, cubeOf(records).shuffled);
}

template <class C>
void walk(benchmark::State& state, std::size_t records, const std::vector<Key>& keys) {
  const auto container = loaded<C>(keys);
  for (auto _ : state) benchmark::DoNotOptimize(container->sum());
  countRecords(state, records);
}

template <class C>
void walkSorted(benchmark::State& state, std::size_t records) {
  walk<C>(state, records, cubeOf(records).inOrder);
}

template <class C>
void walkLoadedRandom(benchmark::State& state, std::size_t records) {
  walk<C>(state, records, cubeOf(records).shuffled);
}

template <class C>
void eraseRandom(benchmark::State& state, std::size_t records) {
  for (auto _ : state) {
    state.PauseTiming();
    auto container = loaded<C>(cubeOf(records).inOrder);
    state.ResumeTiming();
    for (const Key& key : cubeOf(records).probes) container->erase(key);
  }
  countRecords(state, records);
}

void add(const std::string& name, std::size_t records,
         void (*work)(benchmark::State&, std::size_t)) {
  benchmark::RegisterBenchmark(name.c_str(), work, records)
      ->Unit(benchmark::kMillisecond)
      ->Iterations(records < kRecords ? kRecords / records : 1)
      ->Repetitions(records > kRecords ? 3 : 7)
      ->ComputeStatistics("min", minimum)
      ->ReportAggregatesOnly();
}

template <class C>
void addAll(const std::string& name) {
  add("load_sorted/" + name, kRecords, loadSorted<C>);
  add("find_random/" + name, kRecords, findRandom<C>);
  add("walk/" + name, kRecords, walkSorted<C>);
  add("load_random/" + name, kRecords, loadRandom<C>);
  add("find_random_loaded_random/" + name, kRecords, findRandomLoadedRandom<C>);
  add("walk_loaded_random/" + name, kRecords, walkLoadedRandom<C>);
  if constexpr (requires(C container, Key key) { container.erase(key); }) {
    add("erase_random/" + name, kRecords, eraseRandom<C>);
  }
}

template <class C>
void addGrowth(const std::string& name) {
  for (const std::size_t records : {10000, 100000, 1000000, 10000000}) {
    const std::string suffix = name + "/" + std::to_string(records);
    add("growth_load_sorted/" + suffix, records, loadSorted<C>);
    add("growth_find_random/" + suffix, records, findRandom<C>);
    add("growth_walk/" + suffix, records, walkSorted<C>);
  }
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

  using namespace zdb::dmap;
  addAll<RecordMap<DMap>>("DMap");
  addAll<StdMap>("std_map");
  addAll<PmrMap>("pmr_map");
  addAll<BtreeMap>("absl_btree_map");
  addAll<SlabTree>("avl_in_slabs");
  addAll<SortedVector>("sorted_vector");
  addAll<SqliteMap>("sqlite");
  addGrowth<RecordMap<DMap>>("DMap");

  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
