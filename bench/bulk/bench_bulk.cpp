// Whole columns in and out, compared with record by record through the exported table, with the
// containers' own loops and with absl. One core; the items are records or labels.

#include <absl/container/btree_map.h>
#include <absl/container/flat_hash_map.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "columns.h"
#include "dmap/dmap.h"
#include "dmap/dmaputree.h"
#include "dmap/dmapvector.h"
#include "timeload.h"

namespace {

constexpr std::size_t kMillion = 1000000;
constexpr int kMap = ZDB_STORAGE_MAP;
constexpr int kVector = ZDB_STORAGE_VECTOR;
constexpr int kTree = ZDB_STORAGE_TREE;

using Peer = absl::btree_map<std::array<int, 3>, double>;

void count(benchmark::State& state, std::size_t items) {
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(items));
}

template <typename Fresh, typename Load>
void timeLoad(benchmark::State& state, std::size_t items, Fresh fresh, Load load) {
  ::timeLoad(state, fresh, load);
  count(state, items);
}

// ---- Out

template <int Storage>
void Read_Bulk(benchmark::State& state) {
  const auto records = static_cast<std::size_t>(state.range(0));
  Target target(Storage);
  target.put(sortedColumns(records).view());
  Columns out = sortedColumns(records);
  zdbx_buffers buffers = {};
  buffers.size = sizeof buffers;
  buffers.rows = static_cast<std::int64_t>(records);
  for (std::size_t d = 0; d < 3; ++d) buffers.keys[d].data = out.keys[d].data();
  buffers.values[0].data = out.values.data();
  for (auto _ : state) {
    require(zdbx_get_records(target.db(), target.symbol(), nullptr, &buffers, nullptr) == 1, "get");
  }
  require(out.values == sortedColumns(records).values, "reading back");
  count(state, records);
}

// ---- In, in key order

template <int Storage>
void LoadSorted_Bulk(benchmark::State& state) {
  const auto records = static_cast<std::size_t>(state.range(0));
  const zdbx_columns view = sortedColumns(records).view();
  timeLoad(
      state, records, [] { return std::make_unique<Target>(Storage); },
      [&](Target& target) { target.put(view); });
}

template <class Container>
void LoadSorted_Container(benchmark::State& state) {
  const auto records = static_cast<std::size_t>(state.range(0));
  const Columns& data = sortedColumns(records);
  timeLoad(
      state, records, [] { return std::make_unique<Container>(3, 1); },
      [&](Container& container) {
        for (std::size_t i = 0; i < records; ++i) {
          const std::array<int, 3> key = data.key(i);
          container.emplace_end(key.data(), &data.values[i]);
        }
      });
}

void LoadSorted_AbslBtreeMap(benchmark::State& state) {
  const auto records = static_cast<std::size_t>(state.range(0));
  const Columns& data = sortedColumns(records);
  timeLoad(
      state, records, [] { return std::make_unique<Peer>(); },
      [&](Peer& map) {
        for (std::size_t i = 0; i < records; ++i) {
          map.emplace_hint(map.end(), data.key(i), data.values[i]);
        }
      });
}

// ---- In, in random order

template <int Storage>
void LoadShuffled_Bulk(benchmark::State& state) {
  const zdbx_columns view = shuffledColumns(kMillion).view();
  timeLoad(
      state, kMillion, [] { return std::make_unique<Target>(Storage); },
      [&](Target& target) { target.put(view); });
}

template <int Storage>
void LoadShuffled_OneByOne(benchmark::State& state) {
  const Columns& data = shuffledColumns(kMillion);
  timeLoad(
      state, kMillion, [] { return std::make_unique<Target>(Storage); },
      [&](Target& target) {
        for (std::size_t i = 0; i < kMillion; ++i) {
          const std::array<int, 3> key = data.key(i);
          c__zdbmergerecordint(target.db(), target.symbol(), key.data(), 1, 0, nullptr, 1,
                               &data.values[i]);
        }
      });
}

/// A thousand new records in random order into a symbol that has nearly a million.
template <int Storage>
void PutThousand_Bulk(benchmark::State& state) {
  constexpr std::size_t kFew = 1000;
  const Columns& data = shuffledColumns(kMillion);
  const zdbx_columns most = data.view(kFew, kMillion - kFew);
  const zdbx_columns few = data.view(0, kFew);
  timeLoad(
      state, kFew,
      [&] {
        auto target = std::make_unique<Target>(Storage);
        target->put(most);
        return target;
      },
      [&](Target& target) { target.put(few); });
}

