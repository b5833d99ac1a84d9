// The command-line tool for many machines: mpirun zdbcc-mpi sweep ... . Rank 0 runs the command
// line; each rank, also rank 0, has a supervisor with workers. The supervisor is a process of its
// own, started before MPI, whose threads and connections would not survive in copies of this
// process: and a solver that crashes ends a worker, not a rank, which would be the end of all.
#include <mpi.h>
#include <unistd.h>

#include <any>
#include <cstdio>
#include <exception>
#include <memory>

#include "mpilines.h"
#include "parse.h"
#include "runtool.h"
#include "sweep/childprocess.h"
#include "sweep/supervisor.h"
#include "sweepwork.h"

namespace zdb::tool {

namespace {

mpi::MpiLines* allRanks = nullptr;  ///< in rank 0

/// What a supervisor prepares: the same model and scenarios as rank 0.
sweep::Work prepareWork(const std::vector<std::string>& words) {
  const Command command = parse(words);
  const auto solver =
      std::make_shared<ScenarioSolver>(std::any_cast<const SweepOptions&>(command.options));
  return [solver, solve = sweepWork(*solver)](sweep::Task task) { return solve(task); };
}

/// What solvers print would get into rank 0's results.
int beSupervisor(int socket, const std::vector<std::string>& words) {
  dup2(STDERR_FILENO, STDOUT_FILENO);
  sweep::supervise(socket, [&] { return prepareWork(words); });
  return 0;
}

int beRank(int rank, const std::vector<std::string>& words, int supervisor) {
  if (rank != 0) {
    mpi::relay(supervisor);
    return 0;
  }
  mpi::MpiLines lines(supervisor);
  allRanks = &lines;
  const int code = runTool(words);
  lines.finish();
  return code;
}

}  // namespace

void checkForWorkers(const SweepOptions& options) {
  for (const std::string& file : {options.scenarios, options.model.file, options.model.data}) {
    if (file != "-") continue;
    throw WrongUseError("standard input does not reach all ranks: give the name of a file");
  }
  if (options.limits.megabytes) {
    throw WrongUseError(
        "--memory-limit is for one machine: limit each rank with the batch system, or with ulimit "
        "-d "
        "before mpirun");
  }
}

std::unique_ptr<sweep::Crew> hireWorkers(const SweepOptions& options, const sweep::Work& /*work*/) {
  return std::make_unique<sweep::RemoteCrew>(*allRanks, workerCount(options), "rank");
}

}  // namespace zdb::tool

int main(int argc, char** argv) {
  const std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
  int rank = -1;
  try {
    const zdb::sweep::ChildProcess supervisor(
        [&](int socket) { return zdb::tool::beSupervisor(socket, words); });
    MPI_Init(&argc, &argv);
    MPI_Comm_rank(MPI_COMM_WORLD, &rank);
    const int code = zdb::tool::beRank(rank, words, supervisor.socket());
    MPI_Finalize();
    return code;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "zdbcc-mpi: rank %d: %s\n", rank, failure.what());
    if (rank >= 0) MPI_Abort(MPI_COMM_WORLD, 1);  // or the others would wait for this one
    return 1;
  }
}
