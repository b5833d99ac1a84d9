// What a host asks an instance.
#include <exception>
#include <string>

#include "kit/api.h"
#include "kit/configuration.h"
#include "kit/instance.h"
#include "kit/model.h"
#include "zkitdclib.h"

namespace {

using namespace zkit;

Instance* at(void* instance) {
  return static_cast<Instance*>(instance);
}

template <typename Value>
Value get(void* instance, Value Instance::*field, Value missing) {
  return instance == nullptr ? missing : at(instance)->*field;
}

template <typename Name>
int copyName(bool isThere, char* name, int size, Name make) {
  copyText("", name, size);
  if (!isThere) return 0;
  try {
    copyText(make(), name, size);
  } catch (const std::exception&) {
    return 0;
  }
  return 1;
}

}  // namespace

int zkit::callPlain(Instance& instance, const char* solver, char* message, int size) {
  try {
    if (!isFailure(solvePlain(instance, solver))) return 1;
  } catch (const std::exception& error) {
    instance.refuse(Outcome::SetupFailed, error.what());
    instance.environment.log(error.what());
  }
  copyText(instance.message, message, size);
  return 0;
}

void zkitFreeInstance(void** instance) {
  zmiXFree(instance);
}

int zkitColumns(void* instance) {
  return CzmiN(instance);
}

int zkitRows(void* instance) {
  return CzmiM(instance);
}

int zkitNonZeros(void* instance) {
  return instance == nullptr ? 0 : at(instance)->terms.termCount();
}

int zkitIntegerColumns(void* instance) {
  return get(instance, &Instance::integerCount, 0);
}

int zkitSetModelType(void* instance, int type) {
  if (instance == nullptr || type < LpModel || type > RmipModel) return 0;
  if (type == LpModel && at(instance)->integerCount > 0) return 0;
  at(instance)->type = type;
  return 1;
}

int zkitModelStatus(void* instance) {
  return get(instance, &Instance::modelStatus, kNotSolved.model);
}

int zkitSolveStatus(void* instance) {
  return get(instance, &Instance::solveStatus, kNotSolved.solve);
}

const char* zkitModelStatusText(int status) {
  return modelStatusText(status);
}

const char* zkitSolveStatusText(int status) {
  return solveStatusText(status);
}

int zkitObjectiveColumn(void* instance) {
  return get(instance, &Instance::objective, -1);
}

double zkitObjective(void* instance) {
  const int column = zkitObjectiveColumn(instance);
  return column < 0 ? 0.0 : at(instance)->columns[column].level;
}

int zkitDirection(void* instance) {
  return get(instance, &Instance::direction, 1);
}

int zkitIterations(void* instance) {
  return get(instance, &Instance::iterations, 0);
}

double zkitSeconds(void* instance) {
  return get(instance, &Instance::seconds, 0.0);
}

const char* zkitSolveMessage(void* instance) {
  return instance == nullptr ? "" : at(instance)->message.c_str();
}

int zkitRowName(void* instance, int row, char* name, int size) {
  const bool isThere = instance != nullptr && at(instance)->hasRow(row);
  return copyName(isThere, name, size, [=] { return at(instance)->dictionary.rowName(row); });
}

int zkitColumnName(void* instance, int column, char* name, int size) {
  const bool isThere = instance != nullptr && at(instance)->hasColumn(column);
  return copyName(isThere, name, size, [=] { return at(instance)->dictionary.columnName(column); });
}

int zkitSetLog(void* instance, zkitLogCallback_t log, void* user) {
  if (instance == nullptr) return 0;
  at(instance)->environment.setLog(log, user);
  return 1;
}

void zkitTerminate(void* instance) {
  if (instance != nullptr) at(instance)->environment.terminate = true;
}

int zkitSetLimits(void* instance, double seconds, int iterations) {
  if (instance == nullptr) return 0;
  at(instance)->environment.limits = {seconds, iterations};
  return 1;
}

int zkitSolve(void* instance, const char* solver, char* message, int size) {
  copyText("", message, size);
  if (instance == nullptr || solver == nullptr) {
    copyText("Instance and solver must not be null", message, size);
    return 0;
  }
  const int isSolved = callPlain(*at(instance), solver, message, size);
  at(instance)->environment.terminate = false;  // it is for one solve, and this was the one
  return isSolved;
}
