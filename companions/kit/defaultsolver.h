// The solver that a model gets when none is named.
#pragma once

#include <string>

namespace zdb::kit {

class Instance;

/// The name of the first solver, in the order of which is fastest for such models, that can be used
/// here and that the instance's configuration has for models of its type. Reads the configuration
/// file. Throws a KitError if there is none.
std::string defaultSolver(const Instance& instance);

}  // namespace zdb::kit
