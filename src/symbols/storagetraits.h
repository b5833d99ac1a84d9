#pragma once

#include "dmap/dmap.h"
#include "dmap/dmaputree.h"
#include "dmap/dmapvector.h"
#include "symbols/recordmoves.h"

namespace zdb {

/// The container that an iterator belongs to, and how handles follow its records.
template <typename It>
struct StorageOf;

template <>
struct StorageOf<dmap::DMapIterator> {
  using Map = dmap::DMap;
  using Moves = NoMoves;
  static constexpr bool kRecordsMove = false;
};

template <>
struct StorageOf<dmap::VectorIterator> {
  using Map = dmap::DMapVector;
  using Moves = RecordMoves;
  static constexpr bool kRecordsMove = true;
};

template <>
struct StorageOf<dmap::TreeIterator> {
  using Map = dmap::DMapUTree;
  using Moves = NoMoves;
  static constexpr bool kRecordsMove = false;
};

}  // namespace zdb
