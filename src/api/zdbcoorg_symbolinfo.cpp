// Describing symbols.
#include "api/checks.h"
#include "api/guard.h"
#include "api/zdbcoorg.h"

namespace zdb {

namespace {

/// Receives the answer to an information key; clears the outputs, any of which may be null, first.
struct InfoOutputs {
  int* integer;
  char* text;

  bool put(int value) const {
    if (integer != nullptr) *integer = value;
    return true;
  }
  bool put(const std::string& value) const {
    if (text != nullptr) copyText(value.c_str(), text);
    return true;
  }
};

bool putRecordCount(ZDB& db, zdbSymbol_t symbol, const InfoOutputs& out) {
  if (symbol->isUniverse()) return out.put(db.highestLabel());
  if (symbol->isAlias()) return out.put(0);
  return db.ensureLoaded(symbol) && out.put(symbol->size());
}

bool putInfo(ZDB& db, zdbSymbol_t symbol, int key, const InfoOutputs& out) {
  switch (key) {
    case ZDB_SYMBOL_NAME:
      return out.put(symbol->name);
    case ZDB_SYMBOL_DIM:
      return out.put(symbol->dim);
    case ZDB_SYMBOL_TYPE:
      return out.put(symbol->type);
    case ZDB_SYMBOL_RECORDS:
      return putRecordCount(db, symbol, out);
    case ZDB_SYMBOL_USER_INFO:
      return out.put(symbol->userInfo);
    case ZDB_SYMBOL_TEXT:
      return out.put(symbol->explText);
    case ZDB_SYMBOL_NUMBER:
      return out.put(symbol->number);
    case ZDB_SYMBOL_WRITTEN:
      return out.put(symbol->isWritten ? 1 : 0);
    case ZDB_SYMBOL_STORAGE:
      return out.put(static_cast<int>(symbol->getStorageType()));
    default:
      return db.setLastError(ErrorArgument, "No valid infoKey, saw %d", key);
  }
}

/// The domain of a position: a symbol, or null and a name. An alias has the domains of its set. If
/// there is neither symbol nor name, the domain is the universe.
std::pair<zdbSymbol_t, const char*> domainAt(const ZDB& db, zdbSymbol_t symbol, int position) {
  const AbstractZDBSymbol& from =
      symbol->aliasTarget->isUniverse() ? *symbol : *symbol->aliasTarget;
  const auto i = static_cast<std::size_t>(position);
  if (i >= from.domains.size()) return {db.universe(), db.universe()->name.c_str()};
  zdbSymbol_t domain = from.domains[i];
  if (domain == nullptr) return {nullptr, from.domainNames[i].c_str()};
  return {domain->aliasTarget, domain->name.c_str()};
}

}  // namespace

int zdbSymbolInfo(zdbHandle_t db, zdbSymbol_t symbol, int key, int* integer, double* real,
                  char* text) {
  return guarded(__func__, db, [&](Call call) {
    if (integer != nullptr) *integer = 0;
    if (real != nullptr) *real = 0.0;
    if (text != nullptr) *text = '\0';
    return symbolGiven(call, symbol) && putInfo(*db, symbol, key, {integer, text});
  });
}

int zdbSymbolDim(zdbHandle_t db, zdbSymbol_t symbol, int* dim) {
  return guarded(__func__, db, [&](Call call) {
    if (!call.given(dim, "dim")) return false;
    *dim = -1;
    if (!symbolGiven(call, symbol)) return false;
    *dim = symbol->dim;
    return true;
  });
}

int zdbSymbolType(zdbHandle_t db, zdbSymbol_t symbol, int* type) {
  return guarded(__func__, db, [&](Call call) {
    if (!call.given(type, "type")) return false;
    *type = -1;
    if (!symbolGiven(call, symbol)) return false;
    *type = symbol->type;
    return true;
  });
}

/// Ignores the number of slots: callers pass arrays for all positions of the symbol.
int zdbGetDomain(zdbHandle_t db, zdbSymbol_t symbol, int /*dim*/, zdbSymbol_t* domains,
                 char* const* names) {
  return guarded(__func__, db, [&](Call call) {
    if (!userSymbolGiven(call, symbol, "The Universe has no domain")) return false;
    if (symbol->dim == 0) return true;
    if (!call.given(domains, "domains") || !call.given(names, "names")) return false;
    for (int i = 0; i < symbol->dim; ++i) {
      if (!call.givenAt(names[i], "names", i)) return false;
      const auto [domain, name] = domainAt(*db, symbol, i);
      domains[i] = domain;
      copyText(name, names[i]);
    }
    return true;
  });
}

/// Has no guard, since nothing here can throw.
int zdbSetUserInfo(zdbHandle_t db, zdbSymbol_t symbol, int value) {
  trace(__func__);
  if (db == nullptr ||
      !userSymbolGiven({__func__, *db}, symbol, "Cannot set UserInfo of Universe")) {
    return 0;
  }
  db->markWritten(symbol);
  symbol->userInfo = value;
  return 1;
}

}  // namespace zdb
