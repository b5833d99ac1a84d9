// Removing and renaming symbols.
#include "api/checks.h"
#include "api/forward.h"
#include "contract/names.h"
#include "core/editsymbols.h"
#include "zdbx.h"

namespace {

bool nameAllowed(zdb::Call call, const char* name) {
  if (!call.given(name, "name")) return false;
  return zdb::contract::isSymbolName(name) ||
         call.db.setLastError(zdb::ErrorLabel, "'%s' is not a valid name for a ZARN symbol", name);
}

}  // namespace

extern "C" {

int zdbx_remove_symbol(zdbHandle_t db, zdbSymbol_t* symbol) {
  return zdb::guarded(__func__, zdb::inside(db), [&](zdb::Call call) {
    if (!call.given(symbol, "symbol") ||
        !zdb::userSymbolGiven(call, zdb::inside(*symbol), "Cannot remove the Universe") ||
        !zdb::removeSymbol(call.db, zdb::inside(*symbol))) {
      return false;
    }
    *symbol = nullptr;
    return true;
  });
}

int zdbx_rename_symbol(zdbHandle_t db, zdbSymbol_t symbol, const char* name) {
  return zdb::guarded(__func__, zdb::inside(db), [&](zdb::Call call) {
    return zdb::userSymbolGiven(call, zdb::inside(symbol), "Cannot rename the Universe") &&
           nameAllowed(call, name) && zdb::renameSymbol(call.db, zdb::inside(symbol), name);
  });
}

}  // extern "C"
