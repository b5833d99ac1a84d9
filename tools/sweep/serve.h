#pragma once

#include "sweep/message.h"
#include "sweep/work.h"

namespace zdb::sweep {

/// What a worker does: the tasks that come in through a socket, until that is closed. Each result
/// goes out at once. If the work throws, says so and returns false.
bool serve(int socket, const Work& work);

/// Sends all of a message; false if the other end is closed.
bool sendMessage(int socket, const Message& message);

/// Adds what can be read, for which it waits if `waits`; false at the end.
bool receiveInto(MessageStream& stream, int socket, bool waits);

}  // namespace zdb::sweep
