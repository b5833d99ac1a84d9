#pragma once

#include <string>

#include "fuzz/storages/choices.h"

namespace zdb::test {

/// Does random steps on two databases through the exported interface, beside a model, and compares
/// all that can be seen after each; three times, with another storage in each place. A run ends
/// after `steps`, or with the bytes of the choices. Returns a description of the first difference.
std::string runSteps(const Choices& choices, int steps);

}  // namespace zdb::test
