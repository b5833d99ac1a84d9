#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zdb::tool {

/// A solver that the kit knows.
struct SolverInfo {
  std::string name;
  std::string version;             ///< empty if it cannot be used
  std::vector<std::string> types;  ///< of models: LP, MIP, RMIP
  bool worksInPlace = false;
  std::string whyNot;  ///< why it cannot be used; empty if it can

  bool isUsable() const { return whyNot.empty(); }
  /// "LP, MIP, RMIP, in place".
  std::string typesText() const;
};

std::vector<SolverInfo> solverInfos();

/// The solver of a name, whatever its case. Throws ToolError if there is none, with those there are
/// and a guess at what was meant, or if it cannot be used here.
SolverInfo usableSolver(const std::string& name);
/// What a solve would find out: throws ToolError unless a solver ("": the default one) is there and
/// solves such a model.
void requireSolver(const std::string& name, bool hasIntegers);

/// Throws ToolError with the solvers there are, and a guess at what was meant.
[[noreturn]] void failUnknownSolver(std::string_view name);

}  // namespace zdb::tool
