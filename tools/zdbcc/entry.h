#pragma once

#include <string>
#include <vector>

namespace zdb::tool {

/// A record as users write it: price[bread], price(bread), cost['New York',summer], or limit for a
/// symbol without labels.
struct Entry {
  std::string symbol;
  std::vector<std::string> labels = {};
};

/// Parses a text. Throws ToolError, with the text, if it has another form.
Entry parseEntry(const std::string& text);

/// Such a text, with quotes around labels that need them.
std::string entryText(const Entry& entry);

}  // namespace zdb::tool
