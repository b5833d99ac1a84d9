#include "kit/plainsolve.h"

#include "kit/configuration.h"
#include "kit/instance.h"
#include "shared/boundary.h"

namespace zdb::kit {

namespace {

// Throws a KitError if there is no such solver. A solve that fails is an outcome, with the reason
// in the message of the instance.
Outcome solve(Instance& instance, std::string_view name) {
  Configuration configuration;
  configuration.read(instance.environment.systemDirectory() + std::string(kConfigurationFile));
  const ConfiguredSolver& solver = configuration.solver(name);
  solver.checkBuilt();
  solver.checkType(instance.type);
  Session session(*solver.engine);
  session.load(instance);
  return session.solve(instance);
}

}  // namespace

int callPlain(Instance& instance, const char* solver, char* message, int size) noexcept {
  const bool isSolved = zdb::boundary::guarded(
      false, [&] { return !isFailure(solve(instance, solver)); },
      [&](const std::exception& error) {
        instance.refuse(Outcome::SetupFailed, zdb::boundary::reasonOf(error));
        instance.environment.log(zdb::boundary::reasonOf(error));
      });
  if (!isSolved) zdb::boundary::copyText(instance.message, message, size);
  return isSolved ? 1 : 0;
}

}  // namespace zdb::kit
