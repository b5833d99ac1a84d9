// The three record storages compared through the exported interface: loading, finding, walking,
// slices, switches, copies, domain checks, and arrays of ten million cells, the latter also with a
// copy of memory.

#include <algorithm>
#include <cstring>
#include <memory>
#include <optional>
#include <vector>

#include "database.h"

namespace {

const char* const kStorages[] = {"map", "vector", "tree"};
constexpr std::int64_t kRecordBytes = 3 * sizeof(int) + sizeof(double);

std::unique_ptr<Database> loaded(int storage) {
  auto database = std::make_unique<Database>(storage);
  database->load();
  return database;
}

int storageOf(benchmark::State& state) {
  const auto storage = static_cast<int>(state.range(0));
  state.SetLabel(kStorages[storage]);
  return storage;
}

void countBytes(benchmark::State& state, std::int64_t bytes) {
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * bytes);
}

void MergeSorted(benchmark::State& state) {
  const int storage = storageOf(state);
  dataset();
  for (auto _ : state) {
    state.PauseTiming();
    auto database = std::make_unique<Database>(storage);
    state.ResumeTiming();
    database->load();
    state.PauseTiming();
    database.reset();
    state.ResumeTiming();
  }
  countRecords(state);
}

void FindByTexts(benchmark::State& state) {
  const auto database = loaded(storageOf(state));
  for (auto _ : state) {
    int found = 0;
    for (const auto& keys : dataset().shuffled) {
      zdbRecord_t record;
      found += c__zdbfindrecord(database->db(), database->symbol(), keys.data(), &record);
      c__zdbfreesymboliterator(database->db(), record);
    }
    require(found == Dataset::kRecords, "find by texts");
  }
  countRecords(state);
}

void Walk(benchmark::State& state) {
  const auto database = loaded(storageOf(state));
  for (auto _ : state) require(database->walk() == Dataset::kRecords, "walk");
  countRecords(state);
}

/// One of 400 first labels, in the middle.
void WalkSlice(benchmark::State& state) {
  const auto database = loaded(storageOf(state));
  const char* slice[] = {"i200", " ", " "};
  std::int64_t records = 0;
  for (auto _ : state) {
    zdbRecord_t record;
    require(c__zdbfindfirstrecordslice(database->db(), database->symbol(), slice, &record) == 1,
            "slice");
    do ++records;
    while (c__zdbrecordmovenext(database->db(), record));
    c__zdbfreesymboliterator(database->db(), record);
  }
  state.SetItemsProcessed(records);
}

void SwitchStorage(benchmark::State& state) {
  const auto from = static_cast<int>(state.range(0));
  const auto to = static_cast<int>(state.range(1));
  state.SetLabel(std::string(kStorages[from]) + " to " + kStorages[to]);
  const auto database = loaded(from);
  zdbSymbol_t symbol = database->symbol();
  for (auto _ : state) {
    require(c__zdbselectrecordstorage(database->db(), &symbol, to) == 1, "switch");
    state.PauseTiming();
    require(c__zdbselectrecordstorage(database->db(), &symbol, from) == 1, "switch back");
    state.ResumeTiming();
  }
  countRecords(state);
  countBytes(state, Dataset::kRecords * kRecordBytes);
}

void CopyDatabase(benchmark::State& state) {
  const int storage = storageOf(state);
  const auto source = loaded(storage);
  for (auto _ : state) {
    state.PauseTiming();
    std::optional<zdbcc::Database> copy(std::in_place);
    copy->setDefaultStorage(storage);
    state.ResumeTiming();
    require(c__zdbinitfromdb(copy->handle(), source->db()) == 1, "zdbinitfromdb");
    state.PauseTiming();
    copy.reset();
    state.ResumeTiming();
  }
  countRecords(state);
  countBytes(state, Dataset::kRecords * kRecordBytes);
}

void CheckDomains(benchmark::State& state) {
  const auto database = loaded(storageOf(state));
  for (auto _ : state) {
    int violated = -1;
    require(c__zdbcheckdbdv(database->db(), &violated) == 1 && violated == 0, "domain check");
  }
  countRecords(state);
  countBytes(state, Dataset::kRecords * kRecordBytes);
}

// ---- arrays

constexpr int kSide = 3163;  // a square of ten million cells
constexpr std::int64_t kCells = std::int64_t{kSide} * kSide;

/// A database with a full square of cells, and that square.
struct Square {
  zdbcc::Database db;
  zdbcc::Symbol symbol;
  zdbSymbol_t domains[2] = {};
  int dims[2] = {kSide, kSide};
  std::vector<double> cells = std::vector<double>(kCells);

  explicit Square(int storage) {
    db.setDefaultStorage(storage);
    const zdbcc::Symbol set = db.addSet("i");
    for (int n = 1; n <= kSide; ++n) set.setText({"i" + std::to_string(n)});
    domains[0] = domains[1] = set.handle();
    symbol = db.addParameter("p", 2, "", {"i", "i"});
    for (std::size_t i = 0; i < cells.size(); ++i) cells[i] = 1 + static_cast<double>(i % 1000);
    fill();
  }

  void fill() {
    require(
        c__zdbdensearraytosymbol(db.handle(), cells.data(), domains, symbol.handle(), dims) == 1,
        "array to symbol");
  }
};

void SymbolToArray(benchmark::State& state) {
  Square square(storageOf(state));
  for (auto _ : state) {
    require(c__zdbdensesymboltodensearray(square.db.handle(), square.cells.data(), square.dims,
                                          square.symbol.handle(), ZDB_LEVEL) == 1,
            "symbol to array");
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * kCells);
  countBytes(state, kCells * std::int64_t{sizeof(double)});
}

void ArrayToSymbol(benchmark::State& state) {
  Square square(storageOf(state));
  for (auto _ : state) square.fill();
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * kCells);
  countBytes(state, kCells * std::int64_t{sizeof(double)});
}

/// The speed of memory: copies the records of the square as they are.
void CopyMemory_SameRecords(benchmark::State& state) {
  constexpr std::size_t kBytes = kCells * (2 * sizeof(int) + sizeof(double));
  const std::vector<char> from(kBytes, 1);
  std::vector<char> to(kBytes);
  for (auto _ : state) {
    std::memcpy(to.data(), from.data(), kBytes);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * kCells);
  countBytes(state, kCells * std::int64_t{sizeof(double)});
}

void allPairs(benchmark::internal::Benchmark* benchmark) {
  for (int from = 0; from < 3; ++from) {
    for (int to = 0; to < 3; ++to) {
      if (from != to) benchmark->Args({from, to});
    }
  }
}

#define ZDB_BENCHMARK(function) BENCHMARK(function)->Unit(benchmark::kMillisecond)->MinTime(0.3)
ZDB_BENCHMARK(MergeSorted)->DenseRange(0, 2);
ZDB_BENCHMARK(FindByTexts)->DenseRange(0, 2);
ZDB_BENCHMARK(Walk)->DenseRange(0, 2);
ZDB_BENCHMARK(WalkSlice)->DenseRange(0, 2);
ZDB_BENCHMARK(SwitchStorage)->Apply(allPairs);
ZDB_BENCHMARK(CopyDatabase)->DenseRange(0, 2);
ZDB_BENCHMARK(CheckDomains)->DenseRange(0, 2);
ZDB_BENCHMARK(SymbolToArray)->DenseRange(0, 2);
ZDB_BENCHMARK(ArrayToSymbol)->DenseRange(0, 2);
ZDB_BENCHMARK(CopyMemory_SameRecords);

}  // namespace
