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
  decideTerminal(When::Auto);
}

Console::~Console() {
  clearBar();
  if (output_ != nullptr) std::fclose(output_);
}

void Console::decideTerminal(When color) {
  const int output = output_ == nullptr ? STDOUT_FILENO : fileno(output_);
  terminal_ = findTerminal(output, STDERR_FILENO, color);
}

void Console::write(std::string_view text) {
  pending_ += text;
  if (pending_.size() >= kPieceSize) flush();
}

void Console::flush() {
  if (push()) return;
  if (outputError_ == EPIPE) throw ClosedPipeError();
  throw OutputError(std::string("cannot write to standard output: ") + std::strerror(outputError_));
}

void Console::report(std::string_view problem) {
  hasProblems_ = true;
  printLine(problem, true);
}

void Console::note(std::string_view fact) {
  printLine(fact, false);
}

void Console::log(std::string_view line) {
  clearBar();
  std::fprintf(stderr, "%s\n", printable(line).c_str());
}

void Console::printLine(std::string_view text, bool isProblem) {
  push();  // a failed write is remembered, and reported by the next flush
  clearBar();
  const Style style = isProblem ? Style::Red : Style::Bold;
  std::fprintf(stderr, "%s %s\n", styled("zdbcc:", style, terminal_.colorsErrors).c_str(),
               printable(text).c_str());
}

void Console::showBar(std::string_view bar) {
  hasBar_ = true;
  std::fprintf(stderr, "\r%.*s\033[K", static_cast<int>(bar.size()), bar.data());
}

void Console::clearBar() {
  if (hasBar_) std::fputs("\r\033[K", stderr);
  hasBar_ = false;
}

bool Console::push() {
  if (pending_.empty()) return outputError_ == 0;
  clearBar();
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

std::string reportLine(std::string_view name, std::string_view text) {
  constexpr std::size_t kWidth = 12;
  std::string line(name);
  line.resize(kWidth, ' ');
  return line.append(text) += '\n';
}

std::string counted(unsigned long long count, std::string_view what) {
  std::string result = std::to_string(count) + ' ';
  return result.append(what).append(count == 1 ? "" : "s");
}

}  // namespace zdb::tool
