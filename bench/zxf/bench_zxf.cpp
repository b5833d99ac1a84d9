// The exchange file through its C interface: writing, reading, size, and reading one of
// many symbols.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>

#include "data.h"
#include "peers.h"
#include "zxf/api.h"

namespace {

constexpr int kMillion = 1'000'000;

class Handle {
 public:
  Handle() { XCreate(&handle_); }
  ~Handle() { XFree(&handle_); }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  void* get() const { return handle_; }

 private:
  void* handle_ = nullptr;
};

void check(int result, const char* what) {
  if (result != 0) return;
  std::fprintf(stderr, "bench_zxf: %s failed\n", what);
  std::exit(1);
}

void writeSymbol(void* zxf, const char* name, const Row* rows, std::size_t count) {
  check(C__zxfDataWriteRawStart(zxf, name, "", 3, 1, 0), "starting");
  for (std::size_t i = 0; i < count; ++i) {
    check(C__zxfDataWriteRaw(zxf, rows[i].key.data(), &rows[i].value), "writing");
  }
  check(C__zxfDataWriteDone(zxf), "ending");
}

/// Distributes the rows evenly over `symbols` symbols.
void writeZxf(const char* path, const std::vector<Row>& rows, int symbols) {
  const Handle zxf;
  int error = 0;
  check(C__zxfOpenWrite(zxf.get(), path, "bench", &error), "opening");
  check(C__zxfUELRegisterRawStart(zxf.get()), "labels");
  for (int i = 1; i <= kLabels; ++i) {
    check(C__zxfUELRegisterRaw(zxf.get(), ("label" + std::to_string(i)).c_str()), "label");
  }
  check(C__zxfUELRegisterDone(zxf.get()), "labels");
  const std::size_t share = rows.size() / symbols;
  for (int s = 0; s < symbols; ++s) {
    writeSymbol(zxf.get(), ("symbol" + std::to_string(s)).c_str(), rows.data() + s * share, share);
  }
  check(C__zxfClose(zxf.get()), "closing");
}

double readSymbol(void* zxf, int number) {
  int records = 0;
  check(C__zxfDataReadRawStart(zxf, number, &records), "starting");
  double sum = 0;
  for (int i = 0; i < records; ++i) {
    int key[20];
    double values[5];
    int changed = 0;
    check(C__zxfDataReadRaw(zxf, key, values, &changed), "reading");
    sum += key[0] + key[1] + key[2] + values[0];
  }
  check(C__zxfDataReadDone(zxf), "ending");
  return sum;
}

double readZxf(const char* path, int firstSymbol, int lastSymbol) {
  const Handle zxf;
  int error = 0;
  check(C__zxfOpenRead(zxf.get(), path, &error), "opening");
  double sum = 0;
  for (int s = firstSymbol; s <= lastSymbol; ++s) sum += readSymbol(zxf.get(), s);
  check(C__zxfClose(zxf.get()), "closing");
  return sum;
}

void report(benchmark::State& state, std::size_t rows, const ScratchFile& file) {
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(rows));
  state.counters["bytes_per_record"] = file.size() / static_cast<double>(rows);
}

template <typename Write>
void benchWrite(benchmark::State& state, Values values, Write write) {
  const std::vector<Row> rows = makeRows(kMillion, values);
  const ScratchFile file(".data");
  for (auto _ : state) write(file.path(), rows);
  report(state, rows.size(), file);
}

template <typename Write, typename Read>
void benchRead(benchmark::State& state, Values values, Write write, Read read) {
  const std::vector<Row> rows = makeRows(kMillion, values);
  const ScratchFile file(".data");
  write(file.path(), rows);
  double expected = 0;
  for (const Row& row : rows) expected += row.key[0] + row.key[1] + row.key[2] + row.value;
  for (auto _ : state) {
    const double sum = read(file.path());
    if (std::abs(sum - expected) > 1e-9 * expected) state.SkipWithError("not what was written");
  }
  report(state, rows.size(), file);
}

const auto writeOne = [](const char* path, const std::vector<Row>& rows) {
  writeZxf(path, rows, 1);
};
const auto readOne = [](const char* path) { return readZxf(path, 1, 1); };

void zxfWriteRandom(benchmark::State& state) {
  benchWrite(state, Values::Random, writeOne);
}
void zxfWriteTwoDecimals(benchmark::State& state) {
  benchWrite(state, Values::TwoDecimals, writeOne);
}
void sqliteWrite(benchmark::State& state) {
  benchWrite(state, Values::Random, writeSqlite);
}
void stdioWrite(benchmark::State& state) {
  benchWrite(state, Values::Random, writeStdio);
}
void zxfReadRandom(benchmark::State& state) {
  benchRead(state, Values::Random, writeOne, readOne);
}
void zxfReadTwoDecimals(benchmark::State& state) {
  benchRead(state, Values::TwoDecimals, writeOne, readOne);
}
void sqliteRead(benchmark::State& state) {
  benchRead(state, Values::Random, writeSqlite, readSqlite);
}
void stdioRead(benchmark::State& state) {
  benchRead(state, Values::Random, writeStdio, readStdio);
}

/// A file of 200 symbols: all of them, then only one in the middle.
void zxf200Symbols(benchmark::State& state, int first, int last) {
  const std::vector<Row> rows = makeRows(kMillion, Values::Random);
  const ScratchFile file(".data");
  writeZxf(file.path(), rows, 200);
  for (auto _ : state) benchmark::DoNotOptimize(readZxf(file.path(), first, last));
  report(state, rows.size() / 200 * static_cast<std::size_t>(last - first + 1), file);
}
void zxf200LoadAll(benchmark::State& state) {
  zxf200Symbols(state, 1, 200);
}
void zxf200TouchOne(benchmark::State& state) {
  zxf200Symbols(state, 100, 100);
}

/// Time per record from ten thousand to ten million records.
void zxfGrowth(benchmark::State& state) {
  const std::vector<Row> rows = makeRows(static_cast<int>(state.range(0)), Values::Random);
  const ScratchFile file(".data");
  for (auto _ : state) {
    writeOne(file.path(), rows);
    benchmark::DoNotOptimize(readOne(file.path()));
  }
  report(state, rows.size(), file);
}

BENCHMARK(zxfWriteRandom)->Name("write/zxf_random")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(zxfWriteTwoDecimals)
    ->Name("write/zxf_two_decimals")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(sqliteWrite)->Name("write/sqlite")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(stdioWrite)->Name("write/stdio")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(zxfReadRandom)->Name("read/zxf_random")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(zxfReadTwoDecimals)
    ->Name("read/zxf_two_decimals")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(sqliteRead)->Name("read/sqlite")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(stdioRead)->Name("read/stdio")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(zxf200LoadAll)
    ->Name("zxf_200_symbols/load_all")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(zxf200TouchOne)
    ->Name("zxf_200_symbols/touch_one")
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(zxfGrowth)
    ->Name("zxf_growth")
    ->RangeMultiplier(10)
    ->Range(10'000, 10'000'000)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace
