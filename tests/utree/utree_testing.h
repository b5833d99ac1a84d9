/// What the tests of the label tree share.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "utree/utree.h"

namespace zdb::test {

using TreeKey = std::vector<int>;

inline utree::UTree treeOf(int dim, const std::vector<std::pair<TreeKey, double>>& records) {
  utree::UTree tree(dim, 1);
  for (const auto& [key, value] : records) tree.emplace(key.data(), &value);
  return tree;
}

/// All records, as "1,2: 3.000000" each, joined by blanks.
inline std::string textOf(const utree::UTree& tree) {
  std::string text;
  for (auto it = tree.begin(); !it.isEnd(); tree.nextInPlace(it)) {
    if (!text.empty()) text += ' ';
    text += tree.str(it);
  }
  return text;
}

}  // namespace zdb::test
