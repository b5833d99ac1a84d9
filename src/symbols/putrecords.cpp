// Putting many records into a symbol.
//
// All is checked and, if need be, sorted before anything changes. Records that come after all
// others are appended. Else those that exist are found first, so that only two steps change the
// symbol: adding the new ones, which is undone if memory runs out, and then overwriting, which
// cannot fail. The vector has its memory before it moves anything.
#include <algorithm>
#include <cstdarg>
#include <memory>

#include "core/addedentries.h"
#include "core/delivery.h"
#include "symbols/bulk.h"
#include "symbols/checkrows.h"
#include "symbols/columnreader.h"
#include "symbols/recordplacing.h"
#include "symbols/sortrows.h"
#include "symbols/withrecords.h"

namespace zdb {

namespace {

using dmap::DMapVector;

template <class T>
std::unique_ptr<T[]> arrayOf(std::int64_t count) {
  return std::make_unique_for_overwrite<T[]>(static_cast<std::size_t>(count));
}

/// A block of records on its way into a container.
struct Block {
  int keys[ColumnReader::kBlock * kMaxDim];
  double rows[ColumnReader::kBlock * kMaxValues];
};

/// Calls visit(from, count) for the entries of a list, block by block.
template <class Visit>
void inBlocks(std::int64_t total, Visit visit) {
  constexpr std::int64_t kBlock = ColumnReader::kBlock;
  for (std::int64_t from = 0; from < total; from += kBlock) {
    visit(from, static_cast<int>(std::min(kBlock, total - from)));
  }
}

/// One call, for a symbol with the container `Map`.
template <class Symbol>
class Put {
 public:
  using Map = std::remove_reference_t<decltype(std::declval<Symbol&>().records())>;
  static constexpr bool kRecordsMove = Symbol::kRecordsMove;

  Put(ZDB& db, Symbol& symbol, const RecordColumns& columns, PutMode mode, OnFailure onFailure,
      BulkOutcome& outcome)
      : db_(db),
        symbol_(symbol),
        columns_(columns),
        mode_(mode),
        onFailure_(onFailure),
        outcome_(outcome),
        reader_(db, symbol, columns),
        dim_(reader_.dim()),
        width_(reader_.width()) {}

  bool run() {
    RowCheck check(db_, symbol_, columns_, onFailure_, outcome_);
    list_ = check.run();
    if (isUndone() && mode_ != PutAdd) return false;
    if (!check.isAscending()) sortRows(reader_, db_.highestLabel(), list_);
    takeOut(!check.isAscending() || dim_ == 0);
    if (isUndone()) return false;
    store();
    return onFailure_ == FailureSkip || outcome_.row < 0;
  }

 private:
  bool isUndone() const { return onFailure_ == FailureUndo && outcome_.row >= 0; }

  /// Takes records out of the list that are given twice or, with PutAdd, exist.
  void takeOut(bool mayRepeat) {
    taken_ = list_.count;
    if (mode_ != PutAdd) {
      if (mayRepeat) keepLast();
      return;
    }
    const bool mayExist = !isBehindAll(symbol_.records());
    if (mayRepeat || mayExist) takeOutExisting(mayExist);
  }

  /// Of adjacent entries with the same key, which are in the order of the rows, the last counts.
  void keepLast() {
    std::int64_t kept = 0;
    for (std::int64_t i = 0; i < list_.count; ++i) {
      const bool isRepeated = i + 1 < list_.count && reader_.sameKey(list_, i, i + 1);
      if (isRepeated) continue;
      keep(kept++, i);
    }
    list_.count = kept;
  }

