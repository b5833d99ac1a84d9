#include "api/guard.h"
#include "api/zdbcoorg.h"

// Functions whose work has not been written yet. Each says so and leaves its handle outputs null.
namespace zdb {

namespace {

template <typename... Handles>
int unavailable(const char* function, ZDB* db, Handles**... outputs) {
  return guarded(function, db, [&](Call) {
    ((outputs == nullptr ? void() : void(*outputs = nullptr)), ...);
    return db->setLastError("%s is not available in this version", function);
  });
}

}  // namespace

int zdbInitFromDict(zdbHandle_t db, void* /*model*/) {
  return unavailable(__func__, db);
}

int zdbRegisterZMI(zdbHandle_t db, void* /*model*/) {
  return unavailable(__func__, db);
}
int zdbInitUpdate(zdbHandle_t db, void* /*model*/) {
  return unavailable(__func__, db);
}
int zdbUpdateModelSymbol(zdbHandle_t db, zdbSymbol_t /*modelSymbol*/, int /*action*/,
                         zdbSymbol_t /*dataSymbol*/, int /*updateType*/, int* /*noMatch*/) {
  return unavailable(__func__, db);
}
int zdbCallSolver(zdbHandle_t db, const char* /*solver*/) {
  return unavailable(__func__, db);
}
int zdbCallSolverTimed(zdbHandle_t db, const char* /*solver*/, double* /*seconds*/) {
  return unavailable(__func__, db);
}

}  // namespace zdb
