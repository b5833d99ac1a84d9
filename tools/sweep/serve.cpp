#include "sweep/serve.h"

#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <new>
#include <string_view>

#include "contract/descriptor.h"

namespace zdb::sweep {

namespace {

void doTasks(int socket, const Work& work) {
  MessageStream stream;
  while (receiveInto(stream, socket, true)) {
    while (const auto message = stream.next()) {
      for (const Task task : message->tasks) {
        if (!sendMessage(socket, messageOf(perform(work, 0, task)))) return;
      }
    }
  }
}

}  // namespace

bool serve(int socket, const Work& work) {
  try {
    doTasks(socket, work);
    return true;
  } catch (const std::bad_alloc&) {
    sendMessage(socket, {.kind = Message::Kind::Death, .text = "not enough memory"});
  } catch (const std::exception& failure) {
    sendMessage(socket, {.kind = Message::Kind::Death, .text = failure.what()});
  }
  return false;
}

bool sendMessage(int socket, const Message& message) {
  const std::string bytes = packed(message);
  std::string_view rest = bytes;
  while (!rest.empty()) {
    const ssize_t sent = contract::uninterrupted(
        [&] { return ::send(socket, rest.data(), rest.size(), MSG_NOSIGNAL); });
    if (sent <= 0) return false;
    rest.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

bool receiveInto(MessageStream& stream, int socket, bool waits) {
  std::array<char, 1 << 16> buffer;
  const ssize_t count = contract::uninterrupted(
      [&] { return recv(socket, buffer.data(), buffer.size(), waits ? 0 : MSG_DONTWAIT); });
  if (count < 0 && errno == EAGAIN) return true;
  if (count <= 0) return false;
  stream.add({buffer.data(), static_cast<std::size_t>(count)});
  return true;
}

}  // namespace zdb::sweep
