// Solving as hosts and the database have it done: once, from scratch.
#pragma once

namespace zdb::kit {

class Instance;

/// 1, or 0 with the reason in `message`, in the instance and in its log if the solver cannot be had
/// or failed.
int callPlain(Instance& instance, const char* solver, char* message, int size) noexcept;

}  // namespace zdb::kit