  /// With PutAdd, the first counts, and the others cannot be taken.
  void takeOutExisting(bool mayExist) {
    std::int64_t first = -1;
    const auto isBad = [&](std::int64_t i, bool exists) {
      return exists || (i > 0 && reader_.sameKey(list_, i - 1, i));
    };
    auto bad = arrayOf<bool>(list_.count);
    inBlocks(list_.count, [&](std::int64_t from, int count) {
      double* rows[ColumnReader::kBlock] = {};
      if (mayExist) find(from, count, rows);
      for (int i = 0; i < count; ++i) {
        bool& isIt = bad[static_cast<std::size_t>(from + i)];
        isIt = isBad(from + i, rows[i] != nullptr);
        if (isIt && (first < 0 || list_[from + i] < first)) first = list_[from + i];
      }
    });
    if (first < 0) return;
    reportExisting(first);
    if (onFailure_ != FailureUndo) takeOutBad(bad.get(), first);
  }

  void takeOutBad(const bool* bad, std::int64_t first) {
    std::int64_t kept = 0;
    const std::int64_t before = list_.count;
    for (std::int64_t i = 0; i < before; ++i) {
      const bool isTaken = onFailure_ == FailureKeep ? list_[i] < first : !bad[i];
      if (isTaken) keep(kept++, i);
    }
    list_.count = taken_ = kept;
    if (onFailure_ == FailureSkip) outcome_.skipped += before - kept;
  }

  void reportExisting(std::int64_t row) {
    if (outcome_.row >= 0 && outcome_.row < row) return;  // an earlier one was described already
    int key[kMaxDim];
    for (int i = 0; i < dim_; ++i) key[i] = reader_.label(row, i);
    outcome_.note(ErrorExists, row, -1);
    writeMessage(outcome_.text, "Record %s exists already for symbol %s",
                 db_.joinKeys(key, dim_).c_str(), symbol_.name.c_str());
  }

  /// Moves an entry of the list up. One that listed nothing lists its rows from then on.
  void keep(std::int64_t to, std::int64_t from) {
    if (to == from) return;
    if (list_.packed) {
      list_.packed.words[static_cast<std::size_t>(to)] =
          list_.packed.words[static_cast<std::size_t>(from)];
      return;
    }
    if (list_.rows == nullptr) {
      list_.rows = arrayOf<std::int32_t>(list_.count);
      for (std::int64_t k = 0; k < list_.count; ++k)
        list_.rows[static_cast<std::size_t>(k)] = static_cast<std::int32_t>(k);
    }
    list_.rows[static_cast<std::size_t>(to)] = list_.rows[static_cast<std::size_t>(from)];
  }

  /// The records in the container of entries of the list, null where there is none.
  void find(std::int64_t from, int count, double** rows) {
    Map& records = symbol_.records();
    if (dim_ == 0) {
      std::fill_n(rows, count, records.empty() ? nullptr : (*records.begin()).second);
      return;
    }
    reader_.keys(list_, from, count, block_->keys);
    records.findMany(block_->keys, count, rows);
  }

  bool isBehindAll(Map& records) {
    if (records.empty() || list_.count == 0 || mode_ == PutReplace) return true;
    if (dim_ == 0) return false;
    int first[kMaxDim];
    reader_.keys(list_, 0, 1, first);
    auto last = records.end();
    --last;
    const int* key = (*last).first;
    return std::lexicographical_compare(key, key + dim_, first, first + dim_);
  }

  void store() {
    AddedEntries pooled(db_.textPool());
    poolTexts();
    if (mode_ == PutReplace) {
      Map fresh(symbol_.dim, valueWidth(symbol_.type));
      add(fresh, true);
      symbol_.replaceRecords(fresh);
      symbol_.isLoaded = true;
    } else if (list_.count > 0) {
      add(symbol_.records(), isBehindAll(symbol_.records()));
      symbol_.recordsChanged();
    }
    pooled.keep();
    outcome_.done = taken_;
    if (mode_ == PutReplace || list_.count > 0) db_.markWritten(&symbol_);
  }

