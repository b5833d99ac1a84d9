// Two data files side by side.
#pragma once

#include <string>

/// Reads both files and prints the number of records of each symbol and every parameter record of
/// `after` that is new or has another value than in `before`.
void compare(const std::string& before, const std::string& after);
