// How the scenarios of a sweep are divided among workers.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "scenariosolver.h"
#include "sweep/work.h"

namespace zdb::tool {

/// Solves the scenario that has the number of the task. The solver must last as long as this.
sweep::Work sweepWork(ScenarioSolver& solver);

/// A result as bytes, for this program elsewhere or later, and back. Throws contract::CutError for
/// other bytes.
std::string packed(const ScenarioResult& result);
ScenarioResult unpackedResult(std::string_view bytes);

/// What the work found out, on whichever machine.
ScenarioResult resultOf(const sweep::Outcome& outcome, ScenarioSolver& solver);

/// Throws WrongUseError for what the workers of this program cannot do.
void checkForWorkers(const SweepOptions& options);

/// The workers of a sweep, which depend on the program: see localworkers.cpp.
std::unique_ptr<sweep::Crew> hireWorkers(const SweepOptions& options, const sweep::Work& work);

/// As many as the options say, which for 0 is the number of cores that this process may use.
unsigned workerCount(const SweepOptions& options);

}  // namespace zdb::tool
