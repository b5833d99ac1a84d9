// Solvers without the kit: the same model, of which one cost changes.
#pragma once

#include <memory>
#include <string>

#include "models.h"

class BareSolver {
 public:
  virtual ~BareSolver() = default;
  BareSolver(const BareSolver&) = delete;
  BareSolver& operator=(const BareSolver&) = delete;

  /// Changes the cost of the first column, solves from the last basis and returns the objective.
  virtual double solveWith(double cost) = 0;

 protected:
  BareSolver() = default;
};

/// With the settings that the kit has, after a first solve. Null if there is none of that name
/// here.
std::unique_ptr<BareSolver> makeBare(const std::string& solver, const BroadModel& model);
