// How the companions tell why something failed, beyond the results of their functions.
#pragma once

namespace zdb::contract {

/// The error numbers of the exchange file companion, by what is to blame: the system from 1 on, the
/// content of the file from kFirstContentError on, the caller from kFirstUseError on.
inline constexpr int kFirstContentError = 20;
inline constexpr int kFirstUseError = 40;
inline constexpr int kFileDomainViolation = 63;
inline constexpr int kFileOutOfMemory = 80;

/// The option of a solver environment whose value is why a function for configurations failed last
/// in this thread.
inline constexpr const char* kLastFailureOption = "LastFailure";

}  // namespace zdb::contract
