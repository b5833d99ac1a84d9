// Adding a host's symbol: its domains are checked before it is added to the table.
#include <cstring>

#include "core/zdb.h"

namespace zdb {

namespace {

/// Finds a domain that is given by its name only.
bool takeDomainName(ZDB& db, const char* name, AbstractZDBSymbol*& domain,
                    std::string& domainName) {
  if (name == nullptr || std::strcmp(name, "*") == 0 || std::strcmp(name, " ") == 0) {
    domain = db.universe();
  } else {
    if (!isDomainName(db, name)) return false;
    domainName = name;
  }
  return true;
}

bool takeDomainSymbol(ZDB& db, AbstractZDBSymbol* symbol, AbstractZDBSymbol*& domain) {
  if (symbol != db.universe()) {
    const char* name = symbol->name.c_str();
    if (symbol->dim != 1) return db.setLastError(ErrorDomain, "1 <> Dim of Symbol %s", name);
    if (!symbol->canBeDomain())
      return db.setLastError(ErrorDomain, "Symbol %s not a set/alias", name);
    if (symbol->name == "*")
      return db.setLastError(ErrorHandle, "Universe from different database");
    if (!db.owns(*symbol, name)) return false;
    symbol->markAsDomain();
  }
  domain = symbol;
  return true;
}

bool appendDomain(ZDB& db, AbstractZDBSymbol& symbol, AbstractZDBSymbol* domain, const char* name) {
  AbstractZDBSymbol*& taken = symbol.domains.emplace_back(nullptr);
  std::string& takenName = symbol.domainNames.emplace_back();
  return domain != nullptr ? takeDomainSymbol(db, domain, taken)
                           : takeDomainName(db, name, taken, takenName);
}

/// The set that an alias with this user information stands for.
AbstractZDBSymbol* aliasTargetAt(ZDB& db, int position) {
  const bool isSet =
      position >= 0 && position < db.symbols().size() && db.symbols()[position]->type == TypeSet;
  return isSet ? db.symbols()[position] : db.universe();
}

bool appendDomains(ZDB& db, AbstractZDBSymbol& symbol, AbstractZDBSymbol* const* domains,
                   const char* const* names) {
  for (int i = 0; i < symbol.dim; ++i) {
    AbstractZDBSymbol* domain = domains == nullptr ? nullptr : domains[i];
    if (!appendDomain(db, symbol, domain, names == nullptr ? nullptr : names[i])) return false;
  }
  return true;
}

/// Makes the new symbol, which is not in the table yet; null and a message if it cannot be added.
std::unique_ptr<AbstractZDBSymbol> newSymbol(ZDB& db, const std::string& name, int dim, int type,
                                             int userInfo, const std::string& explText) {
  if (db.GetInitFrom() == FROM_NOSOURCE) db.setInitFrom(FROM_MEMORY);
  if (db.symbols().contains(name.c_str())) {
    db.setLastError(ErrorExists, "Symbol %s exists already", name.c_str());
    return nullptr;
  }
  auto symbol = db.symbolFactory(db.defaultStorage(), name, dim, type, db.symbols().size(),
                                 userInfo, explText);
  if (!symbol && !isStorageUnknown(db, name)) {
    db.setLastError(ErrorArgument,
                    "Dimension must be greater or equal 0 and smaller or equal %d (saw %d)",
                    kMaxDim, dim);
  }
  return symbol;
}

AbstractZDBSymbol* enter(ZDB& db, std::unique_ptr<AbstractZDBSymbol> symbol) {
  AbstractZDBSymbol* added = db.insertSymbol(std::move(symbol));
  // If the source is callbacks, a symbol's records are read through them on first use.
  if (db.GetInitFrom() == FROM_DMRF && !added->isAlias()) added->isLoaded = false;
  if (added->isAlias()) added->aliasTarget = aliasTargetAt(db, added->userInfo);
  return added;
}

}  // namespace

AbstractZDBSymbol* ZDB::AddSymbol(const std::string& name, int dim, int type, int userInfo,
                                  const std::string& explText, AbstractZDBSymbol* const* domains,
                                  const char* const* domainNames) {
  auto symbol = newSymbol(*this, name, dim, type, userInfo, explText);
  const bool isComplete = symbol != nullptr && appendDomains(*this, *symbol, domains, domainNames);
  return isComplete ? enter(*this, std::move(symbol)) : nullptr;
}

}  // namespace zdb
