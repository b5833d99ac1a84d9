// How the scenarios of a sweep are divided among workers.
#pragma once

#include <memory>

#include "scenariosolver.h"
#include "sweep/work.h"

namespace zdb::tool {

/// Solves the scenario that has the number of the task. The solver must last as long as this.
sweep::Work sweepWork(ScenarioSolver& solver);

/// What the work found out, on whichever machine.
ScenarioResult resultOf(const sweep::Outcome& outcome);

/// The workers of a sweep, which depend on the program: see localworkers.cpp. `jobs` is what the
/// user wants, 0 for as many as there are cores.
std::unique_ptr<sweep::Crew> hireWorkers(unsigned jobs, sweep::Work work);

/// `jobs`, or the number of cores that this process may use.
unsigned workerCount(unsigned jobs);

}  // namespace zdb::tool
