// Adding a record without ever changing another one, whatever the container's own insertions do
// with an absent key. In all functions 0 is a label like any other.
#pragma once

#include <algorithm>

#include "dmap/dmap.h"
#include "dmap/dmaputree.h"
#include "dmap/dmapvector.h"

namespace zdb {

/// A record, and whether it was added by this call.
template <class It>
struct Placed {
  It at;
  bool isNew;
};

/// Finds the record with this key or adds it with these values; an existing record gets the values
/// if `overwrite` is true.
inline Placed<dmap::DMapIterator> placeRecord(dmap::DMap& records, const int* key,
                                              const double* values, bool overwrite) {
  const auto before = records.size();
  dmap::DMapIterator hint = records.end();
  const auto at = overwrite ? records.insert_or_assign(hint, key, values)
                            : records.emplace_hint(key, values, hint);
  return {at, records.size() != before};
}

inline Placed<dmap::VectorIterator> placeRecord(dmap::DMapVector& records, const int* key,
                                                const double* values, bool overwrite) {
  const auto at = records.exactLowerBound(key);
  if (at == records.end()) return {records.emplace_end(key, values), true};
  const dmap::VirtualPair record = *at;
  if (!std::equal(key, key + records.getDim(), record.first)) {
    return {records.insertAt(at, key, values), true};
  }
  if (overwrite)
    std::copy_n(values, dmap::doublesPerRecord(records.getValueWidth()), record.second);
  return {at, false};
}

/// Dereferences only the record it returns, since the key may be in the buffer that all
/// trees share.
inline Placed<dmap::TreeIterator> placeRecord(dmap::DMapUTree& records, const int* key,
                                              const double* values, bool overwrite) {
  if (records.getTree()->isAboveAll(key)) return {records.emplace_end(key, values), true};
  const auto at = records.find(key);
  if (at == records.end()) return {records.emplace(key, values), true};
  if (overwrite) {
    std::copy_n(values, records.getTree()->getNumValues(), at.position().leaf()->down.values());
  }
  return {at, false};
}

/// The record with this key, or the end.
inline dmap::DMapIterator findRecord(dmap::DMap& records, const int* key) {
  return records.find(key);
}
inline dmap::TreeIterator findRecord(dmap::DMapUTree& records, const int* key) {
  return records.find(key);
}
/// Not by the container's own search, in which a 0 matches any label.
inline dmap::VectorIterator findRecord(dmap::DMapVector& records, const int* key) {
  if (records.getDim() == 0) return records.find(key);
  auto at = records.exactLowerBound(key);
  const bool isFound =
      !(at == records.end()) && std::equal(key, key + records.getDim(), (*at).first);
  return isFound ? at : records.end();
}

/// The first record whose key is not less than `key`, or the end.
/// REQUIRES dimension > 0.
inline dmap::DMapIterator firstNotLess(dmap::DMap& records, const int* key) {
  return records.lower_bound(key);
}
template <class Map>
auto firstNotLess(Map& records, const int* key) {
  return records.exactLowerBound(key);
}

}  // namespace zdb
