// One million labels: merged one by one, then found in random order. The label list ignores case,
// checks each text and trims it; the peers match exactly.

#include <absl/container/flat_hash_map.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include "core/uellist.h"
#include "zdbcc.hpp"

namespace {

constexpr int kLabels = 1000000;

struct Texts {
  std::vector<std::string> inOrder;
  std::vector<std::string> shuffled;  ///< copies, so that texts are not in the cache by order
};

const Texts& texts() {
  static const Texts made = [] {
    Texts all;
    for (int i = 0; i < kLabels; ++i) {
      all.inOrder.push_back(std::string(i % 2 == 0 ? "plant_" : "n").append(std::to_string(i)));
    }
    all.shuffled = all.inOrder;
    std::shuffle(all.shuffled.begin(), all.shuffled.end(), std::mt19937(4711));
    return all;
  }();
  return made;
}

// The subjects are lists with merge(text) and find(text), which both return the label's number.

class LabelList {
 public:
  int merge(const std::string& text) {
    int number;
    list_.merge(text.c_str(), number);
    return number;
  }
  int find(const std::string& text) {
    int number;
    list_.find(text.c_str(), number);
    return number;
  }

 private:
  zdb::LastError error_;
  zdb::uellist::UELList list_{error_};
};

class Interface {
 public:
  int merge(const std::string& text) {
    int number;
    c__zdbmergeuel(db_.handle(), text.c_str(), &number);
    return number;
  }
  int find(const std::string& text) {
    int number;
    c__zdbfinduel(db_.handle(), text.c_str(), &number);
    return number;
  }

 private:
  zdbcc::Database db_;
};

template <typename Map>
class MapOf {
 public:
  int merge(const std::string& text) {
    return map_.try_emplace(text, static_cast<int>(map_.size()) + 1).first->second;
  }
  int find(const std::string& text) {
    const auto it = map_.find(text);
    return it == map_.end() ? -1 : it->second;
  }

 private:
  Map map_;
};

using FlatHashMap = MapOf<absl::flat_hash_map<std::string, int>>;
using UnorderedMap = MapOf<std::unordered_map<std::string, int>>;

void checkSum(std::int64_t sum) {
  if (sum == std::int64_t{kLabels} * (kLabels + 1) / 2) return;
  std::fprintf(stderr, "bench_labels: wrong label numbers\n");
  std::abort();
}

template <typename List>
void Merge(benchmark::State& state) {
  texts();
  for (auto _ : state) {
    state.PauseTiming();
    auto list = std::make_unique<List>();
    std::int64_t sum = 0;
    state.ResumeTiming();
    for (const std::string& text : texts().inOrder) sum += list->merge(text);
    state.PauseTiming();
    checkSum(sum);
    list.reset();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * kLabels);
}

template <typename List>
void Find(benchmark::State& state) {
  List list;
  for (const std::string& text : texts().inOrder) list.merge(text);
  for (auto _ : state) {
    std::int64_t sum = 0;
    for (const std::string& text : texts().shuffled) sum += list.find(text);
    checkSum(sum);
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * kLabels);
}

/// Both together.
template <typename List>
void MergeThenFind(benchmark::State& state) {
  texts();
  for (auto _ : state) {
    state.PauseTiming();
    auto list = std::make_unique<List>();
    std::int64_t sum = 0;
    state.ResumeTiming();
    for (const std::string& text : texts().inOrder) list->merge(text);
    for (const std::string& text : texts().shuffled) sum += list->find(text);
    state.PauseTiming();
    checkSum(sum);
    list.reset();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * 2 * kLabels);
}

#define ZDB_BENCHMARK(function)                                                \
  BENCHMARK(function<LabelList>)->Unit(benchmark::kMillisecond)->MinTime(1);   \
  BENCHMARK(function<Interface>)->Unit(benchmark::kMillisecond)->MinTime(1);   \
  BENCHMARK(function<FlatHashMap>)->Unit(benchmark::kMillisecond)->MinTime(1); \
  BENCHMARK(function<UnorderedMap>)->Unit(benchmark::kMillisecond)->MinTime(1)
ZDB_BENCHMARK(MergeThenFind);
ZDB_BENCHMARK(Merge);
ZDB_BENCHMARK(Find);

}  // namespace
