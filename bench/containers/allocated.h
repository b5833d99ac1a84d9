#pragma once

#include <cstdint>

/// Bytes that operator new has taken from the heap and not given back, rounding and the heap's own
/// header of 8 bytes included.
std::int64_t allocatedBytes();
