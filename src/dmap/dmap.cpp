#include "dmap/dmap.h"

#include <algorithm>
#include <utility>

namespace zdb::dmap {

bool DMapIterator::operator==(const IDMapIterator& other) const {
  const auto* same = dynamic_cast<const DMapIterator*>(&other);
  return same != nullptr && *this == *same;
}

DMap::DMap(int dim, int valueWidth)
    : IDMap(StorageTypes::Map, dim, valueWidth), map_(dim, valueWidth) {}

DMapIterator DMap::assignScalar(const double* values) {
  scalar_.assign(values, getValueWidth());
  return begin();
}

DMapIterator DMap::emplace_hint(const int* key, const double* values, DMapIterator& hint) {
  if (!map_.hasMap()) return assignScalar(values);
  return iterator(insertNear(hint, key, values).at);
}

DMapIterator DMap::insert_or_assign(DMapIterator& hint, const int* key, const double* values) {
  if (!map_.hasMap()) return emplace_hint(key, values, hint);
  const RecordTreeBase::Inserted inserted = insertNear(hint, key, values);
  if (!inserted.isNew) {
    auto* stored = reinterpret_cast<double*>(inserted.at.key + getDim());
    std::copy_n(values, doublesPerRecord(getValueWidth()), stored);
  }
  return iterator(inserted.at);
}

/// A hint into another container is ignored.
RecordTreeBase::Inserted DMap::insertNear(const DMapIterator& hint, const int* key,
                                          const double* values) {
  RecordTreeBase& tree = map_.tree();
  if (hint.position().tree() != &tree) return tree.insert(key, values);
  return tree.insertNear(key, values, hint.position().position());
}

void DMap::erase(const DMapIterator& it) {
  if (!map_.hasMap()) {
    scalar_.isPresent = false;
  } else if (it.position().tree() == &map_.tree()) {
    map_.tree().erase(it.position().position());
  }
}

void DMap::clear() {
  if (map_.hasMap()) map_.tree().clear();
  scalar_.isPresent = false;
}

int DMap::index(const DMapIterator& it) {
  if (!map_.hasMap()) return scalar_.isPresent && it == begin() ? 0 : -1;
  if (it.position().tree() != &map_.tree()) return -1;
  return static_cast<int>(map_.tree().rank(it.position().position()));
}

DMapIterator DMap::withIndex(int rank) {
  if (rank <= 0) return begin();
  if (!map_.hasMap()) return end();
  return iterator(map_.tree().atRank(static_cast<std::uint64_t>(rank)));
}

void DMap::reserve(int /*records*/) {}

RecordRun DMap::nextRun(DMapIterator& at, RunBuffer& buffer) {
  if (map_.hasMap()) {
    RecordPosition position = at.position().position();
    const RecordRun run = map_.tree().takeRun(position, buffer);
    at = iterator(position);
    return run;
  }
  RecordRun run;
  if (scalar_.isPresent && at != end()) {
    run.values = scalar_.values;
    run.count = 1;
  }
  at = end();
  return run;
}

void DMap::swapRecords(DMap& other) noexcept {
  std::swap(map_, other.map_);
  std::swap(scalar_, other.scalar_);
}

}  // namespace zdb::dmap
