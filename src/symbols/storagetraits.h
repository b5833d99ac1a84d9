#pragma once

#include "dmap/dmap.h"

namespace zdb {

/// The container that an iterator belongs to: one line a storage.
template <typename It>
struct StorageOf;

template <>
struct StorageOf<dmap::DMapIterator> {
  using Map = dmap::DMap;
};

}  // namespace zdb
