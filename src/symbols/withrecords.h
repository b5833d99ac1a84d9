#pragma once

#include <utility>

#include "symbols/zdbsymbol.h"

namespace zdb {

/// Calls `visit` with the symbol as what it is, a ZDBSymbol of one of the three containers, so that
/// what follows is compiled for that container.
/// REQUIRES the symbol is not the universe.
template <class Visit>
decltype(auto) withRecords(AbstractZDBSymbol& symbol, Visit&& visit) {
  switch (symbol.getStorageType()) {
    case dmap::StorageTypes::Vector:
      return visit(static_cast<ZDBSymbol<dmap::DMapVector, dmap::VectorIterator>&>(symbol));
    case dmap::StorageTypes::Tree:
      return visit(static_cast<ZDBSymbol<dmap::DMapUTree, dmap::TreeIterator>&>(symbol));
    default:
      return visit(static_cast<ZDBSymbol<dmap::DMap, dmap::DMapIterator>&>(symbol));
  }
}

}  // namespace zdb
