// The linear model of an instance at its present levels, bounds and right-hand sides.
#pragma once

#include <vector>

#include "kit/instance.h"
#include "kit/linearmodel.h"

namespace zdb::kit {

/// Columns and rows of the instance without parameters, which are constants here. If the objective
/// is a free column that one equation defines, neither of them is here either: what the equation
/// says is the cost, so that a change of prices leaves the coefficients alone.
class LinearForm {
 public:
  explicit LinearForm(const Instance& instance);

  /// Whether the rows and columns are still the right ones: this instance, with an objective that
  /// has no bounds if it is not here, and integer as it was.
  bool fits(const Instance& instance) const;

  /// Takes over what can change without another form. `constants` of each row are subtracted from
  /// its right-hand side.
  void refresh(const Instance& instance, bool subtractsConstants);

  /// Writes levels and marginals into the instance.
  void store(const Solution& solution, bool isOptimal, Instance& instance) const;

  const LinearModel& model() const { return model_; }
  /// Places of coefficients that can change, and their columns.
  const std::vector<int>& changingPlaces() const { return changingPlaces_; }
  const std::vector<int>& changingColumns() const { return changingColumns_; }

 private:
  void findObjectiveRow(const Instance& instance);
  void takeColumn(const Instance& instance, int column, const std::vector<int>& rowNumbers,
                  const std::vector<char>& isChanging);
  void storeObjective(const Solution& solution, Instance& instance) const;
  void storeParameters(Instance& instance) const;

  struct Source {  // of a cost or coefficient here
    int target;
    int place;  ///< in the instance's matrix
  };

  int instanceId_;
  bool isInteger_;
  int objectiveRow_ = -1;       ///< in the instance; -1: the objective is an ordinary column
  double objectiveFactor_ = 1;  ///< of the objective in its row
  double objectiveRhs_ = 0;     ///< of that row, constants subtracted
  std::vector<int> columns_;    ///< their numbers in the instance, here and below
  std::vector<int> parameters_;
  std::vector<int> rows_;
  std::vector<Source> costs_;
  std::vector<Source> changing_;
  std::vector<int> changingPlaces_;
  std::vector<int> changingColumns_;
  LinearModel model_;
};

}  // namespace zdb::kit
