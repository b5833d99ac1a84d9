#include "core/editsymbols.h"

#include <algorithm>

#include "core/delivery.h"
#include "core/textutils.h"
#include "core/zdb.h"

namespace zdb {

namespace {

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

bool removeSymbol(ZDB& db, AbstractZDBSymbol* symbol) {
  // Not even another symbol: what loads may be on its way through the table.
  if (!isAtRest(db)) return false;
  if (isInUse(db, *symbol)) {
    return db.setLastError(ErrorState, "Symbol %s is a domain of another symbol or has an alias",
                           symbol->name.c_str());
  }
  db.symbols().remove(symbol->name.c_str());  // the only step that can fail
  const std::unique_ptr<AbstractZDBSymbol> owned(symbol);
  lowerNumbers(db, symbol->number);
  releaseDomains(db, *symbol);
  symbol->handleNotes.noteRemoval();
  return true;
}

bool renameSymbol(ZDB& db, AbstractZDBSymbol* symbol, const char* name) {
  if (!isAtRest(db, symbol)) return false;
  if (db.symbols().contains(name) && db.symbols()[name] != symbol) {
    return db.setLastError(ErrorExists, "Symbol %s exists already", name);
  }
  // Its source knows it by this name.
  const bool isInSource =
      !symbol->isLoaded && !symbol->isAlias() && db.source(db.GetInitFrom()) != nullptr;
  if (isInSource && !db.LoadSymbol(symbol)) return false;
  const std::vector<std::string*> mentions = mentionsOf(db, symbol->name);
  std::vector<std::string> copies(mentions.size() + 1, name);
  db.symbols().rename(symbol->name.c_str(), name);  // the last step that can fail
  for (std::string* mention : mentions) {
    mention->swap(copies.back());
    copies.pop_back();
  }
  symbol->name.swap(copies.back());
  db.markWritten(symbol);
  return true;
}

}  // namespace zdb
