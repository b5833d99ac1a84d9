// Lets system calls of the project's libraries fail, on demand. A program that compiles
// systemcalls.cpp has its own open, pread and so on, which the libraries find before the system's.
#pragma once

#include <cstdint>

namespace zdb::test {

/// Lets file call number `number`, counted from 1, fail with `error` from now on, or all from there
/// on; with 0, reading and writing move half of the bytes instead.
void armSystemCalls(int error, std::uint64_t number, bool fromThereOn);
/// Ends that; whether a call failed.
bool disarmSystemCalls();

}  // namespace zdb::test
