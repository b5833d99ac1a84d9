// The only place where the templates are instantiated, once per storage type.
#include "symbols/symbolfactory.h"

#include "core/zdb.h"
#include "symbols/zdbsymbol.h"
#include "symbols/zdbsymboliteratorimpl.h"

namespace zdb {

namespace {

using MapSymbol = ZDBSymbol<dmap::DMap, dmap::DMapIterator>;
using VectorSymbol = ZDBSymbol<dmap::DMapVector, dmap::VectorIterator>;
using TreeSymbol = ZDBSymbol<dmap::DMapUTree, dmap::TreeIterator>;

}  // namespace

std::unique_ptr<AbstractZDBSymbol> makeSymbol(ZDB& owner, int storageType, const std::string& name,
                                              int dim, int type, int number, int userInfo,
                                              const std::string& explText) {
  if (dim < 0 || dim > kMaxDim) return nullptr;
  switch (static_cast<dmap::StorageTypes>(storageType)) {
    case dmap::StorageTypes::Map:
      return std::make_unique<MapSymbol>(&owner, name, dim, type, number, userInfo, explText);
    case dmap::StorageTypes::Vector:
      return std::make_unique<VectorSymbol>(&owner, name, dim, type, number, userInfo, explText);
    case dmap::StorageTypes::Tree:
      return std::make_unique<TreeSymbol>(&owner, name, dim, type, number, userInfo, explText);
  }
  return nullptr;
}

AbstractZDBSymbolIterator* ZDB::symbolIteratorFactory(AbstractZDBSymbol* universe, int label) {
  return new ZDBSymbolIterator<dmap::DMapIterator>(universe, label);
}

AbstractZDBSymbolIterator* ZDB::symbolIteratorFactory(AbstractZDBSymbolIterator* from) {
  return from->copy().release();
}

}  // namespace zdb
