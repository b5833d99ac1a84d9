#include "symbols/denseaxes.h"

#include <limits>

namespace zdb {

DenseAxis::DenseAxis(const ZDB& db, AbstractZDBSymbol* domain)
    : ranks_(static_cast<std::size_t>(db.labels().size()), -1) {
  const auto append = [this](int label) {
    if (label < 1 || label >= static_cast<int>(ranks_.size())) return;
    ranks_[static_cast<std::size_t>(label)] = size();
    labels_.push_back(label);
  };
  if (domain == nullptr) {
    for (int label = 1; label <= db.highestLabel(); ++label) append(label);
  } else {
    domain->forEachRecordKeys([&](const int* keys) { append(keys[0]); });
  }
}

bool DenseAxes::add(ZDB& db, AbstractZDBSymbol* domain) {
  AbstractZDBSymbol* set = domain == nullptr ? nullptr : domain->aliasTarget;
  if (set == nullptr || set->isUniverse()) {
    axes_.emplace_back(db, nullptr);
    return true;
  }
  const char* name = domain->name.c_str();
  if (set->type != TypeSet) return db.setLastError("Symbol %s not a set/alias", name);
  if (set->dim != 1) return db.setLastError("1 <> Dim of Symbol %s", name);
  if (set->database != &db) return db.setLastError("Symbol %s not in this database", name);
  if (!db.ensureLoaded(set)) return false;
  axes_.emplace_back(db, set);
  return true;
}

std::size_t DenseAxes::cells() const {
  std::size_t cells = 1;
  for (const DenseAxis& axis : axes_) cells *= static_cast<std::size_t>(axis.size());
  return cells;
}

bool DenseAxes::sizesAgree(ZDB& db, const AbstractZDBSymbol& symbol, const int* dims) const {
  std::size_t room = std::numeric_limits<std::ptrdiff_t>::max() / sizeof(double);
  for (int d = 0; d < dim(); ++d) {
    const int size = axes_[static_cast<std::size_t>(d)].size();
    if (dims[d] != size) {
      return db.setLastError("Dimension %d of the array for symbol %s must have size %d, saw %d",
                             d + 1, symbol.name.c_str(), size, dims[d]);
    }
    if (size == 0) return true;  // an array without cells
    room /= static_cast<std::size_t>(size);
    if (room == 0) {
      return db.setLastError("An array over the domains of symbol %s is larger than memory",
                             symbol.name.c_str());
    }
  }
  return true;
}

}  // namespace zdb
