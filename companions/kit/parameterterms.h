// What updatable parameters contribute to a model: coefficients and constants at their levels.
#pragma once

#include <vector>

#include "kit/modeldata.h"

namespace zdb::kit {

/// Coefficients column by column: those of column j are the places starts[j] to starts[j+1] of
/// `rows` and `values`, in the order of their rows and without duplicates. Parameter columns have
/// none. A place stays when its value becomes 0.
struct Matrix {
  std::vector<int> starts;
  std::vector<int> rows;
  std::vector<double> values;
};

/// The terms of a model with parameters in them, merged: one for each place.
class ParameterTerms {
 public:
  /// Also makes the matrix of all other terms, in which places of products are kept free.
  ParameterTerms(const ModelData& model, Matrix& matrix);

  /// Puts the parameters' levels into the matrix and adds their constants to those of the rows.
  /// `Level(column)` gives a level.
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

  /// Adds, for each parameter, what the rows change by with it, times `dual(row)`, to
  /// `sums[column]`. `Level(column)` gives the level of any column.
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

  /// Places of the matrix whose value parameters change, in order.
  std::vector<int> places() const;
  /// Coefficients that are not 0, also of parameters, and products.
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
  void makeUpdates(const Matrix& matrix);

  std::vector<Term> constants_;
  std::vector<Factor> factors_;  ///< in the order of columns, then rows
  std::vector<Update> updates_;
  int termCount_ = 0;
};

}  // namespace zdb::kit
