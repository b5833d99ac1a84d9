// The database's functions for model instances.
#include <algorithm>
#include <utility>

#include "kit/api.h"
#include "kit/bounds.h"
#include "kit/instance.h"
#include "shared/boundary.h"

using namespace zdb::kit;
using namespace zdb::boundary;

namespace {

bool hasColumn(zmiHandle instance, int column) {
  return guardedOn<Instance>(instance, false,
                             [=](const Instance& own) { return own.hasColumn(column); });
}

// With what the last solve has found for it.
ColumnState* columnAt(zmiHandle instance, int column) {
  return guardedOn<Instance>(instance, static_cast<ColumnState*>(nullptr), [=](Instance& own) {
    if (!own.hasColumn(column)) return static_cast<ColumnState*>(nullptr);
    own.settleColumn(column);
    return &own.columns[column];
  });
}

// No solve changes those of parameters.
double* levelAt(zmiHandle instance, int column) {
  return guardedOn<Instance>(instance, static_cast<double*>(nullptr), [=](Instance& own) {
    if (!own.hasColumn(column)) return static_cast<double*>(nullptr);
    if (own.isParameter[column] == 0) own.settleColumn(column);
    return &own.columns[column].level;
  });
}

RowState* rowAt(zmiHandle instance, int row) {
  return guardedOn<Instance>(instance, static_cast<RowState*>(nullptr), [=](Instance& own) {
    return own.hasRow(row) ? &own.rows[row] : nullptr;
  });
}

// With what the last solve has found for it.
RowState* solvedRowAt(zmiHandle instance, int row) {
  if (instance != nullptr) static_cast<Instance*>(instance)->settle();
  return rowAt(instance, row);
}

// The following helpers for rows and columns only read and write numbers, which cannot throw.

// Sets a field of a row or column, unless it is null.
template <typename State, typename Value>
int set(State* state, Value State::*field, Value value) {
  if (state == nullptr) return 0;
  state->*field = value;
  return 1;
}

template <typename State, typename Value>
Value get(const State* state, Value State::*field) {
  return state == nullptr ? Value() : state->*field;
}

// Copies a field of all rows or columns.
template <typename State>
int copyAll(zmiHandle instance, std::vector<State> Instance::*states, double State::*field,
            double* to) {
  return guardedOn<Instance>(instance, 0, [=](Instance& own) {
    if (to == nullptr) return 0;
    own.settle();
    std::transform((own.*states).begin(), (own.*states).end(), to,
                   [field](const State& state) { return state.*field; });
    return 1;
  });
}

int setAltBound(zmiHandle instance, int column, double ColumnBounds::*field, double value) {
  return guardedOn<Instance>(instance, 0, [=](Instance& own) {
    if (!own.hasColumn(column)) return 0;
    own.setColumnBound(column, field, asBound(value));
    return 1;
  });
}

double asShown(const Instance& instance, double bound) {
  if (bound == std::numeric_limits<double>::infinity()) return instance.view.plusInfinity;
  return bound == -std::numeric_limits<double>::infinity() ? instance.view.minusInfinity : bound;
}

double shownBound(zmiHandle instance, int column, double (Instance::*bound)(int) const) {
  return guardedOn<Instance>(instance, 0.0, [=](const Instance& own) {
    return own.hasColumn(column) ? asShown(own, (own.*bound)(column)) : 0.0;
  });
}

template <typename State>
int getRecord(const State* state, double* level, double* marginal, int* status, int* basisStatus) {
  if (state == nullptr || level == nullptr || marginal == nullptr) return 0;
  if (status == nullptr || basisStatus == nullptr) return 0;
  *level = state->level;
  *marginal = state->marginal;
  *status = state->status;
  *basisStatus = state->basis;
  return 1;
}

template <typename State>
int setRecord(State* state, double level, double marginal, int status, int basisStatus) {
  if (state == nullptr) return 0;
  state->level = level;
  state->marginal = marginal;
  state->status = status;
  state->basis = basisStatus;
  return 1;
}

template <typename Change>
int change(zmiHandle instance, Change apply) {
  return guardedOn<Instance>(instance, 0, [&](Instance& own) {
    apply(own);
    return 1;
  });
}

}  // namespace

void zmiXCreate(void** handle) {
  makeObject(handle, [] { return new Instance; });
}

void CzmiXCreateD(void** handle, const char* dir) {
  makeObject(handle, [dir] { return new Instance({}, dir); });
}

void zmiXFree(void** handle) {
  freeObject<Instance>(handle);
}

ZKIT_DEFINE_CHECKS(zmi, Zmi)

void* CzmiDict(zmiHandle instance) {
  return guardedOn<Instance>(instance, static_cast<void*>(nullptr),
                             [](Instance& own) { return &own.dictionary; });
}

void* CzmiEnvironment(zmiHandle instance) {
  return guardedOn<Instance>(instance, static_cast<void*>(nullptr),
                             [](Instance& own) { return &own.environment; });
}

int CzmiN(zmiHandle instance) {
  return guardedOn<Instance>(instance, 0, &Instance::columnCount);
}

int CzmiM(zmiHandle instance) {
  return guardedOn<Instance>(instance, 0, &Instance::rowCount);
}

int CzmiModelType(zmiHandle instance) {
  return guardedOn<Instance>(instance, 0, &Instance::type);
}

int CzmiPinfSet(zmiHandle instance, double value) {
  return change(instance, [=](Instance& own) { own.view.plusInfinity = value; });
}

int CzmiMinfSet(zmiHandle instance, double value) {
  return change(instance, [=](Instance& own) { own.view.minusInfinity = value; });
}

