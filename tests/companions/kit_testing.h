// What the tests of the model kit share: models and instances that are freed with the object, and
// what an instance says of itself.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <string>
#include <vector>

#include "kit/api.h"
#include "zkitdclib.h"

namespace kittest {

using Labels = std::vector<const char*>;
using Key = std::vector<int>;

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// A model under construction. Functions that add give the number, or -1 when the call failed.
class Model {
 public:
  Model() { EXPECT_EQ(zkitModelCreate(&model_, "test"), 1); }
  ~Model() { zkitModelFree(&model_); }
  Model(const Model&) = delete;
  Model& operator=(const Model&) = delete;
  operator zkitModel_t() const { return model_; }

  int variable(const char* name, int dim) const { return symbol(name, ZKIT_VARIABLE, dim); }
  int equation(const char* name, int dim) const { return symbol(name, ZKIT_EQUATION, dim); }
  int symbol(const char* name, int type, int dim) const;
  int column(int symbol, const Labels& labels, double lower, double upper, double level = 0) const;
  int row(int symbol, const Labels& labels, int type, double rhs) const;
  // A column of a new symbol without dimensions.
  int scalar(const char* name, double lower, double upper, double level = 0) const {
    return column(variable(name, 0), {}, lower, upper, level);
  }
  // A row of a new symbol without dimensions.
  int scalarRow(const char* name, int type, double rhs) const {
    return row(equation(name, 0), {}, type, rhs);
  }
  // Coefficients, products and constants of a row; each must be taken.
  void add(int row, int column, double value) const;
  void addProduct(int row, int column1, int column2, double value) const;
  void addConstant(int row, double value) const;
  std::string error() const { return zkitLastError(model_); }

 private:
  zkitModel_t model_ = nullptr;
};

// At least need_var is to be bought of a, at 2 each, and b, at p_var each, with a fee of 5:
//     costs:  cost - 2 x(a) - p_var x(b) - 3 = 2,     needs:  x(a) + x(b) - need_var >= 0
struct Shop {
  explicit Shop(bool isInteger = false);

  Model model;
  int a, b, p, need, cost, costs, needs;
};

// Rows of a random model with a solution that nothing but the bounds ties: the objective changes
// smoothly with every parameter.
struct RandomModel {
  RandomModel(unsigned seed, int direction);

  Model model;
  std::vector<int> columns, parameters, rows;
};

// An instance, of a model or without anything.
class Instance {
 public:
  Instance() { zmiXCreate(&handle_); }
  explicit Instance(const Model& model, const char* systemDirectory = nullptr) {
    EXPECT_EQ(zkitModelFinish(model, systemDirectory, &handle_), 1) << model.error();
  }
  ~Instance() { zkitFreeInstance(&handle_); }
  Instance(const Instance&) = delete;
  Instance& operator=(const Instance&) = delete;
  operator void*() const { return handle_; }

  void* dictionary() const { return CzmiDict(handle_); }
  void* environment() const { return CzmiEnvironment(handle_); }
  std::string columnName(int column) const { return name(zkitColumnName, column); }
  std::string rowName(int row) const { return name(zkitRowName, row); }

  // The plain call of a solver: its message, "" when it was called.
  std::string solve(const char* solver) const;
  // What the database does before a solve: the right-hand sides without the constant terms.
  void updateLinear() const;

 private:
  using NameCall = int (*)(void*, int, char*, int);
  std::string name(NameCall call, int entry) const;

  void* handle_ = nullptr;
};

// The whole solution record of a row or column.
struct Record {
  double level = 0;
  double marginal = 0;
  int status = 0;
  int basis = 0;
  bool operator==(const Record&) const = default;
};
Record columnRecord(void* instance, int column);
Record rowRecord(void* instance, int row);

// Rows or columns of a symbol as a walk gives them; key positions that are 0 are open.
std::vector<int> walk(void* dictionary, int symbol, const Key& key);
std::string labelText(void* dictionary, int label);
std::string symbolName(void* dictionary, int symbol);

// Solvers that this kit was built with, of those that solve models of the type.
std::vector<const char*> solversFor(int modelType);

}  // namespace kittest
