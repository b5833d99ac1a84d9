// The names of the columns in which a symbol's records leave the library: in tables of text and in
// Arrow's streams alike.
#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "contract/names.h"

namespace zdb::contract {

/// Names of the positions: those of their domains, "label" for "*". Readers need distinct names,
/// and many take "city" and "City" for the same, so a second "city", or one beside a value column
/// of that name, becomes "city_2".
inline std::vector<std::string> positionNames(const std::vector<std::string>& domains,
                                              const std::vector<std::string_view>& values) {
  std::set<std::string> used(values.begin(), values.end());
  std::vector<std::string> names;
  for (const std::string& domain : domains) {
    const std::string wanted = domain == "*" ? "label" : domain;
    std::string name = wanted;
    for (int n = 2; !used.insert(lowerCase(name)).second; ++n) {
      name = wanted + '_' + std::to_string(n);
    }
    names.push_back(name);
  }
  return names;
}

}  // namespace zdb::contract
