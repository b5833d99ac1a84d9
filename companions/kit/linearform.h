// The linear model of an instance at its current levels, bounds and right-hand sides.
#pragma once

#include <vector>

#include "kit/instance.h"
#include "kit/linearmodel.h"

namespace zdb::kit {

/// Columns and rows of the instance without parameters, which are constants here. If the objective
/// is a free column that one equation defines, both are left out as well: the other terms of the
/// equation become the cost, so that a change of prices does not change coefficients.
class LinearForm {
 public:
  explicit LinearForm(const Instance& instance);

  /// Whether the form still fits: the instance is the same, still or still not solved as integer,
  /// and the objective, if it was left out, still has no bounds.
  bool fits(const Instance& instance) const;

  /// Takes over everything that may have changed while the form fits, and adds to the changes what
  /// has, in any order. If asked to, subtracts the `constants` of the rows from their right-hand
  /// sides. Takes time in the number of rows, of coefficients that parameters change and of bounds
  /// that were set since the last time; the first time, in the size of the model.
  void refresh(const Instance& instance, bool subtractsConstants, Changes& changes);

  /// Exchanges the costs that the last refresh has replaced and those that it has put there;
  /// returns which.
  const std::vector<int>& exchangeCosts();

  /// Writes the objective of a solution, as it is minimised, into the instance, if no column of the
  /// model stands for it.
  void storeObjective(double objective, Instance& instance) const;
  /// Writes all other levels and marginals into the instance.
  void store(const Solution& solution, bool isOptimal, Instance& instance);
  /// Whether that gives the same at any time until constants of rows or the direction change, and
  /// the objective is known without it.
  bool canStoreLater() const { return objectiveColumn_ < 0 && !hasParameterProducts_; }

  const LinearModel& model() const { return model_; }
  /// The row or column of the instance that is row or column k of the model.
  int instanceRow(int k) const { return rows_[static_cast<std::size_t>(k)]; }
  int instanceColumn(int k) const { return columns_[static_cast<std::size_t>(k)]; }
  /// Places of coefficients that can change, and their columns.
  const std::vector<int>& changingPlaces() const { return changingPlaces_; }
  const std::vector<int>& changingColumns() const { return changingColumns_; }

 private:
  void findObjectiveRow(const Instance& instance);
  void takeColumn(const Instance& instance, int column, const std::vector<int>& rowNumbers,
                  const std::vector<char>& isChanging);
  void refreshCosts(const Instance& instance, Changes& changes);
  void refreshBounds(const Instance& instance, Changes& changes);
  void refreshColumn(const Instance& instance, int number, Changes& changes);
  double offset(const Instance& instance) const;
  void storeParameters(Instance& instance);

  struct Source {  // where a cost or coefficient comes from
    int target;    ///< column of the cost, or place of the coefficient, in model_
    int place;     ///< in the instance's matrix
  };

  int instanceId_;
  bool isInteger_;
  int objectiveRow_ = -1;       ///< in the instance; -1: the objective is an ordinary column
  double objectiveFactor_ = 1;  ///< of the objective in its row
  double objectiveRhs_ = 0;     ///< of that row, constants subtracted
  int objectiveColumn_ = -1;    ///< in model_, if the objective is one of its columns
  std::vector<int> columns_;    ///< numbers in the instance, here and below
  std::vector<int> parameters_;
  std::vector<int> rows_;
  std::vector<int> numbers_;  ///< the other way round: of columns, -1 for those that are not here
  std::vector<Source> costs_;
  std::vector<Source> changingCosts_;  ///< those of them that parameters change
  std::vector<Source> changing_;
  std::vector<int> changingPlaces_;
  std::vector<int> changingColumns_;
  bool hasParameterProducts_;  ///< the marginals of parameters depend on levels of others
  std::vector<double> sums_;   ///< for the marginals of parameters; kept to be reused
  LinearModel model_;
  std::vector<int> replacedCosts_;  ///< by the last refresh: columns, and what they were
  std::vector<double> formerCosts_;
  // What the last refresh has seen.
  bool isFresh_ = false;
  bool usedAltBounds_ = false;
  int direction_ = 0;
  int logNumber_ = -1;
  std::size_t logPlace_ = 0;
};

}  // namespace zdb::kit
