// Model instances: registering, updating, solving.
#include "api/checks.h"
#include "api/guard.h"
#include "api/zdbcoorg.h"
#include "loaders/zmi.h"

namespace zdb {

namespace {

loaders::zmiRec* instanceOf(void* model) {
  return static_cast<loaders::zmiRec*>(model);
}

}  // namespace

int zdbRegisterZMI(zdbHandle_t db, void* model) {
  return guarded(__func__, db, [&](Call call) {
    return call.given(model, "model") && db->RegisterZMI(instanceOf(model));
  });
}

int zdbInitFromDict(zdbHandle_t db, void* model) {
  return guarded(__func__, db, [&](Call call) {
    return call.given(model, "model") && db->InitFromDict(instanceOf(model));
  });
}

int zdbInitUpdate(zdbHandle_t db, void* model) {
  return guarded(__func__, db, [&](Call call) {
    return call.given(model, "model") && db->InitUpdate(instanceOf(model));
  });
}

namespace {

bool updateSymbolsGiven(Call call, const AbstractZDBSymbol* modelSymbol,
                        const AbstractZDBSymbol* dataSymbol) {
  if (modelSymbol == nullptr)
    return call.db.setLastError(ErrorArgument, "No ZARN symbol handle specified");
  const char* name = modelSymbol->name.c_str();
  if (dataSymbol == nullptr) {
    return call.db.setLastError(ErrorArgument, "No Data symbol handle specified for ZARN symbol %s",
                                name);
  }
  if (modelSymbol->type < TypeParameter || modelSymbol->type > TypeEquation) {
    return call.db.setLastError(ErrorArgument,
                                "ZARN symbol %s must be parameter, variable, or equation", name);
  }
  if (dataSymbol->type != TypeParameter) {
    return call.db.setLastError(ErrorArgument, "Data symbol %s must be parameter",
                                dataSymbol->name.c_str());
  }
  return symbolGiven(call, modelSymbol) && symbolGiven(call, dataSymbol);
}

}  // namespace

int zdbUpdateModelSymbol(zdbHandle_t db, zdbSymbol_t modelSymbol, int action,
                         zdbSymbol_t dataSymbol, int updateType, int* noMatch) {
  return guarded(__func__, db, [&](Call call) {
    return updateSymbolsGiven(call, modelSymbol, dataSymbol) && call.given(noMatch, "noMatch") &&
           db->UpdateSymbolInModel(modelSymbol, action, dataSymbol, updateType, *noMatch);
  });
}

int zdbCallSolver(zdbHandle_t db, const char* solver) {
  return guarded(__func__, db, [&](Call call) {
    return call.given(solver, "solver") && db->CallSolver(solver, nullptr);
  });
}

int zdbCallSolverTimed(zdbHandle_t db, const char* solver, double* seconds) {
  return guarded(__func__, db, [&](Call call) {
    return call.given(solver, "solver") && db->CallSolver(solver, seconds);
  });
}

}  // namespace zdb
