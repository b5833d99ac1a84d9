#pragma once

#include <optional>
#include <string>
#include <vector>

#include "io/labelnumbers.h"

namespace zdb {

namespace loaders {
struct zlxRec;
struct zmiRec;
struct zrtRec;
struct zstRec;
}  // namespace loaders

/// What ties a database to a model instance: the companions' handles, and what solving again needs
/// to know of the instance and of the solver before.
///
/// The instance, its dictionary and its environment belong to the caller, who keeps them alive as
/// long as the database. The configuration and a solver that works in place belong to the link.
struct ModelLink {
  ModelLink() = default;
  ModelLink(const ModelLink&) = delete;
  ModelLink& operator=(const ModelLink&) = delete;
  ~ModelLink() { forgetPreparation(); }

  /// Ready to solve: InitUpdate has succeeded.
  bool isPrepared() const { return environment != nullptr; }
  /// Frees the solver that holds the problem, if there is one; the next solve starts anew.
  void releaseSolver();
  /// Back to a link that is registered only: base values, counts, configuration and solver go.
  void forgetPreparation();

  loaders::zmiRec* instance = nullptr;
  loaders::zlxRec* dictionary = nullptr;
  loaders::zrtRec* environment = nullptr;    ///< null until the link is prepared
  loaders::zstRec* configuration = nullptr;  ///< owned
  std::string systemDirectory;               ///< where the solvers and their configuration are

  std::optional<LabelNumbers> labels;  ///< of the dictionary; none: not read yet

  int columns = 0;
  int rows = 0;
  // The instance as it was when the link was prepared, one entry more than columns or rows.
  std::vector<double> columnLevels;
  std::vector<double> columnMarginals;
  std::vector<double> rowLevels;
  std::vector<double> rowMarginals;

  std::vector<double> constantTerms;    ///< per row, of the nonlinear update; kept to be reused
  bool alternativeBoundsInUse = false;  ///< the last update was of columns
  int lastSolver = 0;                   ///< its number; 0: none
  bool lastSolverModifies = false;      ///< and it keeps the problem between solves
};

}  // namespace zdb
