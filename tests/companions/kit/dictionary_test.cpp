// Walks over a dictionary against a search of all entries.
#include "companions/kit/testing.h"

namespace {

using namespace zdb::test::kit;

using Key = std::vector<int>;  // labels from 1; in a search, 0 is any

// Rows or columns of a symbol as a walk gives them.
std::vector<int> walk(void* dictionary, int symbol, const Key& key) {
  std::vector<int> entries;
  int entry = -2;
  void* find = CzlxFindFirstRowCol(dictionary, symbol, key.data(), &entry);
  for (; entry >= 0; CzlxFindNextRowCol(dictionary, find, &entry)) entries.push_back(entry);
  EXPECT_EQ(CzlxFindClose(dictionary, find), 1);
  return entries;
}

// The same from what was added, in the order of keys.
std::vector<int> search(const std::map<Key, int>& entries, const Key& key) {
  std::vector<int> found;
  for (const auto& [own, entry] : entries) {
    const auto matches = [](int label, int wanted) { return wanted == 0 || wanted == label; };
    if (std::equal(own.begin(), own.end(), key.begin(), matches)) found.push_back(entry);
  }
  return found;
}

// "x(b,a)" for 2, 1.
std::string nameOf(std::string name, const Key& key) {
  for (const int label : key) {
    name += name.find('(') == name.npos ? '(' : ',';
    name += "abcdef"[label - 1];
  }
  return key.empty() ? name : name + ")";
}

TEST(KitDictionary, WalkWithAnyLabelsFixed_GivesWhatASearchGives_InKeyOrder) {
  for (const int dim : {0, 1, 2, 3, 5}) {
    std::mt19937 random(static_cast<unsigned>(dim));
    std::map<Key, int> columns;
    std::map<Key, int> rows;
    // The labels a to f get the numbers 1 to 6, and columns and rows do not begin at 0.
    std::string text = "first(a,b,c,d,e,f) ; other(a): <= 0 ; other(b): <= 0";
    Key key(dim);
    for (int attempt = 0; attempt < 150; ++attempt) {
      for (int& label : key) label = 1 + static_cast<int>(random() % 6);
      if (!columns.try_emplace(key).second) continue;
      text += " ; " + nameOf("x", key);
      std::reverse(key.begin(), key.end());
      rows[key];
      text += " ; " + nameOf("e", key) + ": <= 0";
    }
    const Model model(text);
    for (auto& [own, entry] : columns) entry = model[nameOf("x", own)];
    for (auto& [own, entry] : rows) entry = model[nameOf("e", own)];
    const Instance instance(model);
    void* dictionary = CzmiDict(instance);
    for (int attempt = 0; attempt < 300; ++attempt) {
      for (int& label : key) label = random() % 5 < 2 ? 0 : static_cast<int>(random() % 8);
      EXPECT_EQ(walk(dictionary, 3, key), search(columns, key)) << testing::PrintToString(key);
      EXPECT_EQ(walk(dictionary, 4, key), search(rows, key)) << testing::PrintToString(key);
    }
    EXPECT_EQ(walk(dictionary, 2, {0}), (std::vector<int>{0, 1}));
  }
}

}  // namespace