// ---- Finding in random order

template <int Storage>
void Find_Bulk(benchmark::State& state) {
  const auto records = static_cast<std::size_t>(state.range(0));
  Target target(Storage);
  target.put(sortedColumns(records).view());
  const zdbx_columns keys = shuffledColumns(records).view();
  std::vector<double> found(records);
  zdbx_buffers buffers = {};
  buffers.size = sizeof buffers;
  buffers.rows = keys.rows;
  buffers.values[0].data = found.data();
  for (auto _ : state) {
    require(zdbx_find_records(target.db(), target.symbol(), &keys, &buffers, nullptr, nullptr) == 1,
            "find");
  }
  require(found == shuffledColumns(records).values, "finding all");
  count(state, records);
}

template <class Container>
void Find_OneByOne(benchmark::State& state) {
  const auto records = static_cast<std::size_t>(state.range(0));
  const Columns& data = sortedColumns(records);
  const Columns& sought = shuffledColumns(records);
  Container container(3, 1);
  for (std::size_t i = 0; i < records; ++i) {
    const std::array<int, 3> key = data.key(i);
    container.emplace_end(key.data(), &data.values[i]);
  }
  for (auto _ : state) {
    double sum = 0;
    for (std::size_t i = 0; i < records; ++i) {
      const std::array<int, 3> key = sought.key(i);
      sum += *(*container.find(key.data())).second;
    }
    benchmark::DoNotOptimize(sum);
  }
  count(state, records);
}

void Find_AbslBtreeMap(benchmark::State& state) {
  const auto records = static_cast<std::size_t>(state.range(0));
  const Columns& data = sortedColumns(records);
  const Columns& sought = shuffledColumns(records);
  Peer map;
  for (std::size_t i = 0; i < records; ++i)
    map.emplace_hint(map.end(), data.key(i), data.values[i]);
  for (auto _ : state) {
    double sum = 0;
    for (std::size_t i = 0; i < records; ++i) sum += map.find(sought.key(i))->second;
    benchmark::DoNotOptimize(sum);
  }
  count(state, records);
}

// ---- Labels

struct Texts {
  std::vector<std::string> inOrder, shuffled;
  std::vector<const char*> inOrderPointers, shuffledPointers;
};

const Texts& texts() {
  static const Texts made = [] {
    Texts all;
    for (std::size_t i = 0; i < kMillion; ++i) {
      all.inOrder.push_back(std::string(i % 2 == 0 ? "plant_" : "n").append(std::to_string(i)));
    }
    all.shuffled = all.inOrder;
    std::shuffle(all.shuffled.begin(), all.shuffled.end(), std::mt19937(4711));
    for (const std::string& text : all.inOrder) all.inOrderPointers.push_back(text.c_str());
    for (const std::string& text : all.shuffled) all.shuffledPointers.push_back(text.c_str());
    return all;
  }();
  return made;
}

struct Labels {
  void add() {
    zdbx_texts list = {};
    list.size = sizeof list;
    list.pointers = texts().inOrderPointers.data();
    require(zdbx_add_labels(db.handle(), &list, kMillion, numbers.data(), ZDBX_UNDO, nullptr) == 1,
            "add");
  }
  zdbcc::Database db;
  std::vector<int> numbers = std::vector<int>(kMillion);
};

void AddLabels_Bulk(benchmark::State& state) {
  texts();
  timeLoad(
      state, kMillion, [] { return std::make_unique<Labels>(); },
      [](Labels& labels) { labels.add(); });
}

void AddLabels_OneByOne(benchmark::State& state) {
  texts();
  timeLoad(
      state, kMillion, [] { return std::make_unique<Labels>(); },
      [](Labels& labels) {
        for (const char* text : texts().inOrderPointers) {
          c__zdbmergeuel(labels.db.handle(), text, labels.numbers.data());
        }
      });
}

using FlatHashMap = absl::flat_hash_map<std::string, int>;

void fill(FlatHashMap& map) {
  for (const std::string& text : texts().inOrder)
    map.try_emplace(text, static_cast<int>(map.size()) + 1);
}

void AddLabels_AbslFlatHashMap(benchmark::State& state) {
  texts();
  timeLoad(
      state, kMillion, [] { return std::make_unique<FlatHashMap>(); },
      [](FlatHashMap& map) { fill(map); });
}

