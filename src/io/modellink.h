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

/// Ties a database to a model instance: the companions' handles, and what the next solve needs to
/// know about the instance and the solver of the last one.
///
/// The instance, its dictionary and its environment belong to the caller. The configuration and a
/// solver that works in place belong to the link.
/// REQUIRES the caller's objects outlive the database.
struct ModelLink {
  ModelLink() = default;
  ModelLink(const ModelLink&) = delete;
  ModelLink& operator=(const ModelLink&) = delete;
  ~ModelLink() { forgetPreparation(); }

  /// Whether it is ready to solve, that is, InitUpdate has succeeded.
  bool isPrepared() const { return environment != nullptr; }
  /// Frees the solver that holds the problem, if any; the next solve starts from scratch.
  void releaseSolver();
  /// Returns to the state in which the instance is registered, but not prepared: drops base values,
  /// counts, configuration and solver.
  void forgetPreparation();

  loaders::zmiRec* instance = nullptr;
  loaders::zlxRec* dictionary = nullptr;
  loaders::zrtRec* environment = nullptr;    ///< null until the link is prepared
  loaders::zstRec* configuration = nullptr;  ///< owned
  std::string systemDirectory;               ///< where the solvers and their configuration are

  std::optional<LabelNumbers> labels;  ///< of the dictionary; none if it has not been read yet

  int columns = 0;
  int rows = 0;
  // The instance's values when the link was prepared: one entry more than there are columns
  // or rows.
  std::vector<double> columnLevels;
  std::vector<double> columnMarginals;
  std::vector<double> rowLevels;
  std::vector<double> rowMarginals;

  std::vector<double> constantTerms;  ///< per row, of the nonlinear update; kept to be reused
  bool isSolving = false;             ///< as the host's code may ask that gets the lines of the log
  bool alternativeBoundsInUse = false;  ///< the last update was of columns
  int lastSolver = 0;                   ///< its number; 0: none
  bool lastSolverModifies = false;      ///< it keeps the problem between solves
};

}  // namespace zdb
