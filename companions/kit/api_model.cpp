// Building a model call by call.
#include <exception>
#include <new>
#include <string>

#include "kit/api.h"
#include "kit/instance.h"
#include "kit/model.h"
#include "zkitdclib.h"

struct zkitModel {
  explicit zkitModel(const char* name) : builder(name == nullptr ? "" : name) {}

  zkit::ModelBuilder builder;
  std::string lastError;
  bool isBroken = false;  // memory ran out half-way through a change
};

namespace {

using namespace zkit;

constexpr char kOutOfMemory[] = "Out of memory: the model can no longer be used";

// Runs a change of a model: 1, or 0 with the reason kept.
template <typename Work>
int guarded(zkitModel_t model, Work work) {
  if (model == nullptr) return 0;
  try {
    if (model->isBroken) throw KitError(kOutOfMemory);
    work(model->builder);
    return 1;
  } catch (const KitError& error) {
    model->lastError = error.what();
  } catch (const std::exception&) {
    model->isBroken = true;
    model->lastError = kOutOfMemory;
  }
  return 0;
}

// The same for a change that gives a number.
template <typename Work>
int numbered(zkitModel_t model, int* number, Work work) {
  return guarded(model, [&](ModelBuilder& builder) {
    if (number == nullptr) throw KitError("The output for the number must not be null");
    *number = work(builder);
  });
}

}  // namespace

int zkitModelCreate(zkitModel_t* model, const char* name) {
  if (model == nullptr) return 0;
  *model = nullptr;
  try {
    *model = new zkitModel(name);
  } catch (const std::exception&) {
    return 0;
  }
  return 1;
}

void zkitModelFree(zkitModel_t* model) {
  if (model == nullptr) return;
  delete *model;
  *model = nullptr;
}

const char* zkitLastError(zkitModel_t model) {
  return model == nullptr ? "No model" : model->lastError.c_str();
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
    const std::string directory =
        systemDirectory == nullptr ? Environment().systemDirectory() : systemDirectory;
    *instance = new Instance(builder.data(), directory);
  });
}
