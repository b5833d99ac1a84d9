// Making, finding, clearing and copying symbols.
#include <array>

#include "api/checks.h"
#include "api/guard.h"
#include "api/zdbcoorg.h"
#include "contract/names.h"
#include "core/delivery.h"
#include "symbols/copysymbol.h"

namespace zdb {

namespace {

bool dimAllowed(Call call, int dim, int type) {
  if (dim == 0 && type == TypeSet) {
    return call.db.setLastError(ErrorArgument, "Dimension must be greater than 0 for a Set");
  }
  if (dim >= 0 && dim <= kMaxDim) return true;
  return call.db.setLastError(
      ErrorArgument, "Dimension must be greater or equal 0 and smaller or equal %d (saw %d)",
      kMaxDim, dim);
}

bool nameAndTextAllowed(Call call, const char* name, const char* explText) {
  if (name == nullptr) return call.db.setLastError(ErrorArgument, "Name of symbol cannot be NULL");
  if (!contract::isSymbolName(name)) {
    return call.db.setLastError(ErrorLabel, "'%s' is not a valid name for a ZARN symbol", name);
  }
  return call.given(explText, "explText") && textFits(call, explText);
}

/// Whether each null domain has a name, by which it is looked up.
bool domainNamesGiven(Call call, int dim, const zdbSymbol_t* domains,
                      const char* const* domainNames) {
  for (int i = 0; i < std::min(dim, kMaxDim); ++i) {
    if (domains != nullptr && domains[i] != nullptr) continue;
    if (!call.given(domainNames, "domainNames")) return false;
    if (!call.givenAt(domainNames[i], "domainNames", i)) return false;
  }
  return true;
}

/// Adds a checked symbol to the database; null and a message if that fails.
zdbSymbol_t enterSymbol(ZDB& db, const char* name, int dim, int type, int userInfo,
                        const char* explText, const zdbSymbol_t* domains,
                        const char* const* domainNames) {
  zdbSymbol_t symbol = db.AddSymbol(name, dim, type, userInfo, explText, domains, domainNames);
  if (symbol != nullptr) db.markWritten(symbol);
  return symbol;
}

}  // namespace

int zdbAddSymbol(zdbHandle_t db, const char* name, int dim, int type, int userInfo,
                 const char* explText, zdbSymbol_t* symbol) {
  return handingOut(__func__, db, symbol, [&](Call call) {
    if (!dimAllowed(call, dim, type) || !nameAndTextAllowed(call, name, explText)) return false;
    std::array<zdbSymbol_t, kMaxDim> domains;
    domains.fill(db->universe());
    return handOut(enterSymbol(*db, name, dim, type, userInfo, explText, domains.data(), nullptr),
                   symbol);
  });
}

/// Returns success even if the symbol cannot be added: callers notice by the null handle.
int zdbAddSymbolX(zdbHandle_t db, const char* name, int dim, int type, int userInfo,
                  const char* explText, const zdbSymbol_t* domains, const char* const* domainNames,
                  zdbSymbol_t* symbol) {
  return handingOut(__func__, db, symbol, [&](Call call) {
    if (!nameAndTextAllowed(call, name, explText)) return false;
    if (!domainNamesGiven(call, dim, domains, domainNames)) return false;
    *symbol = enterSymbol(*db, name, dim, type, userInfo, explText, domains, domainNames);
    return true;
  });
}

int zdbFindSymbolWithAlias(zdbHandle_t db, const char* name, zdbSymbol_t* symbol) {
  return handingOut(__func__, db, symbol, [&](Call) {
    if (name == nullptr) return db->setLastError(ErrorArgument, "Symbol name cannot be NULL");
    return db->FindSymbol(name, symbol);
  });
}

int zdbFindSymbol(zdbHandle_t db, const char* name, zdbSymbol_t* symbol) {
  return handingOut(__func__, db, symbol, [&](Call) {
    if (name == nullptr) return db->setLastError(ErrorArgument, "Symbol name cannot be NULL");
    if (!db->FindSymbol(name, symbol)) return false;
    *symbol = (*symbol)->aliasTarget;
    return true;
  });
}

namespace {

/// Symbol `index` in one of the orders of the table, given by `count` and `get`, or the universe
/// for -1.
template <typename Count, typename Get>
int symbolAt(const char* function, ZDB* db, int index, zdbSymbol_t* symbol, Count count, Get get) {
  return handingOut(function, db, symbol, [&](Call call) {
    symtable::TSymbolTable& table = call.db.symbols();
    if (index < -1 || index >= count(table)) {
      return call.db.setLastError(ErrorNotFound, "Symbol index %d is out of range", index);
    }
    return handOut(index == -1 ? call.db.universe() : get(table, index), symbol);
  });
}

}  // namespace

int zdbGetSymbolByIndex(zdbHandle_t db, int index, zdbSymbol_t* symbol) {
  return symbolAt(
      __func__, db, index, symbol, [](const auto& table) { return table.nonAliasCount(); },
      [](auto& table, int i) { return table.nonAliasSymbol(i); });
}

int zdbGetSymbolByNumber(zdbHandle_t db, int number, zdbSymbol_t* symbol) {
  return symbolAt(
      __func__, db, number, symbol, [](const auto& table) { return table.size(); },
      [](auto& table, int i) { return table[i]; });
}

int zdbClearSymbol(zdbHandle_t db, zdbSymbol_t symbol) {
  return guarded(__func__, db, [&](Call call) {
    if (!userSymbolGiven(call, symbol, "Cannot clear the Universe")) return false;
    if (!isAtRest(*db, symbol)) return false;
    if (symbol->isLoaded) symbol->clear();
    symbol->isLoaded = true;
    db->markWritten(symbol);
    return true;
  });
}

int zdbResetSymbol(zdbHandle_t db, zdbSymbol_t symbol) {
  return guarded(__func__, db, [&](Call call) {
    if (!userSymbolGiven(call, symbol, "Cannot reset the Universe")) return false;
    if (!isAtRest(*db, symbol)) return false;
    symbol->clear();
    symbol->isWritten = false;
    symbol->isLoaded = false;
    return true;
  });
}

int zdbCopySymbol(zdbHandle_t db, zdbSymbol_t target, zdbSymbol_t source) {
  return guarded(__func__, db, [&](Call) {
    if (source == nullptr)
      return db->setLastError(ErrorArgument, "No source symbol handle specified");
    if (target == nullptr)
      return db->setLastError(ErrorArgument, "No target symbol handle specified");
    return copySymbol(*db, target, source);
  });
}

namespace {

bool refuseStorage(Call call, int storageType) {
  return call.db.setLastError(
      ErrorArgument, "%s: record storage %d is unknown; use 0 (map), 1 (vector) or 2 (tree)",
      call.function, storageType);
}

}  // namespace

int zdbSelectRecordStorage(zdbHandle_t db, zdbSymbol_t* symbol, int storageType) {
  return guarded(__func__, db, [&](Call call) {
    if (symbol == nullptr || *symbol == nullptr) {
      db->setDefaultStorage(storageType);  // which symbols that are added later may refuse
      return true;
    }
    if (!symbolGiven(call, *symbol) || !isAtRest(*db)) return false;
    zdbSymbol_t switched = db->switchSymbolStorage(*symbol, storageType);
    if (switched == nullptr) return refuseStorage(call, storageType);
    *symbol = switched;
    return true;
  });
}

}  // namespace zdb
