#include "kit/modelfile/text.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace zdb::kit::modelfile {

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  return text;
}

std::string_view takeLine(std::string_view& rest) {
  const std::size_t end = rest.find('\n');
  std::string_view line = rest.substr(0, end);
  rest = end == std::string_view::npos ? std::string_view{} : rest.substr(end + 1);
  if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  return line;
}

std::string_view takeWord(std::string_view& rest) {
  while (!rest.empty() && isBlank(rest.front())) rest.remove_prefix(1);
  const std::size_t end = std::min(rest.find_first_of(" \t"), rest.size());
  const std::string_view word = rest.substr(0, end);
  rest.remove_prefix(end);
  return word;
}

bool isNumber(const std::string& text, double& value) {
  const bool hasPlus = text.starts_with('+') && !text.starts_with("+-");
  const char* first = text.data() + (hasPlus ? 1 : 0);
  const char* last = text.data() + text.size();
  const auto [end, error] = std::from_chars(first, last, value);
  return error == std::errc() && end == last && std::isfinite(value);
}

}  // namespace zdb::kit::modelfile