int CzmiGetVarL(zmiHandle instance, double* n) {
  return copyAll(instance, &Instance::columns, &ColumnState::level, n);
}

int CzmiGetVarM(zmiHandle instance, double* n) {
  return copyAll(instance, &Instance::columns, &ColumnState::marginal, n);
}

int CzmiGetEquL(zmiHandle instance, double* m) {
  return copyAll(instance, &Instance::rows, &RowState::level, m);
}

int CzmiGetEquM(zmiHandle instance, double* m) {
  return copyAll(instance, &Instance::rows, &RowState::marginal, m);
}

double CzmiGetVarLOne(zmiHandle instance, int column) {
  const double* level = levelAt(instance, column);
  return level == nullptr ? 0.0 : *level;
}

double CzmiGetVarLowerOne(zmiHandle instance, int column) {
  return shownBound(instance, column, &Instance::lower);
}

double CzmiGetVarUpperOne(zmiHandle instance, int column) {
  return shownBound(instance, column, &Instance::upper);
}

double CzmiGetVarScaleOne(zmiHandle instance, int column) {
  return hasColumn(instance, column) ? 1.0 : 0.0;
}

double CzmiGetEquLOne(zmiHandle instance, int row) {
  return get(solvedRowAt(instance, row), &RowState::level);
}

double CzmiGetRhsOne(zmiHandle instance, int row) {
  return guardedOn<Instance>(
      instance, 0.0, [=](const Instance& own) { return own.hasRow(row) ? own.rhs(row) : 0.0; });
}

double CzmiGetEquScaleOne(zmiHandle instance, int row) {
  return rowAt(instance, row) == nullptr ? 0.0 : 1.0;
}

int CzmiGetEquTypeOne(zmiHandle instance, int row) {
  return get(rowAt(instance, row), &RowState::type);
}

int CzmiGetVarStatOne(zmiHandle instance, int column) {
  return get(columnAt(instance, column), &ColumnState::status);
}

int CzmiGetVarCStatOne(zmiHandle instance, int column) {
  return get(columnAt(instance, column), &ColumnState::basis);
}

int CzmiGetEquStatOne(zmiHandle instance, int row) {
  return get(solvedRowAt(instance, row), &RowState::status);
}

int CzmiGetEquCStatOne(zmiHandle instance, int row) {
  return get(solvedRowAt(instance, row), &RowState::basis);
}

int CzmiSetVarLOne(zmiHandle instance, int column, double value) {
  double* level = levelAt(instance, column);
  if (level == nullptr) return 0;
  *level = value;
  return 1;
}

int CzmiSetAltVarLowerOne(zmiHandle instance, int column, double value) {
  return setAltBound(instance, column, &ColumnBounds::altLower, value);
}

int CzmiSetAltVarUpperOne(zmiHandle instance, int column, double value) {
  return setAltBound(instance, column, &ColumnBounds::altUpper, value);
}

int CzmiSetEquLOne(zmiHandle instance, int row, double value) {
  return set(solvedRowAt(instance, row), &RowState::level, value);
}

int CzmiSetAltRHSOne(zmiHandle instance, int row, double value) {
  return set(rowAt(instance, row), &RowState::altRhs, value);
}

int CzmiGetSolutionVarRec(zmiHandle instance, int column, double* level, double* marginal,
                          int* status, int* basisStatus) {
  return getRecord(columnAt(instance, column), level, marginal, status, basisStatus);
}

int CzmiGetSolutionEquRec(zmiHandle instance, int row, double* level, double* marginal, int* status,
                          int* basisStatus) {
  return getRecord(solvedRowAt(instance, row), level, marginal, status, basisStatus);
}

int CzmiSetSolutionVarRec(zmiHandle instance, int column, double level, double marginal, int status,
                          int basisStatus) {
  return setRecord(columnAt(instance, column), level, marginal, status, basisStatus);
}

int CzmiSetSolutionEquRec(zmiHandle instance, int row, double level, double marginal, int status,
                          int basisStatus) {
  return setRecord(solvedRowAt(instance, row), level, marginal, status, basisStatus);
}

int CzmiAltBoundsSet(zmiHandle instance, int flag) {
  return change(instance, [=](Instance& own) { own.view.usesAltBounds = flag != 0; });
}

int CzmiAltRHSSet(zmiHandle instance, int flag) {
  return change(instance, [=](Instance& own) { own.view.usesAltRhs = flag != 0; });
}

int CzmiForceLinearSet(zmiHandle instance, int flag) {
  return change(instance, [=](Instance& own) { own.view.isForcedLinear = flag != 0; });
}

int CzmiModelStatSet(zmiHandle instance, int status) {
  return change(instance, [=](Instance& own) { own.modelStatus = status; });
}

int CzmiSolveStatSet(zmiHandle instance, int status) {
  return change(instance, [=](Instance& own) { own.solveStatus = status; });
}

int CzmiEvalGradNLUpdate(zmiHandle instance, double* m) {
  return guardedOn<Instance>(instance, 0, [=](Instance& own) {
    if (m == nullptr) return 0;
    own.updateLinear();
    std::copy(own.constants.begin(), own.constants.end(), m);
    return 1;
  });
}

int CzmiViewStore(zmiHandle instance) {
  return change(instance, [](Instance& own) { own.storedView = own.view; });
}

int CzmiViewRestore(zmiHandle instance) {
  return guardedOn<Instance>(instance, 0, [](Instance& own) {
    if (!own.storedView.has_value()) return 0;
    own.view = *std::exchange(own.storedView, std::nullopt);
    return 1;
  });
}
