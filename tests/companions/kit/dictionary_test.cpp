// Walks over a dictionary against a search of all entries.
#include <set>

#include "companions/kit/testing.h"

namespace {

using namespace kittest;

using Key = std::vector<int>;

// Rows or columns of a symbol as a walk gives them; positions of the key that are 0 are open.
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

class KitWalk : public testing::TestWithParam<int> {};

TEST_P(KitWalk, AnyLabelsFixed_GivesWhatASearchOfAllEntriesGives_InKeyOrder) {
  const int dim = GetParam();
  std::mt19937 random(static_cast<unsigned>(dim));
  const Model model;
  const auto labelsOf = [](const Key& key) {
    static const char* const names[] = {"", "a", "b", "c", "d", "e", "f"};
    std::vector<const char*> labels;
    for (const int label : key) labels.push_back(names[label]);
    return labels;
  };
  // The labels a to f get the numbers 1 to 6, and columns and rows do not begin at 0.
  int number = 0;
  zkitAddSymbol(model, "first", ZKIT_VARIABLE, 6, "", 0, &number);
  zkitAddColumn(model, 1, labelsOf({1, 2, 3, 4, 5, 6}).data(), 0, 1, 0, &number);
  zkitAddSymbol(model, "other", ZKIT_EQUATION, 1, "", 0, &number);
  for (const int label : {1, 2}) {
    zkitAddRow(model, 2, labelsOf({label}).data(), ZKIT_LESS, 0, &number);
  }
  zkitAddSymbol(model, "x", ZKIT_VARIABLE, dim, "", 0, &number);
  zkitAddSymbol(model, "e", ZKIT_EQUATION, dim, "", 0, &number);
  std::map<Key, int> columns;
  std::map<Key, int> rows;
  Key key(dim);
  for (int attempt = 0; attempt < 150; ++attempt) {
    for (int& label : key) label = 1 + static_cast<int>(random() % 6);
    const bool isNew = columns.count(key) == 0;
    EXPECT_EQ(zkitAddColumn(model, 3, labelsOf(key).data(), 0, 1, 0, &number), isNew ? 1 : 0);
    columns.emplace(key, number);
    std::reverse(key.begin(), key.end());
    EXPECT_EQ(zkitAddRow(model, 4, labelsOf(key).data(), 0, 1, &number), isNew ? 1 : 0);
    rows.emplace(key, number);
  }
  const Instance instance(model);
  void* dictionary = CzmiDict(instance);
  for (int attempt = 0; attempt < 300; ++attempt) {
    for (int& label : key) label = random() % 5 < 2 ? 0 : static_cast<int>(random() % 8);
    EXPECT_EQ(walk(dictionary, 3, key), search(columns, key)) << testing::PrintToString(key);
    EXPECT_EQ(walk(dictionary, 4, key), search(rows, key)) << testing::PrintToString(key);
  }
  EXPECT_EQ(walk(dictionary, 2, {0}), (std::vector<int>{0, 1}));
}

INSTANTIATE_TEST_SUITE_P(Dimensions, KitWalk, testing::Values(0, 1, 2, 3, 5));

}  // namespace
