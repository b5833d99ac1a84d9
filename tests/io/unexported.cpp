// Functions that are framed like the exported ones, for hosts that build the library in. They have
// a file of their own since their types have the names of the exported ones.
#include "api/zdbcoorg.h"
#include "script/functiontable.h"

template <>
inline constexpr const char* zdb::script::kKind<zdb::zdbSymbol_t> = "symbol";
template <>
inline constexpr const char* zdb::script::kKind<zdb::zdbRecord_t> = "record";

namespace zdb::script {

FunctionTable unexportedFunctions() {
#define FUNCTION(name) \
  { #name, Function::make(#name, &name, true) }
  return {FUNCTION(zdbFindRecordInt), FUNCTION(zdbFindRecordIntPy), FUNCTION(zdbResetSymbol),
          FUNCTION(zdbSetDataCallbacks)};
}

}  // namespace zdb::script