void FindLabels_Bulk(benchmark::State& state) {
  Labels labels;
  labels.add();
  zdbx_texts list = {};
  list.size = sizeof list;
  list.pointers = texts().shuffledPointers.data();
  zdbx_result result = {};
  result.size = sizeof result;
  for (auto _ : state) {
    zdbx_find_labels(labels.db.handle(), &list, kMillion, labels.numbers.data(), &result);
    require(result.done == kMillion, "finding labels");
  }
  count(state, kMillion);
}

void FindLabels_AbslFlatHashMap(benchmark::State& state) {
  FlatHashMap map;
  fill(map);
  for (auto _ : state) {
    std::int64_t sum = 0;
    for (const std::string& text : texts().shuffled) sum += map.find(text)->second;
    benchmark::DoNotOptimize(sum);
  }
  count(state, kMillion);
}

using zdb::dmap::DMap;
using zdb::dmap::DMapUTree;
using zdb::dmap::DMapVector;

// Few iterations are enough, since each works on a million items or more. The part of a name before
// "_" is the group within which the table of `make bench` compares.
#define ZDB_BENCHMARK(name, ...) \
  BENCHMARK(__VA_ARGS__)->Name(name)->Unit(benchmark::kMillisecond)->MinTime(0.3)
#define ZDB_SIZES(group, name, ...)                                 \
  ZDB_BENCHMARK(group "Million_" name, __VA_ARGS__)->Arg(kMillion); \
  ZDB_BENCHMARK(group "TenMillion_" name, __VA_ARGS__)->Arg(10 * kMillion)
ZDB_SIZES("Read", "BulkMap", Read_Bulk<kMap>);
ZDB_SIZES("Read", "BulkVector", Read_Bulk<kVector>);
ZDB_SIZES("Read", "BulkTree", Read_Bulk<kTree>);
ZDB_SIZES("Load", "BulkMap", LoadSorted_Bulk<kMap>);
ZDB_SIZES("Load", "ContainerMap", LoadSorted_Container<DMap>);
ZDB_SIZES("Load", "BulkVector", LoadSorted_Bulk<kVector>);
ZDB_SIZES("Load", "ContainerVector", LoadSorted_Container<DMapVector>);
ZDB_SIZES("Load", "BulkTree", LoadSorted_Bulk<kTree>);
ZDB_SIZES("Load", "ContainerTree", LoadSorted_Container<DMapUTree>);
ZDB_SIZES("Load", "AbslBtreeMap", LoadSorted_AbslBtreeMap);
ZDB_BENCHMARK("LoadShuffled_BulkMap", LoadShuffled_Bulk<kMap>);
ZDB_BENCHMARK("LoadShuffled_OneByOneMap", LoadShuffled_OneByOne<kMap>);
ZDB_BENCHMARK("LoadShuffled_BulkVector", LoadShuffled_Bulk<kVector>);
ZDB_BENCHMARK("LoadShuffled_BulkTree", LoadShuffled_Bulk<kTree>);
ZDB_BENCHMARK("LoadShuffled_OneByOneTree", LoadShuffled_OneByOne<kTree>);
ZDB_BENCHMARK("PutThousand_BulkMap", PutThousand_Bulk<kMap>);
ZDB_BENCHMARK("PutThousand_BulkVector", PutThousand_Bulk<kVector>);
ZDB_BENCHMARK("PutThousand_BulkTree", PutThousand_Bulk<kTree>);
ZDB_SIZES("Find", "BulkMap", Find_Bulk<kMap>);
ZDB_SIZES("Find", "OneByOneMap", Find_OneByOne<DMap>);
ZDB_SIZES("Find", "BulkVector", Find_Bulk<kVector>);
ZDB_SIZES("Find", "OneByOneVector", Find_OneByOne<DMapVector>);
ZDB_SIZES("Find", "BulkTree", Find_Bulk<kTree>);
ZDB_SIZES("Find", "OneByOneTree", Find_OneByOne<DMapUTree>);
ZDB_SIZES("Find", "AbslBtreeMap", Find_AbslBtreeMap);
ZDB_BENCHMARK("AddLabels_Bulk", AddLabels_Bulk);
ZDB_BENCHMARK("AddLabels_OneByOne", AddLabels_OneByOne);
ZDB_BENCHMARK("AddLabels_AbslFlatHashMap", AddLabels_AbslFlatHashMap);
ZDB_BENCHMARK("FindLabels_Bulk", FindLabels_Bulk);
ZDB_BENCHMARK("FindLabels_AbslFlatHashMap", FindLabels_AbslFlatHashMap);

}  // namespace
