// The workers of a sweep in zdbcc: this process, or processes of this machine.
#include "sweep/localcrew.h"
#include "sweepwork.h"

namespace zdb::tool {

void checkForWorkers(const SweepOptions& /*options*/) {}

std::unique_ptr<sweep::Crew> hireWorkers(const SweepOptions& options, const sweep::Work& work) {
  const unsigned count = workerCount(options);
  if (count == 1) return std::make_unique<sweep::SoloCrew>(work);
  return std::make_unique<sweep::LocalCrew>(count, work);
}

}  // namespace zdb::tool
