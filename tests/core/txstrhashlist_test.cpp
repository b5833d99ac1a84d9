#include "core/txstrhashlist.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zxf::collections::strhash {
namespace {

// The hash in its plain form, byte by signed byte.
std::uint32_t plainHash(const std::string& text) {
  std::uint32_t hash = 0;
  for (char c : text) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c & ~32);
    hash = hash * 211 + static_cast<std::uint32_t>(std::int32_t{static_cast<signed char>(c)});
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
}

// Each table size is left at its threshold; numbers must survive every rebuild.
TEST(TXStrHashList, Growth_KeepsNumbersAcrossTableSizes) {
  const struct {
    int entries;
    int table;
  } steps[] = {{0, 0}, {1500, 997}, {1501, 9973}, {15000, 9973}, {15001, 99991}, {150001, 999979}};
  TXStrHashList<int> list(true);
  int added = 0;
  for (const auto& step : steps) {
    for (; added < step.entries; ++added) {
      ASSERT_EQ(list.AddObject(("label" + std::to_string(added)).c_str(), added), added + 1);
    }
    ASSERT_EQ(list.HashTableSize(), step.table) << step.entries;
    for (int i = 0; i < added; i += 97) {
      const std::string text = "LABEL" + std::to_string(i);
      ASSERT_EQ(list.IndexOf(text.c_str()), i + 1);
      ASSERT_EQ(list.GetObject(i), i);
    }
  }
}

// Texts of one hash: 1 less in one byte and 211 more in the next, as bytes count signed. There are
// far more of them than a chain takes, and only the texts tell them apart.
TEST(TXStrHashList, EqualHashes_AreToldApart) {
  std::vector<std::string> texts(1 << 15);
  for (std::size_t i = 0; i < texts.size(); ++i) {
    for (unsigned bit = 0; bit < 15; ++bit) texts[i] += (i >> bit & 1) != 0 ? "B\x8d" : "A`";
  }
  TXStrHashList<int> list;
  for (int i = 0; i < static_cast<int>(texts.size()); ++i) {
    ASSERT_EQ(hashText(texts[i]), hashText(texts[0]));
    ASSERT_EQ(list.IndexOf(texts[i].c_str()), -1);
    ASSERT_EQ(list.AddObject(texts[i].c_str(), 0), i);
    ASSERT_EQ(list.IndexOf(texts[i / 2].c_str()), i / 2);
  }
  for (int i = 0; i < static_cast<int>(texts.size()); ++i) {
    for (char& c : texts[i]) c = c == 'A' || c == 'B' ? static_cast<char>(c + 32) : c;
    ASSERT_EQ(list.AddObject(texts[i].c_str(), 0), i) << "in other letter case";
  }
}

TEST(TXStrHashList, SortMapAndComparisons_FollowTheEntries) {
  TXStrHashList<int> list;
  list.AddObject("b", 0);
  list.CreateSortMap();
  list.AddObject("a", 0);
  EXPECT_EQ(list.SortMap(), (std::vector<std::int32_t>{0, 1}));
  EXPECT_FALSE(list.IsSorted());
  EXPECT_TRUE(list.EntryEqual(nullptr, nullptr) && list.EntryEqual("aB", "Ab"));
  EXPECT_FALSE(list.EntryEqual(nullptr, "a") || list.EntryEqual("ab", "a"));
  EXPECT_LT(list.Compare("ab", "abc"), 0);
  EXPECT_EQ(list.Compare("AB", "ab"), 0);
}

}  // namespace
}  // namespace zxf::collections::strhash
