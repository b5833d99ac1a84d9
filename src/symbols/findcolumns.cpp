// Finding many records by columns of label numbers.
#include <algorithm>

#include "symbols/bulk.h"
#include "symbols/columnreader.h"
#include "symbols/columnwriter.h"
#include "symbols/withrecords.h"

namespace zdb {

namespace {

/// Finds a block of adjacent keys; null where there is no record.
template <class Map>
void findBlock(Map& records, const int* keys, int count, double** rows) {
  if (records.getDim() > 0) return records.findMany(keys, count, rows);
  auto scalar = records.begin();
  std::fill_n(rows, count, records.empty() ? nullptr : (*scalar).second);
}

class Finder {
 public:
  Finder(ZDB& db, const AbstractZDBSymbol& symbol, const RecordColumns& keys,
         const RecordBuffers& buffers, unsigned char* found, BulkOutcome& outcome)
      : reader_(db, symbol, keys),
        writer_(db, symbol, buffers),
        total_(keys.rows),
        found_(found),
        outcome_(outcome) {}

  /// `find(keys, count, rows)` finds a block.
  template <class Find>
  void run(Find find) {
    const RowList all{.rows = nullptr, .packed = {}, .count = total_};
    for (std::int64_t from = 0; from < total_; from += kBlock) {
      const int count = static_cast<int>(std::min<std::int64_t>(kBlock, total_ - from));
      reader_.keys(all, from, count, keys_);
      find(keys_, count, rows_);
      deliver(from, count);
    }
  }

 private:
  static constexpr int kBlock = ColumnReader::kBlock;

  void deliver(std::int64_t from, int count) {
    for (int i = 0; i < count; ++i) {
      const bool isFound = rows_[i] != nullptr;
      if (isFound) writer_.writeValues(from + i, rows_[i]);
      if (found_ != nullptr) found_[from + i] = isFound ? 1 : 0;
      outcome_.done += isFound ? 1 : 0;
      if (!isFound && outcome_.row < 0) outcome_.row = from + i;
    }
    outcome_.skipped = from + count - outcome_.done;
  }

  ColumnReader reader_;
  ColumnWriter writer_;
  std::int64_t total_;
  unsigned char* found_;
  BulkOutcome& outcome_;
  int keys_[kBlock * kMaxDim];
  double* rows_[kBlock];
};

}  // namespace

void findRecords(ZDB& db, AbstractZDBSymbol& symbol, const RecordColumns& keys,
                 const RecordBuffers& buffers, unsigned char* found, BulkOutcome& outcome) {
  Finder finder(db, symbol, keys, buffers, found, outcome);
  if (symbol.isUniverse()) {
    double noText = 0;
    return finder.run([&](const int* labels, int count, double** rows) {
      for (int i = 0; i < count; ++i) rows[i] = db.isLabel(labels[i]) ? &noText : nullptr;
    });
  }
  withRecords(symbol, [&](auto& typed) {
    finder.run([&](const int* block, int count, double** rows) {
      findBlock(typed.records(), block, count, rows);
    });
  });
}

}  // namespace zdb
