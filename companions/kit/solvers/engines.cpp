#include <algorithm>
#include <iterator>

#include "kit/names.h"
#include "kit/solvers/solver.h"

namespace zdb::kit {

namespace {

// The build defines a macro for each solver that it finds.
#ifdef ZKIT_WITH_CLP
constexpr auto kMakeClp = makeClp;
#else
constexpr std::unique_ptr<Solver> (*kMakeClp)() = nullptr;
#endif
#ifdef ZKIT_WITH_CBC
constexpr auto kMakeCbc = makeCbc;
#else
constexpr std::unique_ptr<Solver> (*kMakeCbc)() = nullptr;
#endif
#ifdef ZKIT_WITH_GLPK
constexpr auto kMakeGlpk = makeGlpk;
#else
constexpr std::unique_ptr<Solver> (*kMakeGlpk)() = nullptr;
#endif

constexpr Engine kEngines[] = {
    {"clp", false, true, kMakeClp},
    {"cbc", true, false, kMakeCbc},
    {"glpk", true, true, kMakeGlpk},
};

}  // namespace

const Engine* findEngine(std::string_view name) {
  const auto* found =
      std::find_if(std::begin(kEngines), std::end(kEngines),
                   [name](const Engine& engine) { return isSameText(engine.name, name); });
  return found == std::end(kEngines) ? nullptr : found;
}

}  // namespace zdb::kit
