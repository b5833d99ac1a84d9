#pragma once

#include <string>
#include <vector>

namespace zdbtool {

/// A record as people write it: price[bread], price(bread), cost['New York',summer], or limit for a
/// symbol without labels.
struct Entry {
  std::string symbol;
  std::vector<std::string> labels;
};

/// Takes a text apart. Throws Failure, with the text, for one that has another form.
Entry parseEntry(const std::string& text);

}  // namespace zdbtool
