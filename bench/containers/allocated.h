#pragma once

#include <cstdint>

/// Bytes that operator new has allocated from the heap and not freed, including rounding and the
/// heap's own header of 8 bytes.
std::int64_t allocatedBytes();