  void poolTexts() {
    if (!columns_.texts) return;
    // In the order of the rows, so that numbers do not depend on sorting.
    constexpr int kWanted = 1;
    texts_ = std::make_unique<int[]>(static_cast<std::size_t>(columns_.rows));
    for (std::int64_t i = 0; i < list_.count; ++i) {
      texts_[static_cast<std::size_t>(list_[i])] = kWanted;
    }
    strpool::TStrHashPool& pool = db_.textPool();
    for (std::int64_t row = 0; row < columns_.rows; ++row) {
      int& number = texts_[static_cast<std::size_t>(row)];
      if (number != kWanted) continue;
      const std::string_view text = columns_.texts.at(row);  // without data for none
      number = text.empty() ? 0 : pool.insert(text, pool.size());
    }
    reader_.setTexts(texts_.get());
  }

  void add(Map& records, bool isBehind) {
    if (dim_ == 0) return setScalar(records);
    if (isBehind) {
      append(records);
    } else if constexpr (kRecordsMove) {
      mergeMoving(records);
    } else {
      merge(records);
    }
  }

  void setScalar(Map& records) {
    if (list_.count == 0) return;
    outcome_.added = records.empty() ? 1 : 0;
    reader_.rows(list_, list_.count - 1, 1, block_->rows);
    records.emplace(nullptr, block_->rows);
  }

  void append(Map& records) {
    if constexpr (kRecordsMove) {
      records.makeRoomFor(static_cast<std::size_t>(list_.count));
      inBlocks(list_.count, [&](std::int64_t from, int count) {
        records.appendMany(count, [&](int* keys, double* rows) {
          reader_.keys(list_, from, count, keys);
          reader_.rows(list_, from, count, rows);
        });
      });
    } else {
      const std::uint64_t before = records.size();
      try {
        inBlocks(list_.count, [&](std::int64_t from, int count) {
          gather(from, count);
          int done = 0;
          records.appendMany(block_->keys, block_->rows, count, done);
        });
      } catch (...) {
        while (records.size() > before) {
          auto last = records.end();
          records.erase(--last);
        }
        throw;
      }
    }
    outcome_.added = list_.count;
  }

  void gather(std::int64_t from, int count) {
    reader_.keys(list_, from, count, block_->keys);
    reader_.rows(list_, from, count, block_->rows);
  }

  // Where records stay where they are.

  void merge(Map& records) {
    const auto existing = arrayOf<double*>(list_.count);
    inBlocks(list_.count,
             [&](std::int64_t from, int count) { find(from, count, existing.get() + from); });
    std::int64_t added = 0;
    try {
      inBlocks(list_.count, [&](std::int64_t from, int count) {
        gather(from, count);
        const int fresh = keepNew(existing.get() + from, count);
        int done = 0;
        try {
          records.insertMany(block_->keys, block_->rows, fresh, done);
        } catch (...) {
          added += done;
          throw;
        }
        added += fresh;
      });
    } catch (...) {
      removeNew(records, existing.get(), added);
      throw;
    }
    outcome_.added = added;
    if (added < list_.count) overwrite(existing.get());
  }

  /// Moves the records of the block that do not exist to its front; returns how many.
  int keepNew(double* const* existing, int count) {
    int kept = 0;
    for (int i = 0; i < count; ++i) {
      if (existing[i] != nullptr) continue;
      if (kept < i) {
        std::copy_n(block_->keys + std::ptrdiff_t{i} * dim_, dim_,
                    block_->keys + std::ptrdiff_t{kept} * dim_);
        std::copy_n(block_->rows + std::ptrdiff_t{i} * width_, width_,
                    block_->rows + std::ptrdiff_t{kept} * width_);
      }
      ++kept;
    }
    return kept;
  }

  void removeNew(Map& records, double* const* existing, std::int64_t added) {
    int key[kMaxDim];
    for (std::int64_t i = 0; added > 0; ++i) {
      if (existing[i] != nullptr) continue;
      reader_.keys(list_, i, 1, key);
      records.erase(findRecord(records, key));
      --added;
    }
  }

