#include "kit/plainsolve.h"

#include "kit/configuration.h"
#include "kit/instance.h"
#include "shared/boundary.h"

namespace zkit {

int callPlain(Instance& instance, const char* solver, char* message, int size) noexcept {
  const bool isSolved = zdb::boundary::guarded(
      false, [&] { return !isFailure(solvePlain(instance, solver)); },
      [&](const std::exception& error) {
        instance.refuse(Outcome::SetupFailed, error.what());
        instance.environment.log(error.what());
      });
  if (!isSolved) zdb::boundary::copyText(instance.message, message, size);
  return isSolved ? 1 : 0;
}

}  // namespace zkit
