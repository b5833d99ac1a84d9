// The database's functions for environments: options, the log, and solving from scratch.
#include "contract/failures.h"
#include "kit/api.h"
#include "kit/instance.h"
#include "kit/names.h"
#include "kit/plainsolve.h"
#include "shared/boundary.h"

using namespace zdb::kit;
using namespace zdb::boundary;

namespace {

// Applies the limits of one call where they are tighter than those of the environment.
class CallLimits {
 public:
  CallLimits(Environment& environment, double seconds, int iterations)
      : environment_(environment), kept_(environment.limits) {
    constexpr double noSeconds = 1.0E9;
    constexpr int noIterations = 2000000000;
    Limits& limits = environment_.limits;
    const bool isTimed = seconds > 0.0 && seconds < noSeconds;
    if (isTimed && (limits.seconds <= 0.0 || seconds < limits.seconds)) limits.seconds = seconds;
    const bool isCounted = iterations > 0 && iterations < noIterations;
    if (isCounted && (limits.iterations <= 0 || iterations < limits.iterations)) {
      limits.iterations = iterations;
    }
  }
  ~CallLimits() { environment_.limits = kept_; }
  CallLimits(const CallLimits&) = delete;
  CallLimits& operator=(const CallLimits&) = delete;

 private:
  Environment& environment_;
  Limits kept_;
};

int fail(const char* why, char* message) {
  copyText(why, message, zdb::contract::kMessageSize);
  return 1;
}

}  // namespace

void zrtXCreate(void** handle) {
  makeObject(handle, [] { return new Environment; });
}

void CzrtXCreateD(void** handle, const char* dir) {
  makeObject(handle, [dir] { return new Environment(dir); });
}

void zrtXFree(void** handle) {
  freeObject<Environment>(handle);
}

ZKIT_DEFINE_CHECKS(zrt, Zrt)

int CzrtGetStrOpt(zrtHandle environment, const char* option, char* value) {
  copyText("", value, zdb::contract::kMessageSize);
  return guardedOn<Environment>(environment, 0, [=](const Environment& own) {
    if (option != nullptr && isSameText(option, zdb::contract::kLastFailureOption)) {
      copyText(lastFailure(), value, zdb::contract::kMessageSize);
      return 1;
    }
    if (option == nullptr || !isSameText(option, "NameSysDir")) return 0;
    copyText(own.systemDirectory(), value, zdb::contract::kMessageSize);
    return 1;
  });
}

int CzrtTerminateClear(zrtHandle environment) {
  return guardedOn<Environment>(environment, 0, [](Environment& own) {
    own.terminate = false;
    return 1;
  });
}

int CzrtLog(zrtHandle environment, const char* text) {
  return guardedOn<Environment>(environment, 0, [=](const Environment& own) {
    if (text == nullptr) return 0;
    own.log(text);
    return 1;
  });
}

int CzrtCallSolver(zrtHandle environment, void* instance, const char* /*controlFile*/,
                   const char* solver, int /*solveLink*/, int /*logging*/, double limit1,
                   double /*limit2*/, double /*limit3*/, const char* /*file1*/,
                   const char* /*file2*/, int limit4, int /*limit5*/, void* /*job*/,
                   char* message) {
  copyText("", message, zdb::contract::kMessageSize);
  if (environment == nullptr || instance == nullptr || solver == nullptr) {
    return fail("Environment, instance and solver must not be null", message);
  }
  Instance& model = *static_cast<Instance*>(instance);
  const CallLimits limits(model.environment, limit1, limit4);
  return callPlain(model, solver, message, zdb::contract::kMessageSize) != 0 ? 0 : 1;
}