  void overwrite(double* const* existing) {
    inBlocks(list_.count, [&](std::int64_t from, int count) {
      reader_.rows(list_, from, count, block_->rows);
      for (int i = 0; i < count; ++i) {
        const double* row = block_->rows + std::ptrdiff_t{i} * width_;
        if (existing[from + i] != nullptr) std::copy_n(row, width_, existing[from + i]);
      }
    });
  }

  // Where they move.

  void mergeMoving(DMapVector& records) {
    auto places = arrayOf<int>(list_.count);
    inBlocks(list_.count, [&](std::int64_t from, int count) {
      reader_.keys(list_, from, count, block_->keys);
      records.placeMany(block_->keys, count, places.get() + from);
    });
    const auto isNew = [](int place) { return place >= 0; };
    const auto fresh =
        static_cast<std::size_t>(std::count_if(places.get(), places.get() + list_.count, isNew));
    auto rows = arrayOf<std::int32_t>(list_.count);
    symbol_.handleNotes.makeRoomFor(fresh);
    records.makeRoomFor(fresh);
    // From here on, nothing can fail.
    if (fresh < static_cast<std::size_t>(list_.count)) overwritePlaces(records, places.get());
    std::int64_t kept = 0;
    for (std::int64_t i = 0; i < list_.count; ++i) {
      const int place = places[static_cast<std::size_t>(i)];
      if (!isNew(place)) continue;
      rows[static_cast<std::size_t>(kept)] = static_cast<std::int32_t>(list_[i]);
      places[static_cast<std::size_t>(kept++)] = place;
    }
    insertAll(records, places.get(), {.rows = std::move(rows), .packed = {}, .count = kept});
    outcome_.added = kept;
  }

  void overwritePlaces(DMapVector& records, const int* places) {
    inBlocks(list_.count, [&](std::int64_t from, int count) {
      reader_.rows(list_, from, count, block_->rows);
      for (int i = 0; i < count; ++i) {
        const double* row = block_->rows + std::ptrdiff_t{i} * width_;
        if (places[from + i] < 0) std::copy_n(row, width_, records.row(~places[from + i]));
      }
    });
  }

  void insertAll(DMapVector& records, const int* places, const RowList& list) {
    const int before = static_cast<int>(records.size());
    const int count = static_cast<int>(list.count);
    records.insertSorted(places, count, [&](int i, int* key, double* row) {
      reader_.keys(list, i, 1, key);
      reader_.rows(list, i, 1, row);
    });
    for (int i = 0; i < count && places[i] < before; ++i) {
      symbol_.handleNotes.noteInserted(places[i] + i);
    }
  }

  ZDB& db_;
  Symbol& symbol_;
  const RecordColumns& columns_;
  const PutMode mode_;
  const OnFailure onFailure_;
  BulkOutcome& outcome_;
  ColumnReader reader_;
  const int dim_;
  const int width_;
  RowList list_;            ///< the rows that are taken, in key order
  std::int64_t taken_ = 0;  ///< the same with repeated keys
  std::unique_ptr<int[]> texts_;
  std::unique_ptr<Block> block_ = std::make_unique_for_overwrite<Block>();
};

}  // namespace

bool failWith(ZDB& db, BulkOutcome& outcome, ErrorKind kind, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  writeMessageV(outcome.text, format, arguments);
  va_end(arguments);
  outcome.kind = kind;
  return db.setLastError(outcome.kind, "%s", outcome.text);
}

bool putRecords(ZDB& db, AbstractZDBSymbol& symbol, const RecordColumns& records, PutMode mode,
                OnFailure onFailure, BulkOutcome& outcome) {
  if (!isAtRest(db, &symbol) || (mode != PutReplace && !db.ensureLoaded(&symbol))) {
    outcome.kind = db.error().kind;
    writeMessage(outcome.text, "%s", db.lastError());
    return false;
  }
  const bool isDone = withRecords(
      symbol, [&](auto& typed) { return Put(db, typed, records, mode, onFailure, outcome).run(); });
  return isDone || db.setLastError(outcome.kind, "%s", outcome.text);
}

}  // namespace zdb
