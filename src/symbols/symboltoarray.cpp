// Symbols to dense arrays.
#include <algorithm>
#include <vector>

#include "core/delivery.h"
#include "symbols/densearrays.h"
#include "symbols/denseaxes.h"

namespace zdb {

namespace {

/// The value of a record's cell: 1 for membership in a set, else a field, with the caller's
/// special values.
double cellValue(const ZDB& db, int type, const double* row, int field) {
  return type == TypeSet ? 1.0 : db.specialValues().toUser(row[field]);
}

bool fieldExists(ZDB& db, const AbstractZDBSymbol& symbol, int field) {
  if (field >= 0 && field < valueWidth(symbol.type)) return true;
  return db.setLastError(ErrorArgument, "Symbol %s has fields 0 to %d, saw %d", symbol.name.c_str(),
                         valueWidth(symbol.type) - 1, field);
}

/// Whether the squeezed sets can be overwritten: they must belong to this database, be distinct,
/// and not be read by this call.
bool areFreeSets(ZDB& db, const AbstractZDBSymbol* symbol, AbstractZDBSymbol* const* domains,
                 AbstractZDBSymbol* const* squeezed) {
  for (int d = 0; d < symbol->dim; ++d) {
    const AbstractZDBSymbol* set = squeezed[d]->aliasTarget;
    const std::string& name = squeezed[d]->name;
    if (!isOwnSet(db, *set, name) || !isAtRest(db, set)) return false;
    const auto isSame = [&](const AbstractZDBSymbol* other) {
      return other != nullptr && other->aliasTarget == set;
    };
    const bool isUsed = isSame(symbol) || std::any_of(squeezed, squeezed + d, isSame) ||
                        std::any_of(domains, domains + symbol->dim, isSame);
    if (isUsed) {
      return db.setLastError(
          ErrorArgument, "Symbol %s cannot receive the labels of dimension %d: it is in use here",
          name.c_str(), d + 1);
    }
  }
  return true;
}

/// Those labels of the axes that occur in records inside them; also counts the records outside.
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

/// Fills the cells of the records inside the axes; returns the number of the others.
int fillArray(const ZDB& db, double* array, const DenseAxes& axes, AbstractZDBSymbol* symbol,
              int field) {
  int dropped = 0;
  std::fill_n(array, axes.cells(), 0.0);
  symbol->forEachRecord([&](const int* keys, const double* values) {
    const std::ptrdiff_t cell = axes.cellOf(keys);
    if (cell < 0) {
      ++dropped;
    } else {
      array[cell] = cellValue(db, symbol->type, values, field);
    }
  });
  return dropped;
}

void fillSqueezedSets(const ZDB& db, const DenseAxes& axes, int dim,
                      AbstractZDBSymbol* const* squeezed) {
  static constexpr double noText[] = {0};
  for (int d = 0; d < dim; ++d) {
    AbstractZDBSymbol* set = squeezed[d]->aliasTarget;
    set->clear();
    set->isLoaded = true;
    for (int rank = 0; rank < axes[d].size(); ++rank) {
      const int label = axes[d].label(rank);
      set->addRecordEnd(&label, noText);
    }
    db.markWritten(set);
  }
}

}  // namespace

bool denseSymbolToArray(ZDB& db, double* array, const int* dims, AbstractZDBSymbol* symbol,
                        int field) {
  DenseAxes axes;
  if (!fieldExists(db, *symbol, field) || !db.ensureLoaded(symbol) ||
      !axes.add(db, *symbol, symbol->domains.data()) || !axes.sizesAgree(db, *symbol, dims)) {
    return false;
  }
  std::fill_n(array, axes.cells(), 0.0);
  return symbol->forEachRecordPred([&](const int* keys, const double* values) {
    const std::ptrdiff_t cell = axes.cellOf(keys);
    if (cell < 0) {
      return db.setLastError(ErrorDomain, "Record %s of symbol %s is outside its domain",
                             db.joinKeys(keys, symbol->dim).c_str(), symbol->name.c_str());
    }
    array[cell] = cellValue(db, symbol->type, values, field);
    return true;
  });
}

bool sparseSymbolToArray(ZDB& db, double* array, const int* dims, AbstractZDBSymbol* symbol,
                         AbstractZDBSymbol* const* domains, int field, int& dropped) {
  DenseAxes axes;
  if (!fieldExists(db, *symbol, field) || !db.ensureLoaded(symbol) ||
      !axes.add(db, *symbol, domains) || !axes.sizesAgree(db, *symbol, dims)) {
    return false;
  }
  dropped = fillArray(db, array, axes, symbol, field);
  return true;
}

bool sparseSymbolToSqueezedArray(ZDB& db, double* array, int* dims, AbstractZDBSymbol* symbol,
                                 AbstractZDBSymbol* const* domains,
                                 AbstractZDBSymbol* const* squeezed, int field, int& dropped) {
  DenseAxes axes;
  if (!fieldExists(db, *symbol, field) || !db.ensureLoaded(symbol) ||
      !axes.add(db, *symbol, domains) || !areFreeSets(db, symbol, domains, squeezed)) {
    return false;
  }
  int outside = 0;
  const DenseAxes occurring = occurringLabels(db, axes, symbol, outside);
  if (array != nullptr && !occurring.sizesAgree(db, *symbol, dims)) return false;
  fillSqueezedSets(db, occurring, symbol->dim, squeezed);
  if (array != nullptr) {
    fillArray(db, array, occurring, symbol, field);
  } else {
    for (int d = 0; d < symbol->dim; ++d) dims[d] = occurring[d].size();
  }
  dropped = outside;
  return true;
}

}  // namespace zdb
