// What numbers texts, beside a standard map: hashed list, pools, symbol tables and label lists.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "core/strpool.h"
#include "core/symtable.h"
#include "core/uellist.h"
#include "core/zdb.h"
#include "memory/batchalloc.h"
#include "support/starved.h"
#include "symbols/symbolfactory.h"

namespace zdb {
namespace {

using zxf::collections::strhash::hashText;
using HashedList = zxf::collections::strhash::TXStrHashList<int>;

std::string folded(std::string text) {
  for (char& c : text) c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 32 : c);
  return text;
}

/// Short texts of few letters in either case, which come again, with their numbers.
class Texts {
 public:
  struct Text {
    std::string text;
    int number;
    bool isNew;
  };
  Text next() {
    std::string text(random_() % 5, ' ');
    for (char& c : text) c = "abzABZ @[`{\xe4\xc4"[random_() % 13];
    const auto [place, isNew] = numbers_.try_emplace(folded(text), static_cast<int>(first.size()));
    if (isNew) first.push_back(text);
    return {text, place->second, isNew};
  }
  std::vector<std::string> first;  ///< The first spellings in order.

 private:
  std::map<std::string, int> numbers_;
  std::mt19937 random_{1};
};

std::uint32_t plainHash(const std::string& text) {
  std::uint32_t hash = 0;
  for (const char c : folded(text)) {
    hash = hash * 211 + static_cast<std::uint32_t>(std::int32_t{static_cast<signed char>(c)});
  }
  return hash;
}

TEST(TXStrHashList, RandomTexts_KeepSpellingAndNumberWhateverTheirHash) {
  for (int policy = 0; policy < 4; ++policy) {
    HashedList list(true);
    Texts texts;
    for (int step = 0; step < 4000; ++step) {
      const auto [text, number, isNew] = texts.next();
      const std::uint32_t hash = hashText(text);
      ASSERT_EQ(hash, plainHash(text)) << text;
      // The same for all; few that differ in the chain or in what a chain lists; the usual one.
      const std::uint32_t hashes[] = {0, hash % 3, hash % 3 << 24, hash};
      ASSERT_EQ(list.IndexOf(text.c_str(), text.size(), hashes[policy]), isNew ? -1 : number + 1);
      ASSERT_EQ(list.AddObject(text.c_str(), text.size(), hashes[policy], step), number + 1);
      ASSERT_EQ(list.GetString(number), texts.first[static_cast<std::size_t>(number)]);
      ASSERT_EQ(list.GetObject(number) == step, isNew);
    }
  }
}

// Each table size is left at its threshold; numbers must survive every rebuild.
TEST(TXStrHashList, Growth_KeepsNumbersAcrossTableSizes) {
  const struct {
    int entries;
    int table;
  } steps[] = {{0, 0}, {1500, 997}, {1501, 9973}, {15000, 9973}, {15001, 99991}, {150001, 999979}};
  HashedList list;
  for (const auto& [entries, table] : steps) {
    for (int i = list.Count(); i < entries; ++i) {
      ASSERT_EQ(list.AddObject(("label" + std::to_string(i)).c_str(), i), i);
    }
    ASSERT_EQ(list.HashTableSize(), table) << entries;
    for (int i = 0; i < entries; i += 97) {
      const std::string text = "LABEL" + std::to_string(i);
      ASSERT_EQ(list.IndexOf(text.c_str()), i);
      ASSERT_EQ(list.Hash(text.c_str()), (plainHash(text) & 0x7FFFFFFF) % unsigned(table));
    }
  }
}

TEST(TXStrHashList, Comparisons_FoldAndTakeNulls) {
  HashedList list;
  EXPECT_TRUE(list.EntryEqual(nullptr, nullptr) && list.EntryEqual("aB", "Ab"));
  EXPECT_FALSE(list.EntryEqual(nullptr, "a") || list.EntryEqual("ab", "a"));
  EXPECT_TRUE(list.Compare("ab", "abc") < 0 && list.Compare("AB", "ab") == 0);
}

template <typename Pool>
class StringPools : public testing::Test {};
using Pools = testing::Types<strpool::TStrHashPool, strpool::TUMStringPool>;
TYPED_TEST_SUITE(StringPools, Pools);

TYPED_TEST(StringPools, RandomTexts_KeepFirstSpellingNumberAndValue) {
  TypeParam pool;
  Texts texts;
  for (int step = 0; step < 4000; ++step) {
    const auto [text, number, isNew] = texts.next();
    ASSERT_EQ(pool.contains(text.c_str()), !isNew);
    const char* spelling = text.c_str();  // which clang lets lambdas capture
    const auto insert = [&] { return pool.insert(spelling, step); };
    const auto look = [&](auto) {
      ASSERT_EQ(pool.size(), std::ssize(texts.first) - 1);
      ASSERT_FALSE(pool.contains(spelling));
    };
    ASSERT_EQ(isNew ? test::callStarved(insert, look) : insert(), number);
    ASSERT_EQ(pool.get(number), texts.first[static_cast<std::size_t>(number)]);
    ASSERT_EQ(pool[text.c_str()] == step, isNew);
  }
}

template <typename Table>
class SymbolTables : public testing::Test {};
using Tables = testing::Types<symtable::TSymbolTable, symtable::TUMapSymbolTable>;
TYPED_TEST_SUITE(SymbolTables, Tables);

TYPED_TEST(SymbolTables, RandomSymbols_KeepTheirPlacesInBothOrders) {
  ZDB db{makeSymbol};
  TypeParam table;
  std::vector<std::unique_ptr<AbstractZDBSymbol>> all;
  const auto check = [&](auto) {
    int number = 0;
    int nonAlias = 0;
    EXPECT_TRUE(table.forEach([&](const char* name, AbstractZDBSymbol* symbol) {
      EXPECT_TRUE(symbol == all[unsigned(number)].get() && symbol == table[number]);
      EXPECT_TRUE(table.contains(name) && table[folded(name).c_str()] == symbol);
      EXPECT_TRUE(symbol->isAlias() || table.nonAliasSymbol(nonAlias++) == symbol);
      return ++number > 0;
    }));
    ASSERT_TRUE(table.size() == number && number == std::ssize(all));
    ASSERT_TRUE(table.nonAliasCount() == nonAlias && table.empty() == all.empty());
  };
  Texts names;
  for (int step = 0; step < 400; ++step) {
    check(0);
    const auto [name, number, isNew] = names.next();
    const bool isAlias = isNew ? step % 3 == 0 : all[unsigned(number)]->isAlias();
    const std::string& spelling = names.first[unsigned(number)];
    auto symbol = db.symbolFactory(0, spelling, 1, isAlias ? TypeAlias : TypeSet, 0, 0, "");
    ASSERT_EQ(table.contains(name.c_str()), !isNew);
    if (isNew) {
      EXPECT_THROW(table[name.c_str()], std::out_of_range);
      test::callStarved([&] { return table.insert(spelling.c_str(), symbol.get()), 0; }, check);
      all.push_back(std::move(symbol));
    } else {
      table.replace(all[unsigned(number)].get(), symbol.get());
      all[unsigned(number)] = std::move(symbol);
    }
  }
  for (std::size_t step = 0; all.size() > 3; ++step) {
    const std::size_t place = step * 7 % all.size();
    const std::string old = all[place]->name;
    all[place]->name = step % 2 == 0 ? folded(old) : "new" + std::to_string(step);
    const std::string& name = all[place]->name;
    test::callStarved([&] { return table.rename(old.c_str(), name.c_str()), 0; },
                      [&](auto) { EXPECT_TRUE(table.contains(old.c_str())); });
    EXPECT_EQ(table.contains(old.c_str()), step % 2 == 0);
    test::callStarved([&] { return table.remove(name.c_str()), 0; }, check);
    all.erase(all.begin() + std::ptrdiff_t(place));
    check(0);
  }
  int calls = 0;
  EXPECT_FALSE(table.forEach([&](AbstractZDBSymbol*) { return ++calls < 2; }));
  EXPECT_EQ(calls, 2);
  const int key[] = {1};
  table.front()->addRecordEnd(key, std::array{0.0}.data());
  table.clearAndUnload();
  EXPECT_TRUE(table.front()->empty() && !table.front()->isLoaded);
}

/// Labels of few letters, right and wrong, some around the longest.
std::string anyLabel(std::mt19937& random) {
  std::string text(random() % 6, ' ');
  if (random() % 8 == 0) text.assign(60 + random() % 6, 'x');
  for (char& c : text) {
    if (c == ' ') c = "abABz\xfc \t'\" "[random() % 11];
  }
  return text.append(random() % 4 == 0 ? 3 : 0, ' ');
}

// They differ in three points only: control characters, which UELList refuses without a message;
// trailing blanks, which it does not store; and blanks alone, which have the number 0 there.
TEST(LabelLists, RandomLabels_GetTheSameNumbersAndMessages) {
  LastError error;
  LastError twinError;
  uellist::UELList list(error);
  uellist::UnorderedMapUELList twin(twinError);
  std::mt19937 random(3);
  for (int step = 0; step < 20000; ++step) {
    const std::string text = anyLabel(random);
    const std::string kept = text.substr(0, text.find_last_not_of(' ') + 1);
    if (kept.empty()) continue;
    error.clear();
    twinError.clear();
    const int size = list.size();
    const auto call = [&](uellist::IUELList& labels, int& number) {
      return step % 2 == 0 ? labels.find(text.c_str(), number) : labels.merge(text.c_str(), number);
    };
    int number = -77;
    int twinNumber = -77;
    const bool isGood = call(list, number);
    if (text.find('\t') != std::string::npos) {
      ASSERT_FALSE(isGood);
      ASSERT_TRUE(error.kind == ErrorNone || text.find('"') != std::string::npos);
      continue;
    }
    ASSERT_EQ(call(twin, twinNumber), isGood) << text;
    ASSERT_STREQ(error.text, twinError.text);
    ASSERT_EQ(number, twinNumber) << text;
    ASSERT_EQ(list.size(), twin.size());
    if (!isGood || number < size) continue;
    ASSERT_EQ(list[number], kept);
    ASSERT_EQ(twin[number], text);
  }
  EXPECT_GT(list.size(), 1000);
  int number = -1;
  EXPECT_TRUE(list.merge("   ", number) && number == 0);
  EXPECT_TRUE(twin.merge("   ", number) && number == twin.size() - 1);
  uellist::UELList other(error);
  other.merge("B", number);
  other = list;  // adds what is missing
  EXPECT_EQ(other.size(), list.size());
  EXPECT_STREQ(other[1], "B");
}

TEST(BatchAllocator, Pieces_AreAlignedAndApart) {
  batchalloc::BatchAllocator memory;
  for (int round = 0; round < 2; ++round) {
    std::vector<std::span<unsigned char>> pieces;
    for (std::size_t bytes = 1; bytes < 3000000; bytes += bytes / 4 + 1) {
      pieces.emplace_back(static_cast<unsigned char*>(memory.allocate(bytes)), bytes);
      ASSERT_EQ(reinterpret_cast<std::uintptr_t>(pieces.back().data()) % 8, 0U);
      std::ranges::fill(pieces.back(), static_cast<unsigned char>(pieces.size()));
    }
    for (std::size_t i = 0; i < pieces.size(); ++i) EXPECT_EQ(pieces[i].back(), i + 1);
    EXPECT_GT(memory.size(), 3000000U);
    memory.clear();
    EXPECT_EQ(memory.size(), 0U);
  }
}

}  // namespace
}  // namespace zdb
