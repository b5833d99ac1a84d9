// Reading, finding and putting many records in one call. Failures leave their message in the
// database's last-error text, and their kind in the outcome or, for what the database itself has
// refused, nowhere else. An alias stands for its set.
#pragma once

#include <optional>

#include "core/zdb.h"
#include "symbols/columns.h"

namespace zdb {

/// Adds labels or finds them, and writes their numbers; -1 with FailureSkip for a text that is not
/// a valid label. Memory that runs out leaves the labels as they were.
bool addLabels(ZDB& db, const TextColumn& texts, std::int64_t count, int* numbers,
               OnFailure onFailure, BulkOutcome& outcome);

/// Finds labels and writes their numbers; -1 for those that are not there or not valid.
void findLabels(ZDB& db, const TextColumn& texts, std::int64_t count, int* numbers,
                BulkOutcome& outcome);

/// The number of records of a symbol, which may be the universe, or of a slice of it: label
/// numbers, 0 where any label will do; null is the whole symbol.
/// REQUIRES the symbol is loaded.
std::int64_t countRecords(ZDB& db, AbstractZDBSymbol& symbol, const int* slice);

/// Writes records of a symbol or slice to the columns that `buffers` has, in key order: at most
/// buffers.rows of those after the key `after` (null: from the first on). Returns how many. `last`
/// receives the key of the last one; it may be `after`.
/// REQUIRES the symbol is loaded.
std::int64_t readRecords(ZDB& db, AbstractZDBSymbol& symbol, const int* slice, const int* after,
                         const RecordBuffers& buffers, int* last);

/// The number of records of a symbol that is not loaded; none if it is, or if its source tells only
/// by reading them. A damaged file may have fewer than it says, so none either if room for them
/// would take more than half a gigabyte.
std::optional<std::int64_t> countUnloaded(const ZDB& db, const AbstractZDBSymbol& symbol);

/// Writes the records of a symbol that is not loaded to the columns that `buffers` has, straight
/// from its source, and returns how many. It stays unloaded, which makes the first reading of a
/// file fast; that happens once, since who comes back will do so again. None if it cannot be done,
/// or fails after it may have written: loading the symbol then says why.
std::optional<std::int64_t> passRecords(const ZDB& db, AbstractZDBSymbol& symbol,
                                        const RecordBuffers& buffers);

/// Finds the records with keys.rows keys: writes the values and element texts of those found to the
/// columns that `buffers` has, and 1 or 0 to `found`, which may be null.
/// REQUIRES the symbol is loaded.
void findRecords(ZDB& db, AbstractZDBSymbol& symbol, const RecordColumns& keys,
                 const RecordBuffers& buffers, unsigned char* found, BulkOutcome& outcome);

/// Puts records into a symbol. What can be checked is checked before anything changes, and memory
/// that runs out leaves the symbol as it was, whatever `onFailure` says.
/// REQUIRES the symbol is neither an alias nor the universe, and rows fits an int.
bool putRecords(ZDB& db, AbstractZDBSymbol& symbol, const RecordColumns& records, PutMode mode,
                OnFailure onFailure, BulkOutcome& outcome);

/// A position in the records of a symbol or slice. It knows the last key that was read, and looks
/// its place up again with each reading, so it is independent of the storage and of what is added
/// and deleted in between.
class RecordCursor {
 public:
  RecordCursor(AbstractZDBSymbol& symbol, const int* slice);

  const HandleNotes::Reader& notes() const { return notes_; }
  AbstractZDBSymbol& symbol() const { return symbol_; }
  /// Writes the next records, at most buffers.rows; returns how many.
  std::int64_t read(ZDB& db, const RecordBuffers& buffers);

 private:
  AbstractZDBSymbol& symbol_;
  HandleNotes::Reader notes_;
  std::optional<std::array<int, kMaxDim>> slice_;
  std::optional<std::array<int, kMaxDim>> last_;
};

}  // namespace zdb
