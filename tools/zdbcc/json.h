#pragma once

#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "output.h"

namespace zdb::tool {

/// Writes one JSON value as it is built: memory does not grow with it. Whatever
/// bytes texts hold, the result is valid: what is not UTF-8 becomes U+FFFD.
class JsonWriter {
 public:
  explicit JsonWriter(Output& output) : output_(output) {}

  enum class Layout { Lines, OneLine, Dense };

  /// A container has each of its parts on a line of its own, or all on one, dense without blanks.
  JsonWriter& beginObject(Layout layout = Layout::Lines) { return begin('{', layout); }
  JsonWriter& beginArray(Layout layout = Layout::Lines) { return begin('[', layout); }
  /// Ends the container that was begun last; after the outermost one, the line ends.
  JsonWriter& end();

  JsonWriter& key(std::string_view name);

  /// Whether a key has been written and not yet its value.
  bool waitsForValue() const { return hasKey_; }

  JsonWriter& value(std::string_view text);
  JsonWriter& value(const char* text) { return value(std::string_view(text)); }
  /// A number of JSON; an infinity as a literal that readers take for one, null for a NaN.
  JsonWriter& value(double number);
  JsonWriter& value(bool answer) { return raw(answer ? "true" : "false"); }
  template <typename Integer>
  requires std::is_integral_v<Integer> JsonWriter& value(Integer number) {
    return raw(std::to_string(number));
  }
  JsonWriter& null() { return raw("null"); }

  /// A key with its value.
  template <typename Value>
  JsonWriter& field(std::string_view name, const Value& content) {
    return key(name).value(content);
  }

 private:
  struct Container {
    char closing;
    Layout layout;
    bool isEmpty = true;
  };

  JsonWriter& begin(char opening, Layout layout);
  JsonWriter& raw(std::string_view text);
  /// Comma and line before a part of a container.
  void separate();
  void newLine();

  Output& output_;
  std::vector<Container> open_;
  bool hasKey_ = false;
};

/// A text in the quotes and with the escapes of JSON.
std::string jsonText(std::string_view text);

}  // namespace zdb::tool
