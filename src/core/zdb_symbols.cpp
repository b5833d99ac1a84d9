// The symbols of a database: making, finding and replacing them.
#include <algorithm>
#include <cstring>

#include "core/delivery.h"
#include "core/textutils.h"
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

/// Whether something in the database needs this symbol: an alias, or a domain of another symbol.
bool isInUse(ZDB& db, const AbstractZDBSymbol& symbol) {
  return !db.symbols().forEach([&](AbstractZDBSymbol* other) {
    if (other == &symbol) return true;
    return other->aliasTarget != &symbol &&
           std::ranges::find(other->domains, &symbol) == other->domains.end();
  });
}

/// Takes the domains of a symbol that is going for domains no longer, unless others have them.
void releaseDomains(ZDB& db, AbstractZDBSymbol& symbol) {
  for (AbstractZDBSymbol* domain : symbol.domains) {
    if (domain == nullptr) continue;
    domain->isDomain = domain->aliasTarget->isDomain = false;
    if (!db.isDomainCheckInProgress()) domain->aliasTarget->domainLookup = {};
  }
  symbol.domains.clear();
  db.symbols().forEach([&](AbstractZDBSymbol* other) {
    for (AbstractZDBSymbol* domain : other->domains) {
      if (domain != nullptr && domain != db.universe()) domain->markAsDomain();
    }
    return true;
  });
}

/// The domains that are known by this name only.
std::vector<std::string*> mentionsOf(ZDB& db, const std::string& name) {
  std::vector<std::string*> mentions;
  db.symbols().forEach([&](AbstractZDBSymbol* symbol) {
    for (std::string& domain : symbol->domainNames) {
      if (zxf::utils::sameTextInvariant(domain, name)) mentions.push_back(&domain);
    }
    return true;
  });
  return mentions;
}

/// The information of an alias says which set it stands for: its number, or in what comes from a
/// file one more.
void lowerNumbers(ZDB& db, int from) {
  db.symbols().forEach([&](AbstractZDBSymbol* symbol) {
    const int target = symbol->aliasTarget->number;
    const bool isMoved = symbol->isAlias() && target > from;
    if (isMoved && (symbol->userInfo == target || symbol->userInfo == target + 1)) {
      --symbol->userInfo;
    }
    return true;
  });
  for (int i = from; i < db.symbols().size(); ++i) db.symbols()[i]->number = i;
}

}  // namespace

bool isDomainName(ZDB& db, const char* name) {
  return std::strlen(name) <= kMaxNameLength ||
         db.setLastError(ErrorLabel, "Domain name too long. Max length is %d: >%s<", kMaxNameLength,
                         name);
}

std::unique_ptr<AbstractZDBSymbol> ZDB::symbolFactory(int storageType, const std::string& name,
                                                      int dim, int type, int number, int userInfo,
                                                      const std::string& explText) {
  return makeSymbol_(*this, storageType, name, dim, type, number, userInfo, explText);
}

bool ZDB::isStorageUnknown(const std::string& symbolName) {
  if (symbolFactory(defaultStorage_, symbolName, 0, TypeParameter, 0, 0, "")) return false;
  setLastError(
      ErrorArgument,
      "Symbol %s cannot be made: record storage %d is unknown; use 0 (map), 1 (vector) or 2 (tree)",
      symbolName.c_str(), defaultStorage_);
  return true;
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

bool ZDB::removeSymbol(AbstractZDBSymbol* symbol) {
  if (!isAtRest(*this, *symbol)) return false;
  if (isInUse(*this, *symbol)) {
    return setLastError(ErrorState, "Symbol %s is a domain of another symbol or has an alias",
                        symbol->name.c_str());
  }
  symbols_.remove(symbol->name.c_str());  // the only step that can fail
  const std::unique_ptr<AbstractZDBSymbol> owned(symbol);
  lowerNumbers(*this, symbol->number);
  releaseDomains(*this, *symbol);
  symbol->handleNotes.noteRemoval();
  return true;
}

bool ZDB::renameSymbol(AbstractZDBSymbol* symbol, const char* name) {
  if (!isAtRest(*this, *symbol)) return false;
  if (symbols_.contains(name) && symbols_[name] != symbol) {
    return setLastError(ErrorExists, "Symbol %s exists already", name);
  }
  // Its source knows it by this name.
  const bool isInSource = !symbol->isLoaded && !symbol->isAlias() && source(initFrom_) != nullptr;
  if (isInSource && !LoadSymbol(symbol)) return false;
  const std::vector<std::string*> mentions = mentionsOf(*this, symbol->name);
  std::vector<std::string> copies(mentions.size() + 1, name);
  symbols_.rename(symbol->name.c_str(), name);  // the last step that can fail
  for (std::string* mention : mentions) {
    mention->swap(copies.back());
    copies.pop_back();
  }
  symbol->name.swap(copies.back());
  markWritten(symbol);
  return true;
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
