// The dictionary calls: labels, symbols, keys of rows and columns, and walks over them.
#include <algorithm>
#include <functional>
#include <random>

#include "kit_testing.h"

namespace {

using namespace kittest;

struct Name {
  std::string text;
  char quote = 0;
  bool operator==(const Name&) const = default;
};

Name labelOf(void* dictionary, int label, int size = 64) {
  std::array<char, 64> text{'?', '?'};
  char quote = '?';
  EXPECT_EQ(CzlxUelLabel(dictionary, label, &quote, text.data(), size), 1);
  return {text.data(), quote};
}

Name textOf(void* dictionary, int symbol, int size = 256) {
  std::array<char, 256> text{'?', '?'};
  char quote = '?';
  EXPECT_EQ(CzlxSymText(dictionary, symbol, &quote, text.data(), size), 1);
  return {text.data(), quote};
}

struct Entry {
  int symbol = -1;
  Key key;
  bool operator==(const Entry&) const = default;
};

using KeyCall = int (*)(void*, int, int*, int*, int*);

Entry entryOf(KeyCall call, void* dictionary, int entry) {
  Key key(ZKIT_MAX_DIM, -1);
  int symbol = -1;
  int dim = -1;
  EXPECT_EQ(call(dictionary, entry, &symbol, key.data(), &dim), 1);
  EXPECT_TRUE(std::all_of(key.begin() + dim, key.end(), [](int k) { return k == -1; }));
  key.resize(static_cast<std::size_t>(dim));
  return {symbol, key};
}

TEST(KitDictionary, Labels_StandInTheOrderOfFirstUseAndIgnoreCaseAndEndingBlanks) {
  const Model model;
  const int ship = model.variable("ship", 2);
  const int need = model.equation("need", 1);
  EXPECT_EQ(model.column(ship, {"seattle", "New York"}, 0, 1), 0);
  EXPECT_EQ(model.row(need, {"new york  "}, ZKIT_EQUAL, 0), 0);
  EXPECT_EQ(model.column(ship, {"San-Diego", "SEATTLE"}, 0, 1), 1);
  EXPECT_EQ(model.row(need, {"O'Hare"}, ZKIT_EQUAL, 0), 1);
  EXPECT_EQ(model.row(need, {"5\""}, ZKIT_EQUAL, 0), 2);
  const Instance instance(model);
  void* dictionary = instance.dictionary();

  ASSERT_EQ(CzlxNUels(dictionary), 5);
  EXPECT_EQ(labelOf(dictionary, 1), (Name{"seattle", ' '}));
  EXPECT_EQ(labelOf(dictionary, 2), (Name{"New York", '\''}));
  EXPECT_EQ(labelOf(dictionary, 3), (Name{"San-Diego", '\''}));
  EXPECT_EQ(labelOf(dictionary, 4), (Name{"O'Hare", '"'}));
  EXPECT_EQ(labelOf(dictionary, 5), (Name{"5\"", '\''}));
  EXPECT_EQ(labelOf(dictionary, 1, 4), (Name{"sea", ' '})) << "cut to the buffer";
  EXPECT_EQ(entryOf(CzlxColUels, dictionary, 1), (Entry{ship, {3, 1}}));
  EXPECT_EQ(entryOf(CzlxRowUels, dictionary, 0), (Entry{need, {2}}));
}

TEST(KitDictionary, Symbols_AreFoundByNameWithWhatTheyWereMadeWith) {
  const Model model;
  int price = 0;
  int balance = 0;
  int cost = 0;
  ASSERT_EQ(zkitAddSymbol(model, "price_var", ZKIT_VARIABLE, 1, "dollars a ton", 7, &price), 1);
  ASSERT_EQ(zkitAddSymbol(model, "Balance", ZKIT_EQUATION, 20, nullptr, -3, &balance), 1);
  ASSERT_EQ(zkitAddSymbol(model, "cost", ZKIT_VARIABLE, 0, "it's", 0, &cost), 1);
  const Instance instance(model);
  void* dictionary = instance.dictionary();

  ASSERT_EQ(CzlxNLSyms(dictionary), 3);
  EXPECT_EQ(CzlxSymIndex(dictionary, "PRICE_var"), price);
  EXPECT_EQ(CzlxSymIndex(dictionary, "balance"), balance);
  EXPECT_EQ(CzlxSymIndex(dictionary, "price"), 0);
  EXPECT_EQ(symbolName(dictionary, balance), "Balance") << "as it was written";
  EXPECT_EQ(CzlxSymType(dictionary, price), ZKIT_VARIABLE);
  EXPECT_EQ(CzlxSymType(dictionary, balance), ZKIT_EQUATION);
  EXPECT_EQ(CzlxSymDim(dictionary, balance), 20);
  EXPECT_EQ(CzlxSymDim(dictionary, cost), 0);
  EXPECT_EQ(CzlxSymUserInfo(dictionary, price), 7);
  EXPECT_EQ(CzlxSymUserInfo(dictionary, balance), -3);
  EXPECT_EQ(textOf(dictionary, price), (Name{"dollars a ton", '\''}));
  EXPECT_EQ(textOf(dictionary, price, 8), (Name{"dollars", '\''}));
  EXPECT_EQ(textOf(dictionary, balance), (Name{"", ' '}));
  EXPECT_EQ(textOf(dictionary, cost), (Name{"it's", '"'}));
}

// Some entries of a symbol over the labels 1 to 6, added in any order.
class RandomSymbol {
 public:
  RandomSymbol(const Model& model, int dim, int type, std::mt19937& random)
      : number_(model.symbol(("s" + std::to_string(dim)).c_str(), type, dim)) {
    static const std::array<const char*, 7> names = {"", "a", "b", "c", "d", "e", "f"};
    std::uniform_int_distribution<int> label(1, 6);
    for (int attempt = 0; attempt < 150; ++attempt) {
      Key key(static_cast<std::size_t>(dim));
      Labels labels;
      for (int& k : key) labels.push_back(names[static_cast<std::size_t>(k = label(random))]);
      const int entry = type == ZKIT_VARIABLE ? model.column(number_, labels, 0, 1)
                                              : model.row(number_, labels, ZKIT_LESS, 0);
      const bool isNew = std::none_of(entries_.begin(), entries_.end(),
                                      [&](const auto& known) { return known.first == key; });
      EXPECT_EQ(entry >= 0, isNew) << model.error();
      if (entry >= 0) entries_.emplace_back(key, entry);
    }
    std::sort(entries_.begin(), entries_.end());
  }

