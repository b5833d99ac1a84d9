// Dense arrays to symbols.
#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <stdexcept>
#include <vector>

#include "symbols/defaultrows.h"
#include "symbols/densearrays.h"
#include "symbols/denseaxes.h"
#include "symbols/zdbsymbol.h"
#include "symbols/zdbsymboliterator.h"

namespace zdb {

namespace {

/// Calls visit(keys, value) for the nonzero cells, in key order.
/// REQUIRES `keys` holds the labels of the fixed positions.
template <class Visit>
void forEachCell(const double* array, const DenseAxes& axes, const std::vector<int>& freePositions,
                 int* keys, Visit visit) {
  const int last = axes.dim() - 1;
  const std::size_t cells = axes.cells();
  if (last < 0 || cells == 0) {
    if (cells != 0 && array[0] != 0) visit(keys, array[0]);
    return;
  }
  const auto positionOf = [&](int d) { return freePositions[static_cast<std::size_t>(d)]; };
  std::array<int, kMaxDim> ranks{};
  for (int d = 0; d < last; ++d) keys[positionOf(d)] = axes[d].label(0);
  for (std::size_t cell = 0; cell < cells;) {
    for (int rank = 0; rank < axes[last].size(); ++rank, ++cell) {
      if (array[cell] == 0) continue;
      keys[positionOf(last)] = axes[last].label(rank);
      visit(keys, array[cell]);
    }
    for (int d = last - 1; d >= 0; --d) {
      int& rank = ranks[static_cast<std::size_t>(d)];
      const bool wraps = ++rank == axes[d].size();
      if (wraps) rank = 0;
      keys[positionOf(d)] = axes[d].label(rank);
      if (!wraps) break;
    }
  }
}

/// The number of nonzero cells. Throws std::length_error if it is more than a symbol can
/// have records.
int recordsOf(const double* array, std::size_t cells) {
  const auto records = std::count_if(array, array + cells, [](double cell) { return cell != 0; });
  if (records > std::numeric_limits<int>::max()) throw std::length_error("too many records");
  return static_cast<int>(records);
}

/// Deletes the records of a slice (0: any label) whose cells in the array are 0 or missing. Those
/// that get a new value stay, since deleting a record costs more than overwriting it.
void deleteWithoutCell(AbstractZDBSymbol* symbol, const int* slice, const double* array,
                       const DenseAxes& axes, const std::vector<int>& freePositions) {
  const std::unique_ptr<AbstractZDBSymbolIterator> record(symbol->findSlice(slice));
  if (!record) return;
  std::vector<int> doomed;  // their keys, adjacent
  do {
    const int* keys = record->getKeys();
    std::array<int, kMaxDim> freeKeys;
    for (std::size_t d = 0; d < freePositions.size(); ++d) freeKeys[d] = keys[freePositions[d]];
    const std::ptrdiff_t cell = axes.cellOf(freeKeys.data());
    if (cell < 0 || array[cell] == 0) doomed.insert(doomed.end(), keys, keys + symbol->dim);
  } while (record->moveNext(0));
  for (std::size_t at = 0; at < doomed.size(); at += static_cast<std::size_t>(symbol->dim)) {
    const std::unique_ptr<AbstractZDBSymbolIterator> found(symbol->find(doomed.data() + at));
    symbol->deleteRecord(found.get());
  }
}

/// The label of a set with one record.
bool fixPosition(ZDB& db, AbstractZDBSymbol* slice, int& label) {
  AbstractZDBSymbol* set = slice->aliasTarget;
  const char* name = slice->name.c_str();
  if (!isOwnSet(db, *set, slice->name) || !db.ensureLoaded(set)) return false;
  if (set->size() != 1) {
    return db.setLastError(ErrorArgument,
                           "Symbol %s must have one record to fix a position, saw %d", name,
                           set->size());
  }
  set->forEachRecordKeys([&](const int* keys) { label = keys[0]; });
  return db.isLabel(label) ||
         db.setLastError(ErrorNotFound,
                         "Symbol %s has a record with the label number %d, which is unknown", name,
                         label);
}

/// An array and the symbol that it is copied to.
class ArrayToSymbol {
 public:
  ArrayToSymbol(ZDB& db, const double* array, AbstractZDBSymbol* symbol)
      : db_(db), array_(array), symbol_(symbol) {}

