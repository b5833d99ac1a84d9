// The host's functions for instances.
#include <algorithm>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "kit/api.h"
#include "kit/changes.h"
#include "kit/defaultsolver.h"
#include "kit/error.h"
#include "kit/instance.h"
#include "kit/plainsolve.h"
#include "kit/solvers/solver.h"
#include "shared/boundary.h"
#include "zkitdclib.h"

using namespace zdb::kit;
using namespace zdb::boundary;

namespace {

int copySides(const std::vector<Conflicting>& from, int* numbers, int* sides) {
  if (numbers == nullptr || sides == nullptr) return 0;
  for (std::size_t k = 0; k < from.size(); ++k) {
    numbers[k] = from[k].number;
    sides[k] = from[k].sides;
  }
  return 1;
}

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

std::span<const char* const> listOf(const char* const* labels, int count) {
  if (labels == nullptr || count <= 0) return {};
  return {labels, static_cast<std::size_t>(count)};
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
  const int objective = zkitObjectiveColumn(instance);
  return objective < 0 ? 0.0 : CzmiGetVarLOne(instance, objective);
}

int zkitDirection(void* instance) {
  return guardedOn<Instance>(instance, 1, &Instance::direction);
}

int zkitSetDirection(void* instance, int direction) {
  return guardedOn<Instance>(instance, 0, [=](Instance& own) {
    if (direction != 1 && direction != -1) return 0;
    own.settle();
    own.direction = direction;
    return 1;
  });
}

int zkitGetChange(void* instance, int change, char* symbol, int size, int* action, int* dim,
                  int* open, int* entries) {
  copyText("", symbol, size);
  return guardedOn<Instance>(instance, 0, [=](const Instance& own) {
    if (change < 0 || change >= static_cast<int>(own.changes.size())) return 0;
    const ChangeInfo& info = own.changes[static_cast<std::size_t>(change)];
    copyText(info.symbol, symbol, size);
    const auto give = [](int* output, auto value) {
      if (output != nullptr) *output = static_cast<int>(value);
    };
    give(action, info.action);
    give(dim, info.labels.size());
    give(open, std::count(info.labels.begin(), info.labels.end(), ""));
    give(entries, info.entries);
    return 1;
  });
}

double zkitBound(void* instance) {
  return guardedOn<Instance>(instance, kUnknown, &Instance::bound);
}

double zkitGap(void* instance) {
  return guardedOn<Instance>(instance, kUnknown, &Instance::gap);
}

int zkitHasEntry(void* instance, int change, const char* const* labels, int count) {
  return guardedOn<Instance>(instance, 0, [=](const Instance& own) {
    return hasChanged(own, change, listOf(labels, count)) ? 1 : 0;
  });
}

int zkitSetChange(void* instance, int change, const char* const* labels, int count, double value,
                  char* message, int size) {
  copyText("", message, size);
  return guardedOn<Instance>(
      instance, 0,
      [=](Instance& own) {
        setChanged(own, change, listOf(labels, count), value);
        return 1;
      },
      [=](const Instance& /*own*/, const std::exception& error) {
        copyText(reasonOf(error), message, size);
      });
}

int zkitParamEntries(void* instance, const char* param) {
  return guardedOn<Instance>(instance, -1, [=](const Instance& own) {
    const auto found = own.paramEntries.find(param == nullptr ? "" : param);
    return found == own.paramEntries.end() ? -1 : found->second;
  });
}

int zkitVariantState(void* instance, int variant, char* message, int size) {
  copyText("", message, size);
  return guardedOn<Instance>(
      instance, static_cast<int>(ZKIT_VARIANT_FAILED), [=](const Instance& own) -> int {
        if (variant < 0 || variant >= static_cast<int>(own.variants.size())) {
          copyText("There is no such variant", message, size);
          return ZKIT_VARIANT_FAILED;
        }
        const Variant& asked = own.variants[static_cast<std::size_t>(variant)];
        copyText(asked.message, message, size);
        return asked.state;
      });
}

int zkitUseVariant(void* instance, int variant) {
  return guardedOn<Instance>(instance, 0, [=](Instance& own) {
    useVariant(own, variant);
    return 1;
  });
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
    own.environment.limits.seconds = seconds;
    own.environment.limits.iterations = iterations;
    return 1;
  });
}

