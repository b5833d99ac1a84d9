// The host's functions for instances.
#include <optional>
#include <string>

#include "kit/api.h"
#include "kit/instance.h"
#include "kit/plainsolve.h"
#include "shared/boundary.h"
#include "zkitdclib.h"

using namespace zdb::kit;
using namespace zdb::boundary;

namespace {

// make(Instance&) returns the name, or nothing if the instance has no such row or column.
template <typename Make>
int copyName(void* instance, char* name, int size, Make make) {
  copyText("", name, size);
  return guardedOn<Instance>(instance, 0, [&](const Instance& own) {
    const std::optional<std::string> made = make(own);
    copyText(made.value_or(""), name, size);
    return made.has_value() ? 1 : 0;
  });
}

}  // namespace

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
  return guardedOn<Instance>(instance, 0,
                             [](const Instance& own) { return own.terms.termCount(); });
}

int zkitIntegerColumns(void* instance) {
  return guardedOn<Instance>(instance, 0, &Instance::integerCount);
}

int zkitSetModelType(void* instance, int type) {
  return guardedOn<Instance>(instance, 0, [=](Instance& own) {
    if (type < LpModel || type > RmipModel) return 0;
    if (type == LpModel && own.integerCount > 0) return 0;
    own.type = type;
    return 1;
  });
}

int zkitModelStatus(void* instance) {
  return guardedOn<Instance>(instance, kNotSolved.model, &Instance::modelStatus);
}

int zkitSolveStatus(void* instance) {
  return guardedOn<Instance>(instance, kNotSolved.solve, &Instance::solveStatus);
}

const char* zkitModelStatusText(int status) {
  return modelStatusText(status);
}

const char* zkitSolveStatusText(int status) {
  return solveStatusText(status);
}

int zkitObjectiveColumn(void* instance) {
  return guardedOn<Instance>(instance, -1, &Instance::objective);
}

double zkitObjective(void* instance) {
  return guardedOn<Instance>(instance, 0.0, [](const Instance& own) {
    return own.objective < 0 ? 0.0 : own.columns[own.objective].level;
  });
}

int zkitDirection(void* instance) {
  return guardedOn<Instance>(instance, 1, &Instance::direction);
}

int zkitIterations(void* instance) {
  return guardedOn<Instance>(instance, 0, &Instance::iterations);
}

double zkitSeconds(void* instance) {
  return guardedOn<Instance>(instance, 0.0, &Instance::seconds);
}

const char* zkitSolveMessage(void* instance) {
  return guardedOn<Instance>(instance, "", [](const Instance& own) { return own.message.c_str(); });
}

int zkitRowName(void* instance, int row, char* name, int size) {
  return copyName(instance, name, size, [=](const Instance& own) {
    return own.hasRow(row) ? std::optional(own.dictionary.rowName(row)) : std::nullopt;
  });
}

int zkitColumnName(void* instance, int column, char* name, int size) {
  return copyName(instance, name, size, [=](const Instance& own) {
    return own.hasColumn(column) ? std::optional(own.dictionary.columnName(column)) : std::nullopt;
  });
}

int zkitSetLog(void* instance, zkitLogCallback_t log, void* user) {
  return guardedOn<Instance>(instance, 0, [=](Instance& own) {
    own.environment.setLog(log, user);
    return 1;
  });
}

void zkitTerminate(void* instance) {
  guardedOn<Instance>(instance, 0, [](Instance& own) { return own.environment.terminate = true; });
}

int zkitSetLimits(void* instance, double seconds, int iterations) {
  return guardedOn<Instance>(instance, 0, [=](Instance& own) {
    own.environment.limits = {seconds, iterations};
    return 1;
  });
}

int zkitSolve(void* instance, const char* solver, char* message, int size) {
  copyText("", message, size);
  if (instance == nullptr || solver == nullptr) {
    copyText("Instance and solver must not be null", message, size);
    return 0;
  }
  Instance& own = *static_cast<Instance*>(instance);
  const int isSolved = callPlain(own, solver, message, size);
  own.environment.terminate = false;  // a request stops one solve, and this was it
  return isSolved;
}
