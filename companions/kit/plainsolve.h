// Solves an instance once, from scratch, for hosts and the database.
#pragma once

namespace zdb::kit {

class Instance;

/// Returns 1, or 0 if there is no such solver or it fails; the reason is then in `message`, in the
/// instance and in its log.
int callPlain(Instance& instance, const char* solver, char* message, int size) noexcept;

}  // namespace zdb::kit
