#include "database.h"

#include <cstdio>
#include <cstdlib>

void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "failed: %s\n", what);
  std::abort();
}

void countRecords(benchmark::State& state) {
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * Dataset::kRecords);
}

Database::Database(int storage) {
  require(zdbcreate(&db_, nullptr, 0) == 1, "zdbcreate");
  require(c__zdbselectrecordstorage(db_, nullptr, storage) == 1, "zdbselectrecordstorage");
  int number;
  for (const std::string& label : dataset().labels) c__zdbmergeuel(db_, label.c_str(), &number);
  const zdbSymbol_t domains[] = {addDomain(0), addDomain(1), addDomain(2)};
  require(c__zdbaddsymbolx(db_, "p", 3, ZDB_PARAMETER, 0, "", domains, nullptr, &symbol_) == 1 &&
              symbol_ != nullptr,
          "zdbaddsymbolx");
}

zdbSymbol_t Database::addDomain(int position) {
  const char* names[] = {"i", "j", "k"};
  zdbSymbol_t set = nullptr;
  require(c__zdbaddsymbol(db_, names[position], 1, ZDB_SET, 0, "", &set) == 1, "zdbaddsymbol");
  for (int n = 1; n <= Dataset::kLabels; ++n) {
    const int label = position * Dataset::kLabels + n;
    c__zdbmergesetrecordint(db_, set, &label, 1, 0, nullptr, "");
  }
  return set;
}

void Database::load() {
  const Dataset& data = dataset();
  for (std::size_t i = 0; i < data.keys.size(); ++i) {
    c__zdbmergerecordint(db_, symbol_, data.keys[i].data(), 1, 0, nullptr, 1, &data.values[i]);
  }
  int count;
  c__zdbsymbolinfo(db_, symbol_, ZDB_SYMBOL_RECORDS, &count, nullptr, nullptr);
  require(count == Dataset::kRecords, "record count");
}

int Database::walk() const {
  double sum = 0;
  double level;
  int count = 0;
  zdbRecord_t record;
  require(c__zdbfindfirstrecord(db_, symbol_, &record) == 1, "first record");
  do {
    c__zdbgetlevel(db_, record, &level);
    sum += level;
    ++count;
  } while (c__zdbrecordmovenext(db_, record));
  c__zdbfreesymboliterator(db_, record);
  benchmark::DoNotOptimize(sum);
  return count;
}
