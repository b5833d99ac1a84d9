#pragma once

#include <functional>

#include "sweep/work.h"

namespace zdb::sweep {

/// A process that looks after workers on this machine for a scheduler somewhere else, on whose
/// behalf it starts them, hands them their tasks and says what has become of them. Whatever a
/// worker does, this process lives on.
///
/// Waits for a start message from the socket, which says how many workers there shall be, then
/// calls prepare(), which makes what they share. Returns when the socket is closed, or after it has
/// said what is wrong: if prepare() throws, or if no worker can be started.
void supervise(int socket, const std::function<Work()>& prepare);

}  // namespace zdb::sweep
