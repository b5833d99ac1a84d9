// What the tests of the model kit share: models written as text, instances, solvers that keep their
// problem, and a proof that a solution is optimal. All through what the libraries export.
#pragma once

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "kit/api.h"
#include "zkitdclib.h"

namespace zdb::test::kit {

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kTolerance = 1e-6;  // relative from 1 up

// Those that can be used here, as the kit and the configuration that comes with it number them: all
// but HiGHS, the last one, must be.
const std::vector<const char*>& solvers();
const std::vector<const char*>& mipSolvers();

struct Term {
  double value;
  int column1 = -1;  // -1, here and below: a constant, no product
  int column2 = -1;
};

double activity(const std::vector<Term>& terms, const std::vector<double>& levels);

// A model that remembers what it was told, from a text: statements with a semicolon between them
// and a blank between words.
//
//     x(a) 0 6 1.5 ; int x(b) 0 9        columns with their bounds, and where they begin
//     cost -inf inf ; min cost
//     costs: cost - 2 x(a) - p_var*x(b) - 3 = 2 ; idle: x(a) free 0
//
// Columns that have no statement of their own are at least 0. Rows and columns count in the order
// in which they first appear.
class Model {
 public:
  explicit Model(const std::string& text = "");
  ~Model() { zkitModelFree(&model_); }
  Model(const Model&) = delete;
  Model& operator=(const Model&) = delete;
  operator zkitModel_t() const { return model_; }

  // The number of a row or column.
  int operator[](const std::string& name) const { return entries_.at(name); }
  const std::vector<Term>& terms(int row) const { return rows_[row]; }
  bool isInteger(int column) const { return isInteger_[column]; }
  bool isParameter(int column) const { return isParameter_[column]; }

 private:
  void addStatement(std::istream& words);
  void addRow(const std::string& name, std::istream& words);
  int column(const std::string& name, double lower = 0, double upper = kInf, double level = 0);
  template <typename Add>
  int addEntry(std::string name, int type, Add add);
  void expectDone(int result) const { EXPECT_EQ(result, 1) << zkitLastError(model_); }

  zkitModel_t model_ = nullptr;
  std::map<std::string, int> symbols_;
  std::map<std::string, int> entries_;
  std::vector<std::vector<Term>> rows_;
  std::vector<bool> isInteger_;
  std::vector<bool> isParameter_;
};

struct Shape {
  int rows = 5;
  int columns = 5;
  bool isFeasible = true;  // by construction
  bool isBoxed = false;    // all bounds finite
  double integerShare = 0.0;
};

// Whole numbers, among which ties and degenerate corners are common; products with parameters and
// constants; an objective z, the last column, that the first row defines.
std::string randomModel(const Shape& shape, std::mt19937& random);

class Instance {
 public:
  explicit Instance(const Model& model, const char* systemDirectory = nullptr) {
    EXPECT_EQ(zkitModelFinish(model, systemDirectory, &handle_), 1) << zkitLastError(model);
  }
  // Of a model file, made by the test.
  explicit Instance(void* handle) : handle_(handle) {}
  ~Instance() { zkitFreeInstance(&handle_); }
  Instance(const Instance&) = delete;
  Instance& operator=(const Instance&) = delete;
  operator void*() const { return handle_; }

  // From scratch, the way of the database: its message, "" if the solver was called. Limits of 0
  // are none.
  std::string solve(const char* solver, double seconds = 0, int iterations = 0) const;

 private:
  void* handle_ = nullptr;
};

// A solver of the configuration that comes with the kit, which keeps its problem between solves.
class Hot {
 public:
  explicit Hot(const char* solver);
  ~Hot() { zstXFree(&configuration_); }
  Hot(const Hot&) = delete;
  Hot& operator=(const Hot&) = delete;
  int solve(const Instance& instance) const;  // 0: the solver was called

 private:
  void* configuration_ = nullptr;
  int number_;
};

// Fails if anything is printed while it lives.
struct Silence {
  Silence() { testing::internal::CaptureStdout(), testing::internal::CaptureStderr(); }
  ~Silence() {
    EXPECT_EQ(testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr(), "");
  }
};

struct Entry {
  double level = 0;
  double marginal = 0;
  int status = 0;
  int basis = 0;
};
// A column or row of the solution, by the function for either.
Entry entryOf(decltype(CzmiGetSolutionVarRec) get, void* instance, int number);

// Fails unless levels, marginals and basis prove each other optimal: rows have the levels of the
// algebra, rows and bounds hold, the marginal of a column is its cost less what those of the rows
// account for, and none has the wrong sign for its bound or is at one that does not bind. Integer
// columns count as fixed at their levels, which must be whole.
void expectOptimal(const Model& model, void* instance);

}  // namespace zdb::test::kit
