#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "core/zdb.h"
#include "symbols/defaultrows.h"
#include "symbols/denseaxes.h"
#include "symbols/zdbsymbol.h"
#include "symbols/zdbsymboliterator.h"

// Symbols to dense arrays and back.
namespace zdb {

namespace {

/// What a record's cell gets: 1 for membership in a set, else a field in the caller's values.
double cellValue(const ZDB& db, int type, const double* row, int field) {
  return type == TypeSet ? 1.0 : db.specialValues().toUser(row[field]);
}

bool fieldExists(ZDB& db, const AbstractZDBSymbol& symbol, int field) {
  if (field >= 0 && field < valueWidth(symbol.type)) return true;
  return db.setLastError("Symbol %s has fields 0 to %d, saw %d", symbol.name.c_str(),
                         valueWidth(symbol.type) - 1, field);
}

bool addAxes(ZDB& db, int dim, AbstractZDBSymbol* const* domains, DenseAxes& axes) {
  for (int d = 0; d < dim; ++d) {
    if (!axes.add(db, domains[d])) return false;
  }
  return true;
}

/// `name` is what the caller called the set.
bool isOwnSet(ZDB& db, const AbstractZDBSymbol* set, const std::string& name) {
  return (set->type == TypeSet && set->dim == 1 && !set->isUniverse() && set->database == &db) ||
         db.setLastError("Symbol %s must be a one-dimensional set of this database", name.c_str());
}

/// Whether the squeezed sets can be refilled without touching what is being read.
bool areFreeSets(ZDB& db, const AbstractZDBSymbol* symbol, AbstractZDBSymbol* const* domains,
                 AbstractZDBSymbol* const* squeezed) {
  for (int d = 0; d < symbol->dim; ++d) {
    if (!isOwnSet(db, squeezed[d], squeezed[d]->name)) return false;
    const auto isSame = [&](const AbstractZDBSymbol* other) {
      return other != nullptr && other->aliasTarget == squeezed[d];
    };
    const bool isUsed = isSame(symbol) || std::any_of(squeezed, squeezed + d, isSame) ||
                        std::any_of(domains, domains + symbol->dim, isSame);
    if (isUsed) {
      return db.setLastError(
          "Symbol %s cannot receive the labels of dimension %d: it is in use here",
          squeezed[d]->name.c_str(), d + 1);
    }
  }
  return true;
}

/// The labels of the axes that occur in records inside them; counts the records outside.
DenseAxes occurringLabels(const ZDB& db, const DenseAxes& axes, AbstractZDBSymbol* symbol,
                          int& outside) {
  const auto dim = static_cast<std::size_t>(axes.dim());
  std::vector<std::vector<char>> occurs(dim);  // by rank
  for (std::size_t d = 0; d < dim; ++d) {
    occurs[d].resize(static_cast<std::size_t>(axes[static_cast<int>(d)].size()));
  }
  symbol->forEachRecordKeys([&](const int* keys) {
    if (!axes.contains(keys)) {
      ++outside;
      return;
    }
    for (std::size_t d = 0; d < dim; ++d) {
      occurs[d][static_cast<std::size_t>(axes[static_cast<int>(d)].rank(keys[d]))] = 1;
    }
  });
  DenseAxes occurring;
  for (std::size_t d = 0; d < dim; ++d) {
    std::vector<int> labels;
    for (std::size_t rank = 0; rank < occurs[d].size(); ++rank) {
      if (occurs[d][rank] != 0) {
        labels.push_back(axes[static_cast<int>(d)].label(static_cast<int>(rank)));
      }
    }
    occurring.add(db, std::move(labels));
  }
  return occurring;
}

/// Calls visit(keys, value) for the cells that are not 0, in key order. `keys` holds the labels of
/// the positions that are not free.
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

/// The number of cells that are not 0. Throws std::length_error when no symbol has so many records.
int recordsOf(const double* array, std::size_t cells) {
  const auto records = std::count_if(array, array + cells, [](double cell) { return cell != 0; });
  if (records > std::numeric_limits<int>::max()) throw std::length_error("too many records");
  return static_cast<int>(records);
}

/// Deletes the records of a slice (0: any label) whose cells in the array are 0 or that have none.
/// Those that get a new value stay, since deleting them costs more than overwriting them.
void deleteWithoutCell(AbstractZDBSymbol* symbol, const int* slice, const double* array,
                       const DenseAxes& axes, const std::vector<int>& freePositions) {
  const std::unique_ptr<AbstractZDBSymbolIterator> record(symbol->findSlice(slice));
  if (!record) return;
  std::vector<int> doomed;  // keys, one after the other
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

}  // namespace

bool ZDB::isArraySymbol(const AbstractZDBSymbol* symbol) {
  return !symbol->isUniverse() || setLastError("Cannot convert the Universe to or from an array");
}

bool ZDB::DenseSymbolToDenseArray(double* array, const int* dims, AbstractZDBSymbol* symbol,
                                  int field) {
  symbol = symbol->aliasTarget;
  DenseAxes axes;
  if (!isArraySymbol(symbol) || !fieldExists(*this, *symbol, field) || !ensureLoaded(symbol) ||
      !addAxes(*this, symbol->dim, symbol->domains.data(), axes) ||
      !axes.sizesAgree(*this, *symbol, dims)) {
    return false;
  }
  std::fill_n(array, axes.cells(), 0.0);
  return symbol->forEachRecordPred([&](const int* keys, const double* values) {
    const std::ptrdiff_t cell = axes.cellOf(keys);
    if (cell < 0) {
      return setLastError("Record %s of symbol %s is outside its domain",
                          joinKeys(keys, symbol->dim).c_str(), symbol->name.c_str());
    }
    array[cell] = cellValue(*this, symbol->type, values, field);
    return true;
  });
}

int ZDB::fillDenseArray(double* array, const DenseAxes& axes, AbstractZDBSymbol* symbol,
                        int field) const {
  int dropped = 0;
  std::fill_n(array, axes.cells(), 0.0);
  symbol->forEachRecord([&](const int* keys, const double* values) {
    const std::ptrdiff_t cell = axes.cellOf(keys);
    if (cell < 0) {
      ++dropped;
    } else {
      array[cell] = cellValue(*this, symbol->type, values, field);
    }
  });
  return dropped;
}

bool ZDB::SparseSymbolToDenseArray(double* array, const int* dims, AbstractZDBSymbol* symbol,
                                   AbstractZDBSymbol* const* domains, int field, int& dropped) {
  symbol = symbol->aliasTarget;
  DenseAxes axes;
  if (!isArraySymbol(symbol) || !fieldExists(*this, *symbol, field) || !ensureLoaded(symbol) ||
      !addAxes(*this, symbol->dim, domains, axes) || !axes.sizesAgree(*this, *symbol, dims)) {
    return false;
  }
  dropped = fillDenseArray(array, axes, symbol, field);
  return true;
}

void ZDB::squeezeSets(const DenseAxes& axes, AbstractZDBSymbol* symbol,
                      AbstractZDBSymbol* const* squeezed) const {
  static constexpr double noText[] = {0};
  for (int d = 0; d < symbol->dim; ++d) {
    AbstractZDBSymbol* set = squeezed[d];
    set->clear();
    set->isLoaded = true;
    for (int rank = 0; rank < axes[d].size(); ++rank) {
      const int label = axes[d].label(rank);
      set->addRecordEnd(&label, noText);
    }
    markWritten(set);
  }
}

bool ZDB::SparseSymbolToSqzdArray(double* array, int* dims, AbstractZDBSymbol* symbol,
                                  AbstractZDBSymbol* const* domains,
                                  AbstractZDBSymbol* const* squeezed, int field, int& dropped) {
  symbol = symbol->aliasTarget;
  DenseAxes axes;
  if (!isArraySymbol(symbol) || !fieldExists(*this, *symbol, field) || !ensureLoaded(symbol) ||
      !addAxes(*this, symbol->dim, domains, axes) ||
      !areFreeSets(*this, symbol, domains, squeezed)) {
    return false;
  }
  int outside = 0;
  const DenseAxes occurring = occurringLabels(*this, axes, symbol, outside);
  if (array != nullptr && !occurring.sizesAgree(*this, *symbol, dims)) return false;
  squeezeSets(occurring, symbol, squeezed);
  if (array != nullptr) {
    fillDenseArray(array, occurring, symbol, field);
  } else {
    for (int d = 0; d < symbol->dim; ++d) dims[d] = occurring[d].size();
  }
  dropped = outside;
  return true;
}

bool ZDB::DenseArrayToSymbol(const double* array, AbstractZDBSymbol* const* domains,
                             AbstractZDBSymbol* const* slices, AbstractZDBSymbol* symbol,
                             const int* dims) {
  symbol = symbol->aliasTarget;
  std::array<int, kMaxDim> keys{};  // 0 where the position is free
  std::vector<int> freePositions;
  DenseAxes axes;
  if (!isArraySymbol(symbol) || !ensureLoaded(symbol)) return false;
  for (int d = 0; d < symbol->dim; ++d) {
    if (slices != nullptr && slices[d] != nullptr) {
      if (!fixPosition(slices[d], keys[static_cast<std::size_t>(d)])) return false;
    } else {
      if (!axes.add(*this, domains[d])) return false;
      freePositions.push_back(d);
    }
  }
  if (!axes.sizesAgree(*this, *symbol, dims)) return false;
  if (axes.dim() < symbol->dim) {
    deleteWithoutCell(symbol, keys.data(), array, axes, freePositions);
  }
  storeCells(array, axes, freePositions, symbol, keys.data());
  markWritten(symbol);
  return true;
}

bool ZDB::fixPosition(AbstractZDBSymbol* slice, int& label) {
  AbstractZDBSymbol* set = slice->aliasTarget;
  if (!isOwnSet(*this, set, slice->name) || !ensureLoaded(set)) return false;
  if (set->size() != 1) {
    return setLastError("Symbol %s must have one record to fix a position, saw %d",
                        slice->name.c_str(), set->size());
  }
  set->forEachRecordKeys([&](const int* keys) { label = keys[0]; });
  return isLabel(label) ||
         setLastError("Symbol %s has a record with the label number %d, which is unknown",
                      slice->name.c_str(), label);
}

void ZDB::storeCells(const double* array, const DenseAxes& axes,
                     const std::vector<int>& freePositions, AbstractZDBSymbol* symbol, int* keys) {
  std::array<double, kMaxValues> row{};
  if (symbol->type == TypeVariable) {
    std::copy_n(defaultVariableRow(symbol->userInfo), kMaxValues, row.begin());
  } else if (symbol->type == TypeEquation) {
    std::copy_n(defaultEquationRow(symbol->userInfo), kMaxValues, row.begin());
  }
  const auto rowOf = [&](double cell) {
    if (symbol->type != TypeSet) row[0] = specialValues_.toLibrary(cell);
    return row.data();
  };
  const auto store = [&](auto put) {
    forEachCell(array, axes, freePositions, keys,
                [&](const int* key, double cell) { put(key, rowOf(cell)); });
  };
  if (axes.dim() < symbol->dim) {
    store([&](const int* key, const double* values) { symbol->storeRow(key, values, true); });
  } else if (symbol->dim == 0 || symbol->getStorageType() == dmap::StorageTypes::Map) {
    symbol->clear();
    store([&](const int* key, const double* values) { symbol->addRecordEnd(key, values); });
  } else {
    // The other storages take records over from an array at several times the pace of additions.
    const auto sorted =
        symbolFactory(static_cast<int>(dmap::StorageTypes::Vector), symbol->name, symbol->dim,
                      symbol->type, symbol->number, symbol->userInfo, symbol->explText);
    using SortedArray = ZDBSymbol<dmap::DMapVector, dmap::VectorIterator>;
    dmap::DMapVector& records = static_cast<SortedArray*>(sorted.get())->records();
    records.reserve(recordsOf(array, axes.cells()));
    store([&](const int* key, const double* values) { records.emplace_end(key, values); });
    symbol->assignRecords(sorted.get());
  }
}

}  // namespace zdb
