// What updatable parameters contribute to coefficients and constants of a model.
#pragma once

#include <vector>

#include "kit/modeldata.h"

namespace zdb::kit {

/// Coefficients by column: those of column j are at the places starts[j] <= place < starts[j + 1]
/// of `rows` and `values`, in ascending order of rows and without duplicates. Parameter columns
/// have none. A place is kept when its value becomes 0.
struct Matrix {
  std::vector<int> starts;
  std::vector<int> rows;
  std::vector<double> values;
};

/// The terms of a model that contain parameters, with those of the same place added up.
class ParameterTerms {
 public:
  /// Also makes the matrix of all other terms, which includes a place for each product.
  ParameterTerms(const ModelData& model, Matrix& matrix);

  /// Sets the values of the matrix that parameters change, and adds the parameters' terms to the
  /// constants of the rows. level(column) returns a level.
  template <typename Level>
  void evaluate(Level level, std::vector<double>& values, double* constants) const {
    for (const Term& term : constants_) {
      const double factor = term.other < 0 ? 1.0 : level(term.other);
      constants[term.row] += term.value * level(term.parameter) * factor;
    }
    for (const Update& update : updates_) {
      double value = update.base;
      for (int k = update.first; k < update.last; ++k) {
        value += factors_[k].value * level(factors_[k].parameter);
      }
      values[update.place] = value;
    }
  }

  /// Adds to sums[column], for each parameter, the derivative of each row by that parameter times
  /// dual(row). level(column) returns the level of any column.
  template <typename Level, typename Dual>
  void addDerivatives(Level level, Dual dual, std::vector<double>& sums) const {
    for (const Term& term : constants_) {
      const double value = term.value * dual(term.row);
      sums[term.parameter] += term.other < 0 ? value : value * level(term.other);
      if (term.other >= 0) sums[term.other] += value * level(term.parameter);
    }
    for (const Factor& factor : factors_) {
      sums[factor.parameter] += factor.value * dual(factor.row) * level(factor.column);
    }
  }

  /// Whether there is a product of two parameters.
  bool hasParameterProducts() const;
  /// The places of the matrix whose values parameters or hosts change, ascending.
  std::vector<int> places() const;
  /// Sets the coefficient of an open place, without the parameters' terms. Returns false if the
  /// place is not open.
  bool setBase(const Matrix& matrix, int row, int column, double value);
  /// The number of nonzero coefficients, those of parameters included, and products.
  int termCount() const { return termCount_; }

 private:
  struct Term {  // value * parameter [* other] in a row
    int row;
    int parameter;
    int other;  ///< -1: none
    double value;
  };
  struct Factor {  // value * parameter * column in a row
    int row;
    int column;
    int parameter;
    double value;
  };
  struct Update {  // a place, its coefficient without parameters, and its factors
    int place;
    int first;
    int last;
    double base;
  };

  void takeCoefficients(const ModelData& model, std::vector<Coefficient>& linear);
  void takeProducts(const ModelData& model, std::vector<Coefficient>& linear);
  void makeUpdates(const ModelData& model, const Matrix& matrix);

  std::vector<Term> constants_;
  std::vector<Factor> factors_;  ///< by column, then row
  std::vector<Update> updates_;
  int termCount_ = 0;
};

}  // namespace zdb::kit
