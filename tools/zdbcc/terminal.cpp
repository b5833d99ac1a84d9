#include "terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <charconv>
#include <cstdlib>

namespace zdb::tool {

namespace {

constexpr int kLeastWidth = 40;

std::string_view environment(const char* name) {
  const char* value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): nobody sets it
  return value == nullptr ? "" : value;
}

int findWidth(int output, int errors) {
  const std::string_view columns = environment("COLUMNS");
  int width = 0;
  std::from_chars(columns.data(), columns.data() + columns.size(), width);
  for (const int descriptor : {output, errors}) {
    winsize size{};
    if (width <= 0 && ioctl(descriptor, TIOCGWINSZ, &size) == 0) width = size.ws_col;
  }
  if (width <= 0) return Terminal().width;
  return width < kLeastWidth ? kLeastWidth : width;
}

}  // namespace

Terminal findTerminal(int output, int errors, When color) {
  const bool isDumb = environment("TERM") == "dumb";
  const auto colors = [&](int descriptor) {
    if (color != When::Auto) return color == When::Always;
    return environment("NO_COLOR").empty() && !isDumb && isatty(descriptor) != 0;
  };
  Terminal terminal;
  terminal.colorsOutput = colors(output);
  terminal.colorsErrors = colors(errors);
  terminal.showsProgress = !isDumb && isatty(errors) != 0;
  terminal.hasOutput = isatty(output) != 0;
  terminal.width = findWidth(output, errors);
  return terminal;
}

std::string styled(std::string_view text, Style style, bool isOn) {
  if (!isOn) return std::string(text);
  std::string result = style == Style::Bold  ? "\033[1m"
                       : style == Style::Red ? "\033[1;31m"
                                             : "\033[32m";
  return result.append(text).append("\033[0m");
}

}  // namespace zdb::tool
