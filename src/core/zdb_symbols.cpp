// The symbols of a database: making, finding and replacing them.
#include <algorithm>
#include <cstring>

#include "core/zdb.h"

namespace zdb {

namespace {

/// Makes every symbol of the database that refers to `from` refer to `to`.
void redirectReferences(ZDB& db, AbstractZDBSymbol* from, AbstractZDBSymbol* to) {
  const auto redirect = [&](AbstractZDBSymbol* symbol) {
    if (symbol->aliasTarget == from) symbol->aliasTarget = to;
    std::replace(symbol->domains.begin(), symbol->domains.end(), from, to);
    return true;
  };
  redirect(to);  // a set can be its own domain
  db.symbols().forEach(redirect);
}

}  // namespace

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
  if (!copy) return nullptr;
  copy->serial = from->serial;
  copy->isLoaded = from->isLoaded;
  copy->isDomain = from->isDomain;
  copy->isWritten = from->isWritten;
  copy->aliasTarget = from->aliasTarget == from ? copy.get() : from->aliasTarget;
  copy->domains = from->domains;
  copy->domainNames = from->domainNames;
  copy->domainLookup = from->domainLookup;
  copy->assignRecords(from);
  if (from->loadFailure) copy->loadFailure = std::make_unique<LastError>(*from->loadFailure);
  return copy;
}

AbstractZDBSymbol* ZDB::insertSymbol(std::unique_ptr<AbstractZDBSymbol> symbol) {
  // Code that reads domains can rely on them, even if what should have set them failed.
  symbol->domains.resize(static_cast<std::size_t>(symbol->dim), universe());
  symbol->domainNames.resize(static_cast<std::size_t>(symbol->dim));
  symbols_.insert(symbol->name.c_str(), symbol.get());
  symbol->serial = ++lastSerial_;
  return symbol.release();
}

AbstractZDBSymbol* ZDB::switchSymbolStorage(AbstractZDBSymbol* symbol, int storageType) {
  if (static_cast<int>(symbol->getStorageType()) == storageType) return symbol;
  auto copy = symbolFactory(storageType, symbol);
  if (!copy) return nullptr;
  redirectReferences(*this, symbol, copy.get());
  if (symbol->isUniverse()) {
    universe_ = std::move(copy);
    return universe();
  }
  symbols_.replace(symbol, copy.get());
  delete symbol;
  return copy.release();
}

bool ZDB::FindSymbol(const char* name, AbstractZDBSymbol** symbol) {
  *symbol = nullptr;
  if (std::strcmp(name, "*") == 0) {
    *symbol = universe();
  } else if (symbols_.contains(name)) {
    *symbol = symbols_[name];
  }
  return *symbol != nullptr || setLastError(ErrorNotFound, "Cannot find symbol %s", name);
}

}  // namespace zdb
