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
  db_.setDefaultStorage(storage);
  for (const std::string& label : dataset().labels) db_.addLabel(label);
  const std::vector<std::string> domains = {"i", "j", "k"};
  int label = 0;
  for (const std::string& name : domains) {
    const zdbcc::Symbol set = db_.addSet(name);
    for (int n = 0; n < Dataset::kLabels; ++n) set.setText({dataset().labels.at(label++)});
  }
  symbol_ = db_.addParameter("p", 3, "", domains);
}

void Database::load() {
  const Dataset& data = dataset();
  const zdbHandle_t db = db_.handle();
  const zdbSymbol_t symbol = symbol_.handle();
  for (std::size_t i = 0; i < data.keys.size(); ++i) {
    c__zdbmergerecordint(db, symbol, data.keys[i].data(), 1, 0, nullptr, 1, &data.values[i]);
  }
  require(symbol_.size() == Dataset::kRecords, "record count");
}

int Database::walk() const {
  const zdbHandle_t db = db_.handle();
  double sum = 0;
  double level;
  int count = 0;
  zdbRecord_t record;
  require(c__zdbfindfirstrecord(db, symbol_.handle(), &record) == 1, "first record");
  do {
    c__zdbgetlevel(db, record, &level);
    sum += level;
    ++count;
  } while (c__zdbrecordmovenext(db, record));
  c__zdbfreesymboliterator(db, record);
  benchmark::DoNotOptimize(sum);
  return count;
}
