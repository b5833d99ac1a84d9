#include "json.h"

#include <charconv>
#include <cmath>
#include <cstdint>

#include "contract/utf8.h"

namespace zdb::tool {

namespace {

void appendEscaped(std::string& out, char c) {
  constexpr const char* kDigits = "0123456789abcdef";
  switch (c) {
    case '"':
      out += "\\\"";
      break;
    case '\\':
      out += "\\\\";
      break;
    case '\n':
      out += "\\n";
      break;
    case '\t':
      out += "\\t";
      break;
    default:
      out += "\\u00";
      out += kDigits[static_cast<std::uint8_t>(c) >> 4];
      out += kDigits[c & 15];
  }
}

}  // namespace

std::string jsonText(std::string_view text) {
  std::string result = "\"";
  while (!text.empty()) {
    const std::size_t length = contract::utf8Length(text);
    const char c = text.front();
    if (length == 0) {
      result += "\xEF\xBF\xBD";
    } else if (length == 1 && (static_cast<std::uint8_t>(c) < ' ' || c == '"' || c == '\\')) {
      appendEscaped(result, c);
    } else {
      result += text.substr(0, length);
    }
    text.remove_prefix(length == 0 ? 1 : length);
  }
  return result += '"';
}

JsonWriter& JsonWriter::begin(char opening, Layout layout) {
  raw(std::string_view(&opening, 1));
  const bool isInline = !open_.empty() && open_.back().layout == Layout::OneLine;
  open_.push_back({opening == '{' ? '}' : ']', isInline ? Layout::OneLine : layout});
  return *this;
}

JsonWriter& JsonWriter::end() {
  const Container closed = open_.back();
  open_.pop_back();
  if (!closed.isEmpty && closed.layout == Layout::Lines) newLine();
  output_.write({&closed.closing, 1});
  if (open_.empty()) output_.write("\n");
  return *this;
}

JsonWriter& JsonWriter::key(std::string_view name) {
  separate();
  output_.write(jsonText(name));
  output_.write(": ");
  hasKey_ = true;
  return *this;
}

JsonWriter& JsonWriter::value(std::string_view text) {
  return raw(jsonText(text));
}

JsonWriter& JsonWriter::value(double number) {
  if (std::isnan(number)) return null();
  if (std::isinf(number)) return raw(number > 0 ? "1e999" : "-1e999");
  char text[32];
  const auto result = std::to_chars(text, text + sizeof text, number);
  return raw({text, static_cast<std::size_t>(result.ptr - text)});
}

JsonWriter& JsonWriter::raw(std::string_view text) {
  if (!hasKey_) separate();
  hasKey_ = false;
  output_.write(text);
  return *this;
}

void JsonWriter::separate() {
  if (open_.empty()) return;
  Container& container = open_.back();
  const bool isFirst = container.isEmpty;
  container.isEmpty = false;
  if (!isFirst) output_.write(",");
  if (container.layout == Layout::Lines) {
    newLine();
  } else if (!isFirst && container.layout == Layout::OneLine) {
    output_.write(" ");
  }
}

void JsonWriter::newLine() {
  output_.write("\n");
  output_.write(std::string(2 * open_.size(), ' '));
}

}  // namespace zdb::tool
