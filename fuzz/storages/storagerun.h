#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace zdb::test {

/// Does random steps on two databases through the exported interface, beside a model, and compares
/// all that can be seen after each; three times, with another storage in each place. Each number
/// decides on a step. Returns a description of the first difference.
std::string runSteps(const std::vector<std::uint16_t>& steps);

/// The same for `count` numbers, on which `seed` decides.
std::string runSteps(std::uint32_t seed, int count);

}  // namespace zdb::test
