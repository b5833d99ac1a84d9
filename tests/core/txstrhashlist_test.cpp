#include "core/txstrhashlist.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using zxf::collections::strhash::hashText;
using zxf::collections::strhash::TXStrHashList;

// The hash in its plain form, digit by digit in signed bytes.
std::uint32_t plainHash(const std::string& text) {
  std::uint32_t hash = 0;
  for (char c : text) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c & ~32);
    hash = hash * 211 +
           static_cast<std::uint32_t>(static_cast<std::int32_t>(static_cast<signed char>(c)));
  }
  return hash;
}

TEST(TXStrHashList, Hash_FoldsAsciiOnlyAndReducesToTheTable) {
  TXStrHashList<int> list;
  list.HashTableReset(0);
  for (const std::string text :
       {"", "a", "abc", "z{`@[", "\xe4\xc4 \x80\xff", "a longer label 0123456789"}) {
    EXPECT_EQ(hashText(text), plainHash(text)) << text;
    EXPECT_EQ(list.Hash(text.c_str()), (plainHash(text) & 0x7FFFFFFF) % 997) << text;
  }
  EXPECT_EQ(hashText("seattle"), hashText("SEAttle"));
  EXPECT_NE(hashText("\xe4"), hashText("\xc4"));  // folds in some locales, not here
}

TEST(TXStrHashList, AddExisting_KeepsNumberSpellingAndObject) {
  for (const bool oneOffset : {false, true}) {
    TXStrHashList<int> list(oneOffset);
    const int first = oneOffset ? 1 : 0;
    EXPECT_EQ(list.AddObject("abc", 7), first);
    EXPECT_EQ(list.AddObject("xyz", 8), first + 1);
    EXPECT_EQ(list.AddObject("ABC", 9), first);
    EXPECT_STREQ(list.GetString(0), "abc");
    EXPECT_EQ(list.GetObject(0), 7);
    EXPECT_EQ(list.IndexOf("aBc"), first);
    EXPECT_EQ(list.IndexOf("ab"), -1);
    EXPECT_EQ(list.Count(), 2);
  }
}

// Each table size is left at its threshold; numbers must survive every rebuild.
TEST(TXStrHashList, Growth_KeepsNumbersAcrossTableSizes) {
  struct Step {
    int entries;
    int table;
  };
  TXStrHashList<int> list;
  EXPECT_EQ(list.HashTableSize(), 0);
  int added = 0;
  for (const Step step :
       {Step{1500, 997}, {1501, 9973}, {15000, 9973}, {15001, 99991}, {150001, 999979}}) {
    for (; added < step.entries; ++added)
      list.AddObject(("label" + std::to_string(added)).c_str(), added);
    ASSERT_EQ(list.HashTableSize(), step.table) << step.entries;
    for (int i = 0; i < added; i += 97) {
      const std::string text = "LABEL" + std::to_string(i);
      ASSERT_EQ(list.IndexOf(text.c_str()), i);
      ASSERT_EQ(list.GetObject(i), i);
    }
  }
}

TEST(TXStrHashList, LookupBeforeAnyInsertion_FindsNothing) {
  TXStrHashList<int> list;
  EXPECT_EQ(list.IndexOf("abc"), -1);
  EXPECT_EQ(list.AddObject("abc", 1), 0);
}

// "a" + one more and "b" - 211 collide by construction, so texts of one chain and one hash are told
// apart by the text itself.
TEST(TXStrHashList, EqualHashes_AreToldApart) {
  const std::string one = {'B', 1};
  const std::string two = {'A',
                           static_cast<char>(-44)};  // 66*211+1 == 65*211+212, 212 as a byte is -44
  const std::string three = {'A', 100, 'x'};
  TXStrHashList<int> list;
  list.AddObject(one.c_str(), 1);
  EXPECT_EQ(list.IndexOf(two.c_str()), -1);
  EXPECT_EQ(list.AddObject(three.c_str(), 3), 1);
  EXPECT_EQ(list.AddObject(two.c_str(), 2), 2);
  EXPECT_EQ(list.IndexOf(one.c_str()), 0);
}

TEST(TXStrHashList, SortMap_GrowsWithTheListAndLosesItsOrder) {
  TXStrHashList<int> list;
  list.AddObject("b", 0);
  list.CreateSortMap();
  list.AddObject("a", 0);
  EXPECT_EQ(list.SortMap(), (std::vector<std::int32_t>{0, 1}));
  EXPECT_FALSE(list.IsSorted());
}

TEST(TXStrHashList, EntryEqualAndCompare) {
  const TXStrHashList<int> list;
  EXPECT_TRUE(list.EntryEqual(nullptr, nullptr));
  EXPECT_FALSE(list.EntryEqual(nullptr, "a"));
  EXPECT_FALSE(list.EntryEqual("ab", "a"));
  EXPECT_TRUE(list.EntryEqual("aB", "Ab"));
  EXPECT_LT(list.Compare("ab", "abc"), 0);
  EXPECT_EQ(list.Compare("AB", "ab"), 0);
}

}  // namespace