  /// Whether every position has labels, fixed or free, and the array has the matching sizes.
  bool prepare(AbstractZDBSymbol* const* domains, AbstractZDBSymbol* const* slices,
               const int* dims) {
    for (int d = 0; d < symbol_->dim; ++d) {
      if (slices != nullptr && slices[d] != nullptr) {
        if (!fixPosition(db_, slices[d], keys_[static_cast<std::size_t>(d)])) return false;
      } else {
        if (!axes_.add(db_, domains[d])) return false;
        freePositions_.push_back(d);
      }
    }
    return axes_.sizesAgree(db_, *symbol_, dims);
  }

  void run() {
    if (axes_.dim() < symbol_->dim) {
      deleteWithoutCell(symbol_, keys_.data(), array_, axes_, freePositions_);
      store([&](const int* key, const double* row) { symbol_->storeRow(key, row, true); });
    } else {
      symbol_->takeRecords(*newRecords());
    }
  }

 private:
  /// Calls put(key, row) for every nonzero cell, in key order.
  template <class Put>
  void store(Put put) {
    std::array<double, kMaxValues> row{};
    std::copy_n(defaultRow(*symbol_), valueWidth(symbol_->type), row.begin());
    forEachCell(array_, axes_, freePositions_, keys_.data(), [&](const int* key, double cell) {
      if (symbol_->type != TypeSet) row[0] = db_.specialValues().toLibrary(cell);
      put(key, row.data());
    });
  }

  /// A symbol with all records, in the same storage: the old ones stay if there is no memory for
  /// it. A tree is made via a vector, from which it converts several times faster than it adds.
  std::unique_ptr<AbstractZDBSymbol> newRecords() {
    const dmap::StorageTypes storage = symbol_->getStorageType();
    if (symbol_->dim == 0 || storage == dmap::StorageTypes::Map) {
      auto fresh = emptySymbol(storage);
      store([&](const int* key, const double* row) { fresh->addRecordEnd(key, row); });
      return fresh;
    }
    auto sorted = emptySymbol(dmap::StorageTypes::Vector);
    using SortedArray = ZDBSymbol<dmap::DMapVector, dmap::VectorIterator>;
    dmap::DMapVector& records = static_cast<SortedArray*>(sorted.get())->records();
    records.reserve(recordsOf(array_, axes_.cells()));
    store([&](const int* key, const double* row) { records.emplace_end(key, row); });
    if (storage == dmap::StorageTypes::Vector) return sorted;
    auto fresh = emptySymbol(storage);
    fresh->assignRecords(sorted.get());
    return fresh;
  }

  std::unique_ptr<AbstractZDBSymbol> emptySymbol(dmap::StorageTypes storage) {
    return db_.symbolFactory(static_cast<int>(storage), symbol_->name, symbol_->dim, symbol_->type,
                             symbol_->number, symbol_->userInfo, symbol_->explText);
  }

  ZDB& db_;
  const double* array_;
  AbstractZDBSymbol* symbol_;
  DenseAxes axes_;
  std::array<int, kMaxDim> keys_{};  ///< 0 where the position is free
  std::vector<int> freePositions_;
};

}  // namespace

bool arrayToSymbol(ZDB& db, const double* array, AbstractZDBSymbol* const* domains,
                   AbstractZDBSymbol* const* slices, AbstractZDBSymbol* symbol, const int* dims) {
  ArrayToSymbol conversion(db, array, symbol);
  if (!db.ensureLoaded(symbol) || !conversion.prepare(domains, slices, dims)) return false;
  conversion.run();
  db.markWritten(symbol);
  return true;
}

}  // namespace zdb
