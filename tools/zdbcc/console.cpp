#include "console.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace zdb::tool {

namespace {

constexpr std::size_t kPieceSize = 1 << 16;

bool isControl(char c) {
  return static_cast<unsigned char>(c) < ' ' || c == '\x7f';
}

}  // namespace

Console::Console() {
  const int own = dup(STDOUT_FILENO);
  output_ = own < 0 ? nullptr : fdopen(own, "w");
  if (output_ != nullptr) dup2(STDERR_FILENO, STDOUT_FILENO);
}

Console::~Console() {
  if (output_ != nullptr) std::fclose(output_);
}

void Console::write(std::string_view text) {
  pending_ += text;
  if (pending_.size() >= kPieceSize) flush();
}

void Console::flush() {
  if (push()) return;
  throw ToolError(std::string("cannot write to standard output: ") + std::strerror(outputError_));
}

void Console::report(std::string_view problem) {
  hasProblems_ = true;
  note(problem);
}

void Console::note(std::string_view fact) {
  push();  // a failed write is remembered, and reported by the next flush
  std::fprintf(stderr, "zdbcc: %s\n", printable(fact).c_str());
}

bool Console::push() {
  std::FILE* output = output_ == nullptr ? stdout : output_;
  const bool written =
      std::fwrite(pending_.data(), 1, pending_.size(), output) == pending_.size() &&
      std::fflush(output) == 0;
  if (!written && outputError_ == 0) outputError_ = errno;
  pending_.clear();
  return outputError_ == 0;
}

std::string printable(std::string_view text) {
  std::string result(text);
  for (char& c : result) {
    if (isControl(c)) c = '?';
  }
  return result;
}

}  // namespace zdb::tool
