#pragma once

#include "dmap/dmap.h"
#include "dmap/dmaputree.h"
#include "dmap/dmapvector.h"

namespace zdb {

/// For each storage: the container of an iterator, and what identifies the record of a handle.
template <typename It>
struct StorageOf;

template <>
struct StorageOf<dmap::DMapIterator> {
  using Map = dmap::DMap;
  static constexpr bool kRecordsMove = false;
  static const void* address(const dmap::DMapIterator& it) { return (*it).first; }
};

template <>
struct StorageOf<dmap::VectorIterator> {
  using Map = dmap::DMapVector;
  static constexpr bool kRecordsMove = true;
};

template <>
struct StorageOf<dmap::TreeIterator> {
  using Map = dmap::DMapUTree;
  static constexpr bool kRecordsMove = false;
  static const void* address(const dmap::TreeIterator& it) { return it.position().leaf(); }
};

}  // namespace zdb