  // Numbers of the entries that have the pattern's labels where these are not 0, in key order.
  std::vector<int> matching(const Key& pattern) const {
    std::vector<int> result;
    for (const auto& [key, entry] : entries_) {
      const bool matches =
          std::equal(key.begin(), key.end(), pattern.begin(),
                     [](int own, int wanted) { return wanted == 0 || wanted == own; });
      if (matches) result.push_back(entry);
    }
    return result;
  }
  int number() const { return number_; }

 private:
  int number_;
  std::vector<std::pair<Key, int>> entries_;
};

class KitWalk : public testing::TestWithParam<int> {};

TEST_P(KitWalk, AnyLabelsFixed_GivesWhatASearchOfAllEntriesGives_InKeyOrder) {
  const int dim = GetParam();
  std::mt19937 random(static_cast<unsigned>(dim));
  const Model model;
  // The labels a to f get the numbers 1 to 6, and columns and rows get a start other than 0.
  const int first = model.variable("first", 1);
  const int other = model.equation("other", 1);
  for (const char* label : {"a", "b", "c", "d", "e", "f"}) {
    ASSERT_GE(model.column(first, {label}, 0, 1), 0);
    ASSERT_GE(model.row(other, {label}, ZKIT_LESS, 1), 0);
  }
  const RandomSymbol columns(model, dim, ZKIT_VARIABLE, random);
  const Instance instance(model);
  const Model rowModel;
  ASSERT_EQ(rowModel.equation("before", 6), 1);
  ASSERT_EQ(rowModel.row(1, {"a", "b", "c", "d", "e", "f"}, ZKIT_LESS, 1), 0);
  const RandomSymbol rows(rowModel, dim, ZKIT_EQUATION, random);
  const Instance rowInstance(rowModel);

  std::uniform_int_distribution<int> label(0, 7);  // 0 is open, 7 names no label
  std::bernoulli_distribution isOpen(0.4);
  for (int attempt = 0; attempt < 300; ++attempt) {
    Key pattern(static_cast<std::size_t>(dim));
    for (int& k : pattern) k = isOpen(random) ? 0 : label(random);
    EXPECT_EQ(walk(instance.dictionary(), columns.number(), pattern), columns.matching(pattern))
        << testing::PrintToString(pattern);
    EXPECT_EQ(walk(rowInstance.dictionary(), rows.number(), pattern), rows.matching(pattern))
        << testing::PrintToString(pattern);
  }
  EXPECT_EQ(walk(instance.dictionary(), first, {0}), (std::vector<int>{0, 1, 2, 3, 4, 5}));
}

INSTANTIATE_TEST_SUITE_P(Dimensions, KitWalk, testing::Values(0, 1, 2, 3, 5));

TEST(KitDictionary, Walks_GoOnIndependentlyAndStayAtTheirEnd) {
  const Model model;
  const int x = model.variable("x", 1);
  for (const char* label : {"a", "b", "c"}) ASSERT_GE(model.column(x, {label}, 0, 1), 0);
  const Instance instance(model);
  void* dictionary = instance.dictionary();
  const int open = 0;
  int one = -2;
  int two = -2;
  void* first = CzlxFindFirstRowCol(dictionary, x, &open, &one);
  EXPECT_EQ(CzlxFindNextRowCol(dictionary, first, &one), 1);
  void* second = CzlxFindFirstRowCol(dictionary, x, &open, &two);
  EXPECT_EQ(std::pair(one, two), std::pair(1, 0));
  EXPECT_EQ(CzlxFindNextRowCol(dictionary, first, &one), 1);
  EXPECT_EQ(CzlxFindClose(dictionary, second), 1);
  EXPECT_EQ(one, 2);
  for (int step = 0; step < 3; ++step) {
    EXPECT_EQ(CzlxFindNextRowCol(dictionary, first, &one), 0);
    EXPECT_EQ(one, -1);
  }
  EXPECT_EQ(CzlxFindClose(dictionary, first), 1);
}

TEST(KitDictionary, MostAndNoDimensions_HaveWholeKeysAndKeysThatAreNotRead) {
  const Model model;
  const Labels labels(ZKIT_MAX_DIM, "a");
  ASSERT_EQ(model.column(model.variable("wide", ZKIT_MAX_DIM), labels, 0, 1), 0);
  ASSERT_EQ(model.scalar("point", 0, 1), 1);
  const Instance instance(model);
  void* dictionary = instance.dictionary();
  EXPECT_EQ(entryOf(CzlxColUels, dictionary, 0), (Entry{1, Key(ZKIT_MAX_DIM, 1)}));
  EXPECT_EQ(walk(dictionary, 1, Key(ZKIT_MAX_DIM, 1)), std::vector<int>{0});
  int entry = -2;
  void* find = CzlxFindFirstRowCol(dictionary, 2, nullptr, &entry);
  EXPECT_EQ(entry, 1);
  EXPECT_EQ(CzlxFindClose(dictionary, find), 1);
  EXPECT_EQ(entryOf(CzlxColUels, dictionary, 1), (Entry{2, {}}));
}

// Calls with something missing or out of range. Each must give 0, and nothing else happens.
TEST(KitDictionary, WrongArguments_GiveZero) {
  const Model model;
  ASSERT_EQ(model.column(model.variable("x", 1), {"a"}, 0, 1), 0);
  ASSERT_EQ(model.row(model.equation("e", 1), {"a"}, ZKIT_LESS, 1), 0);
  const Instance instance(model);
  char quote = 0;
  std::array<char, 64> text{};
  Key key(ZKIT_MAX_DIM);
  int symbol = 0;
  int dim = 0;
  const auto numbered = std::to_array<std::function<int(void*, int)>>({
      [&](void* d, int i) { return CzlxUelLabel(d, i, &quote, text.data(), 64); },
      [&](void* d, int i) { return CzlxSymName(d, i, text.data(), 64); },
      [](void* d, int i) { return CzlxSymType(d, i); },
      [](void* d, int i) { return CzlxSymDim(d, i); },
      [](void* d, int i) { return CzlxSymUserInfo(d, i); },
      [&](void* d, int i) { return CzlxSymText(d, i, &quote, text.data(), 64); },
      // Rows and columns count from 0.
      [&](void* d, int i) { return CzlxRowUels(d, i - 1, &symbol, key.data(), &dim); },
      [&](void* d, int i) { return CzlxColUels(d, i - 1, &symbol, key.data(), &dim); },
  });
  for (std::size_t k = 0; k < numbered.size(); ++k) {
    EXPECT_EQ(numbered[k](nullptr, 1), 0) << k;
    for (const int i : {-1, 0, 3, std::numeric_limits<int>::max()}) {
      EXPECT_EQ(numbered[k](instance.dictionary(), i), 0) << k << " with " << i;
    }
  }
  EXPECT_EQ(CzlxNUels(nullptr), 0);
  EXPECT_EQ(CzlxNLSyms(nullptr), 0);
  EXPECT_EQ(CzlxSymIndex(nullptr, "x"), 0);
  EXPECT_EQ(CzlxSymIndex(instance.dictionary(), nullptr), 0);
  EXPECT_EQ(CzlxSymIndex(instance.dictionary(), ""), 0);
}

TEST(KitDictionary, MissingOutputs_AreLeftOut) {
  const Model model;
  ASSERT_EQ(model.column(model.variable("x", 1), {"a"}, 0, 1), 0);
  const Instance instance(model);
  void* dictionary = instance.dictionary();
  EXPECT_EQ(CzlxUelLabel(dictionary, 1, nullptr, nullptr, 64), 1);
  EXPECT_EQ(CzlxSymName(dictionary, 1, nullptr, 0), 1);
  EXPECT_EQ(CzlxSymText(dictionary, 1, nullptr, nullptr, 5), 1);
  std::array<char, 4> text = {'u', 'n', 't', '\0'};
  EXPECT_EQ(CzlxSymName(dictionary, 1, text.data(), 0), 1);
  EXPECT_EQ(CzlxSymName(dictionary, 1, text.data(), -5), 1);
  EXPECT_STREQ(text.data(), "unt");
  EXPECT_EQ(CzlxColUels(dictionary, 0, nullptr, nullptr, nullptr), 0);
}

TEST(KitDictionary, WalkOfNothing_HasAHandleAndIsAtItsEnd) {
  const Instance empty;
  const int open = 0;
  for (void* dictionary : {static_cast<void*>(nullptr), empty.dictionary()}) {
    for (const int symbol : {-1, 0, 1}) {
      int entry = -2;
      void* find = CzlxFindFirstRowCol(dictionary, symbol, &open, &entry);
      ASSERT_NE(find, nullptr);
      EXPECT_EQ(entry, -1);
      EXPECT_EQ(CzlxFindNextRowCol(dictionary, find, &entry), 0);
      EXPECT_EQ(entry, -1);
      EXPECT_EQ(CzlxFindNextRowCol(dictionary, find, nullptr), 0);
      EXPECT_EQ(CzlxFindClose(dictionary, find), 1);
    }
  }
  int entry = -2;
  EXPECT_EQ(CzlxFindNextRowCol(nullptr, nullptr, &entry), 0);
  EXPECT_EQ(entry, -1);
}

TEST(KitDictionary, ObjectOfTheLibraryItself_IsEmpty) {
  for (const char* dir : {static_cast<const char*>(nullptr), "/somewhere"}) {
    void* dictionary = nullptr;
    CzlxXCreateD(&dictionary, dir);
    ASSERT_NE(dictionary, nullptr);
    EXPECT_EQ(CzlxNUels(dictionary), 0);
    EXPECT_EQ(CzlxNLSyms(dictionary), 0);
    zlxXFree(&dictionary);
    EXPECT_EQ(dictionary, nullptr);
    zlxXFree(&dictionary);
  }
  zlxXCreate(nullptr);
  zlxXFree(nullptr);
}

}  // namespace
