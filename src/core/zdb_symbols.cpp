// The symbols of a database: making, finding and replacing them.
#include <cstring>

#include "core/zdb.h"

namespace zdb {

bool isDomainName(ZDB& db, const char* name) {
  return std::strlen(name) <= kMaxNameLength ||
         db.setLastError(ErrorLabel, "Domain name too long. Max length is %d: >%s<", kMaxNameLength,
                         name);
}

bool isStorageUnknown(ZDB& db, const std::string& symbolName) {
  if (db.symbolFactory(db.defaultStorage(), symbolName, 0, TypeParameter, 0, 0, "")) return false;
  db.setLastError(
      ErrorArgument,
      "Symbol %s cannot be made: record storage %d is unknown; use 0 (map), 1 (vector) or 2 (tree)",
      symbolName.c_str(), db.defaultStorage());
  return true;
}

std::unique_ptr<AbstractZDBSymbol> ZDB::symbolFactory(int storageType, const std::string& name,
                                                      int dim, int type, int number, int userInfo,
                                                      const std::string& explText) {
  return makeSymbol_(*this, storageType, name, dim, type, number, userInfo, explText);
}

std::unique_ptr<AbstractZDBSymbol> ZDB::symbolFactory(int storageType, AbstractZDBSymbol* from) {
  auto copy = symbolFactory(storageType, from->name, from->dim, from->type, from->number,
                            from->userInfo, from->explText);
  if (copy) copy->assign(*from);
  return copy;
}

AbstractZDBSymbol* ZDB::switchSymbolStorage(AbstractZDBSymbol* symbol, int storageType) {
  if (static_cast<int>(symbol->getStorageType()) == storageType) return symbol;
  auto copy = symbolFactory(storageType, symbol);
  return copy ? symbols_.replace(symbol, std::move(copy)) : nullptr;
}

bool ZDB::FindSymbol(const char* name, AbstractZDBSymbol** symbol) {
  *symbol = symbols_.find(name);
  return *symbol != nullptr || setLastError(ErrorNotFound, "Cannot find symbol %s", name);
}

}  // namespace zdb
