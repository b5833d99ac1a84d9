// The host's functions for building a model call by call.
#include <string>

#include "kit/api.h"
#include "kit/error.h"
#include "kit/instance.h"
#include "kit/modelbuilder.h"
#include "shared/boundary.h"
#include "zkitdclib.h"

using namespace zdb::kit;
using zdb::boundary::freeObject;
using zdb::boundary::guardedOn;
using zdb::boundary::makeObject;

struct zkitModel {
  explicit zkitModel(const char* name) : builder(name == nullptr ? "" : name) {}

  ModelBuilder builder;
  std::string lastError;
  bool isBroken = false;  // memory ran out halfway through a change
};

namespace {

constexpr char kOutOfMemory[] = "Out of memory: the model can no longer be used";

void keep(zkitModel& model, const std::exception& error) {
  const bool isUnderstood = dynamic_cast<const KitError*>(&error) != nullptr;
  model.isBroken = model.isBroken || !isUnderstood;
  model.lastError = isUnderstood ? error.what() : kOutOfMemory;
}

// Runs a change of a model. Returns 1, or 0 with the reason in lastError.
template <typename Work>
int guarded(zkitModel_t model, Work work) {
  return guardedOn<zkitModel>(
      model, 0,
      [&](zkitModel& own) {
        if (own.isBroken) throw KitError(kOutOfMemory);
        work(own.builder);
        return 1;
      },
      keep);
}

// The same for a change that returns a number.
template <typename Work>
int numbered(zkitModel_t model, int* number, Work work) {
  return guarded(model, [&](ModelBuilder& builder) {
    if (number == nullptr) throw KitError("The output for the number must not be null");
    *number = work(builder);
  });
}

}  // namespace

int zkitModelCreate(zkitModel_t* model, const char* name) {
  return makeObject(model, [name] { return new zkitModel(name); });
}

void zkitModelFree(zkitModel_t* model) {
  freeObject<zkitModel>(model);
}

const char* zkitLastError(zkitModel_t model) {
  return guardedOn<zkitModel>(model, "No model",
                              [](const zkitModel& own) { return own.lastError.c_str(); });
}

int zkitAddSymbol(zkitModel_t model, const char* name, int type, int dim, const char* text,
                  int userInfo, int* symbol) {
  return numbered(model, symbol, [=](ModelBuilder& builder) {
    return builder.addSymbol(name == nullptr ? "" : name, type, dim, text == nullptr ? "" : text,
                             userInfo);
  });
}

int zkitAddColumn(zkitModel_t model, int symbol, const char* const* labels, double lower,
                  double upper, double level, int* column) {
  return numbered(model, column, [=](ModelBuilder& builder) {
    return builder.addColumn(symbol, labels, lower, upper, level);
  });
}

int zkitAddColumns(zkitModel_t model, int symbol, int count, const char* const* labels,
                   const double* lower, const double* upper, const double* level, const int* starts,
                   const int* rows, const double* values, int* first) {
  return numbered(model, first, [&](ModelBuilder& builder) {
    return builder.addColumns(symbol, {count, labels, lower, upper, level, starts, rows, values});
  });
}

int zkitAddRows(zkitModel_t model, int symbol, int count, const char* const* labels,
                const int* types, const double* rhs, int* first) {
  return numbered(model, first, [&](ModelBuilder& builder) {
    return builder.addRows(symbol, {count, labels, types, rhs});
  });
}

int zkitAddCoefficients(zkitModel_t model, int count, const int* rows, const int* columns,
                        const double* values) {
  return guarded(
      model, [&](ModelBuilder& builder) { builder.addCoefficients(count, rows, columns, values); });
}

int zkitSetColumnInteger(zkitModel_t model, int column, int isInteger) {
  return guarded(model, [=](ModelBuilder& builder) { builder.setInteger(column, isInteger != 0); });
}

int zkitAddRow(zkitModel_t model, int symbol, const char* const* labels, int type, double rhs,
               int* row) {
  return numbered(model, row,
                  [=](ModelBuilder& builder) { return builder.addRow(symbol, labels, type, rhs); });
}

int zkitAddCoefficient(zkitModel_t model, int row, int column, double value) {
  return guarded(model, [=](ModelBuilder& builder) { builder.addCoefficient(row, column, value); });
}

int zkitAddProduct(zkitModel_t model, int row, int column1, int column2, double value) {
  return guarded(model,
                 [=](ModelBuilder& builder) { builder.addProduct(row, column1, column2, value); });
}

int zkitAddConstant(zkitModel_t model, int row, double value) {
  return guarded(model, [=](ModelBuilder& builder) { builder.addConstant(row, value); });
}

int zkitSetObjective(zkitModel_t model, int column, int direction) {
  return guarded(model, [=](ModelBuilder& builder) { builder.setObjective(column, direction); });
}

int zkitModelFinish(zkitModel_t model, const char* systemDirectory, void** instance) {
  return guarded(model, [=](const ModelBuilder& builder) {
    if (instance == nullptr) throw KitError("The output for the instance must not be null");
    *instance = nullptr;
    *instance = new Instance(builder.data(), systemDirectory);
  });
}
