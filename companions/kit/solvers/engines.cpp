#include <algorithm>

#include "kit/names.h"
#include "kit/solvers/highslibrary.h"
#include "kit/solvers/solver.h"

namespace zdb::kit {

namespace {

// Of models whose solutions all have larger levels, clp and cbc say that they are infeasible.
constexpr double kFarthest = 1e100;
constexpr double kFarthestForClp = 1e50;
constexpr double kFarthestForCbc = 1e30;

// The build defines a macro for each solver that it finds.
constexpr Engine kEngines[] = {
#ifdef ZKIT_WITH_CLP
    {"clp", false, true, makeClp, clpVersion, nullptr, kFarthestForClp},
#else
    {"clp", false, true, nullptr, nullptr, nullptr, kFarthestForClp},
#endif
#ifdef ZKIT_WITH_CBC
    {"cbc", true, false, makeCbc, cbcVersion, nullptr, kFarthestForCbc},
#else
    {"cbc", true, false, nullptr, nullptr, nullptr, kFarthestForCbc},
#endif
#ifdef ZKIT_WITH_GLPK
    {"glpk", true, true, makeGlpk, glpkVersion, glpkReason, kFarthest},
#else
    {"glpk", true, true, nullptr, nullptr, nullptr, kFarthest},
#endif
#ifdef ZKIT_WITH_HIGHS
    {"highs", true, true, makeHighs, highsVersion, highsReason, kFarthest},
#else
    {"highs", true, true, nullptr, nullptr, nullptr, kFarthest},
#endif
};

}  // namespace

const char* Engine::whyNot() const {
  if (make == nullptr) return "this kit was built without it";
  return reason == nullptr ? "" : reason();
}

std::span<const Engine> engines() {
  return kEngines;
}

const Engine* findEngine(std::string_view name) {
  const auto all = engines();
  const auto found = std::find_if(all.begin(), all.end(), [name](const Engine& engine) {
    return isSameText(engine.name, name);
  });
  return found == all.end() ? nullptr : &*found;
}

}  // namespace zdb::kit