int zkitSetGap(void* instance, double relative, double absolute) {
  return guardedOn<Instance>(instance, 0, [=](Instance& own) {
    const bool areGaps = relative >= 0.0 && absolute >= 0.0;  // false for NaN
    if (!areGaps) return 0;
    own.environment.limits.relativeGap = relative;
    own.environment.limits.absoluteGap = absolute;
    return 1;
  });
}

int zkitSetStart(void* instance, int start) {
  return guardedOn<Instance>(instance, 0, [=](Instance& own) {
    if (start != ZKIT_START_LAST && start != ZKIT_START_FIRST) return 0;
    own.startsAtFirst = start == ZKIT_START_FIRST;
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

int zkitInfeasibleSet(void* instance, double seconds, int* rowCount, int* columnCount,
                      char* message, int size) {
  copyText("", message, size);
  const auto find = [=](Instance& own) {
    if (rowCount == nullptr || columnCount == nullptr) {
      throw KitError("The outputs for the counts must not be null");
    }
    *rowCount = *columnCount = 0;
    own.infeasibleSet = {};
    own.infeasibleSet = findInfeasibleSet(own, seconds);
    *rowCount = static_cast<int>(own.infeasibleSet.rows.size());
    *columnCount = static_cast<int>(own.infeasibleSet.columns.size());
    return own.infeasibleSet.isIrreducible ? ZKIT_IRREDUCIBLE : ZKIT_REDUCIBLE;
  };
  const int result =
      guardedOn<Instance>(instance, 0, find, [=](const Instance& own, const std::exception& error) {
        copyText(reasonOf(error), message, size);
        own.environment.log(reasonOf(error));
      });
  guardedOn<Instance>(instance, 0, [](Instance& own) { return own.environment.terminate = false; });
  return result;
}

int zkitInfeasibleRows(void* instance, int* rows, int* sides) {
  return guardedOn<Instance>(instance, 0, [=](const Instance& own) {
    return copySides(own.infeasibleSet.rows, rows, sides);
  });
}

int zkitInfeasibleColumns(void* instance, int* columns, int* sides) {
  return guardedOn<Instance>(instance, 0, [=](const Instance& own) {
    return copySides(own.infeasibleSet.columns, columns, sides);
  });
}

int zkitSolverCount(void) {
  return static_cast<int>(engines().size());
}

int zkitSolverInfo(int solver, const char** name, const char** version, int* modelTypes,
                   int* worksInPlace, const char** whyNot) {
  if (solver < 0 || solver >= zkitSolverCount()) return 0;
  const Engine& engine = engines()[static_cast<std::size_t>(solver)];
  if (name != nullptr) *name = engine.name;
  if (version != nullptr) *version = engine.version == nullptr ? "" : engine.version();
  const int linear = ZKIT_SOLVES_LP | ZKIT_SOLVES_RMIP;
  if (modelTypes != nullptr) *modelTypes = engine.solvesMip ? linear | ZKIT_SOLVES_MIP : linear;
  if (worksInPlace != nullptr) *worksInPlace = engine.worksInPlace ? 1 : 0;
  if (whyNot != nullptr) *whyNot = engine.whyNot();
  return 1;
}

int zkitDefaultSolver(void* instance, char* name, int size, char* message, int messageSize) {
  copyText("", name, size);
  copyText("", message, messageSize);
  const auto choose = [=](const Instance& own) {
    copyText(defaultSolver(own), name, size);
    return 1;
  };
  return guardedOn<Instance>(instance, 0, choose,
                             [=](const Instance& /*own*/, const std::exception& error) {
                               copyText(reasonOf(error), message, messageSize);
                             });
}
