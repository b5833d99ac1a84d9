#include "part.h"

#include "console.h"
#include "number.h"

namespace zdb::tool {

namespace {

/// So that no product overflows.
constexpr std::size_t kMost = 1'000'000;

}  // namespace

std::size_t Part::begin(std::size_t total) const {
  return (number - 1) * total / count;
}

std::size_t Part::end(std::size_t total) const {
  return number * total / count;
}

std::string Part::text() const {
  return std::to_string(number) + '/' + std::to_string(count);
}

Part readPart(const std::string& text) {
  Part part;
  if (text.empty()) return part;
  const auto slash = text.find('/');
  const bool isRead = slash != std::string::npos &&
                      readNumber(text.substr(0, slash), part.number) &&
                      readNumber(text.substr(slash + 1), part.count);
  if (isRead && part.number >= 1 && part.number <= part.count && part.count <= kMost) return part;
  throw WrongUseError("--part: \"" + printable(text) +
                      "\" is not a part: write 1/4, 2/4, 3/4 or 4/4 for one of four");
}

}  // namespace zdb::tool
