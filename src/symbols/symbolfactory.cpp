#include "core/zdb.h"
#include "dmap/dmap.h"
#include "symbols/zdbsymbol.h"
#include "symbols/zdbsymboliteratorimpl.h"

// What there is once per storage type is made here and nowhere else.
namespace zdb {

namespace {

using MapSymbol = ZDBSymbol<dmap::DMap, dmap::DMapIterator>;

}  // namespace

std::unique_ptr<AbstractZDBSymbol> ZDB::symbolFactory(int storageType, const std::string& name,
                                                      int dim, int type, int number, int userInfo,
                                                      const std::string& explText) {
  if (dim < 0 || dim > kMaxDim) return nullptr;
  switch (static_cast<dmap::StorageTypes>(storageType)) {
    case dmap::StorageTypes::Map:
      return std::make_unique<MapSymbol>(this, name, dim, type, number, userInfo, explText);
    default:
      return nullptr;
  }
}

std::unique_ptr<AbstractZDBSymbol> ZDB::symbolFactory(int storageType, AbstractZDBSymbol* from) {
  auto copy = symbolFactory(storageType, from->name, from->dim, from->type, from->number,
                            from->userInfo, from->explText);
  if (!copy) return nullptr;
  copy->isLoaded = from->isLoaded;
  copy->isDomain = from->isDomain;
  copy->isWritten = from->isWritten;
  copy->aliasTarget = from->aliasTarget == from ? copy.get() : from->aliasTarget;
  copy->domains = from->domains;
  copy->domainNames = from->domainNames;
  copy->domainLookup = from->domainLookup;
  copy->assignRecords(from);
  return copy;
}

AbstractZDBSymbolIterator* ZDB::symbolIteratorFactory(AbstractZDBSymbol* universe, int label) {
  return new ZDBSymbolIterator<dmap::DMapIterator>(universe, label);
}

AbstractZDBSymbolIterator* ZDB::symbolIteratorFactory(AbstractZDBSymbolIterator* from) {
  if (from->mode == ModeUniverse) return symbolIteratorFactory(from->symbol, from->uelNr);
  auto copy =
      std::make_unique<ZDBSymbolIterator<dmap::DMapIterator>>(from->symbol, dmap::DMapIterator());
  copy->assignIterator(from);
  return copy.release();
}

}  // namespace zdb
