#include "kit/reader/reply.h"

#include <unistd.h>

#include <cerrno>

#include "kit/modelfile/protocol.h"

namespace zdb::kit::modelfile {

namespace {

void send(const char* data, std::size_t size) {
  while (size > 0) {
    const ssize_t written = write(kReplyDescriptor, data, size);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return;
    data += written;
    size -= static_cast<std::size_t>(written);
  }
}

[[noreturn]] void end(char kind, const std::string& text) {
  send(text.data(), text.size());
  send(&kind, 1);
  _exit(0);
}

}  // namespace

void succeed(const std::string& result) {
  end(kResult, result);
}

void fail(const std::string& text) {
  end(kFailure, text);
}

}  // namespace zdb::kit::modelfile
