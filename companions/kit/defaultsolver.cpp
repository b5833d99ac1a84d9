#include "kit/defaultsolver.h"

#include <initializer_list>

#include "kit/configuration.h"
#include "kit/error.h"
#include "kit/instance.h"

namespace zdb::kit {

namespace {

std::initializer_list<const char*> preferred(const Instance& instance) {
  static constexpr std::initializer_list<const char*> integer = {"highs", "cbc", "glpk"};
  static constexpr std::initializer_list<const char*> linear = {"clp", "highs", "glpk", "cbc"};
  return instance.isSolvedAsInteger() ? integer : linear;
}

}  // namespace

std::string defaultSolver(const Instance& instance) {
  Configuration configuration;
  configuration.read(instance.environment.systemDirectory() + std::string(kConfigurationFile));
  for (const char* name : preferred(instance)) {
    for (int k = 1; k <= configuration.count(); ++k) {
      const ConfiguredSolver& solver = configuration.solver(k);
      const bool isMeant = solver.engine == findEngine(name);
      if (isMeant && solver.engine->isUsable() && solver.allows(instance.type)) return solver.name;
    }
  }
  throw KitError("No solver that can be used here is configured for this type of model");
}

}  // namespace zdb::kit
