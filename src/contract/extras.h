// Functions that a companion may have beside those of its interface. They are looked up by their
// exported names alone; a library that lacks them serves as well, and more slowly.
#pragma once

namespace zdb::contract {

/// Reads the next records of the symbol that zxfDataReadRawStart() has begun, at most `room`, by
/// the column: label `p` of record `i`, counted from 0, to keys[p][i * keyStep], value `v` to
/// values[v][i * valueStep]. Fails as zxfDataReadRaw() does, with result 0; up to `room` entries of
/// each column may have been written to then. After the last record, `count` is 0.
using ReadColumns = int (*)(void* zxf, int room, int* const* keys, int keyStep,
                            double* const* values, int valueStep, int* count);
inline constexpr const char* kReadColumns = "C__zxfDataReadRawColumns";

}  // namespace zdb::contract
