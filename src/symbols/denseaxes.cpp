#include "symbols/denseaxes.h"

#include <limits>
#include <numeric>

namespace zdb {

namespace {

/// The labels that a domain stands for, in key order.
bool labelsOf(ZDB& db, AbstractZDBSymbol* domain, std::vector<int>& labels) {
  AbstractZDBSymbol* set = domain == nullptr ? db.universe() : domain->aliasTarget;
  const char* name = domain == nullptr ? "*" : domain->name.c_str();
  if (!db.owns(*set, name)) return false;
  if (set->isUniverse()) {
    labels.resize(static_cast<std::size_t>(db.highestLabel()));
    std::iota(labels.begin(), labels.end(), 1);
    return true;
  }
  if (set->type != TypeSet)
    return db.setLastError(ErrorArgument, "Symbol %s not a set/alias", name);
  if (set->dim != 1) return db.setLastError(ErrorArgument, "1 <> Dim of Symbol %s", name);
  if (!db.ensureLoaded(set)) return false;
  labels.reserve(static_cast<std::size_t>(set->size()));
  return set->forEachRecordPred([&](const int* keys, const double*) {
    labels.push_back(keys[0]);
    return db.isLabel(keys[0]) ||
           db.setLastError(ErrorNotFound,
                           "Symbol %s has a record with the label number %d, which is unknown",
                           name, keys[0]);
  });
}

}  // namespace

bool isOwnSet(ZDB& db, const AbstractZDBSymbol& set, const std::string& name) {
  return (set.type == TypeSet && set.dim == 1 && !set.isUniverse() && set.database == &db) ||
         db.setLastError(ErrorArgument, "Symbol %s must be a one-dimensional set of this database",
                         name.c_str());
}

DenseAxis::DenseAxis(int labelCount, std::vector<int> labels)
    : ranks_(static_cast<std::size_t>(labelCount), -1), labels_(std::move(labels)) {
  for (int rank = 0; rank < size(); ++rank) ranks_[static_cast<std::size_t>(label(rank))] = rank;
}

bool DenseAxes::add(ZDB& db, AbstractZDBSymbol* domain) {
  std::vector<int> labels;
  if (!labelsOf(db, domain, labels)) return false;
  add(db, std::move(labels));
  return true;
}

std::size_t DenseAxes::cells() const {
  std::size_t cells = 1;
  for (const DenseAxis& axis : axes_) cells *= static_cast<std::size_t>(axis.size());
  return cells;
}

bool DenseAxes::sizesAgree(ZDB& db, const AbstractZDBSymbol& symbol, const int* dims) const {
  std::size_t room = std::numeric_limits<std::ptrdiff_t>::max() / sizeof(double);
  bool isEmpty = false;
  for (int d = 0; d < dim(); ++d) {
    const int size = axes_[static_cast<std::size_t>(d)].size();
    if (dims[d] != size) {
      return db.setLastError(ErrorArgument,
                             "Dimension %d of the array for symbol %s must have size %d, saw %d",
                             d + 1, symbol.name.c_str(), size, dims[d]);
    }
    isEmpty = isEmpty || size == 0;
    room /= static_cast<std::size_t>(size == 0 ? 1 : size);
  }
  return isEmpty || room > 0 ||
         db.setLastError(ErrorNoMemory,
                         "An array over the domains of symbol %s is larger than memory",
                         symbol.name.c_str());
}

}  // namespace zdb
