// Each pool and table beside a standard map: the one the database uses, and its alternative.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "core/batchalloc.h"
#include "core/strpool.h"
#include "core/symtable.h"
#include "core/zdb.h"
#include "support/starved.h"

namespace zdb {
namespace {

/// A short text of few letters in either case, which comes again.
std::string anyText(std::mt19937& random) {
  std::string text(random() % 5, ' ');
  for (char& c : text) c = "abzABZ @[`{\xe4\xc4"[random() % 13];
  return text;
}

std::string folded(std::string text) {
  for (char& c : text) c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 32 : c);
  return text;
}

template <typename Pool>
class StringPools : public testing::Test {};
using Pools = testing::Types<strpool::TStrHashPool, strpool::TUMStringPool>;
TYPED_TEST_SUITE(StringPools, Pools);

TYPED_TEST(StringPools, RandomTexts_KeepFirstSpellingNumberAndValue) {
  TypeParam pool;
  std::map<std::string, int> numbers;
  std::vector<std::string> texts;
  std::mt19937 random(1);
  for (int step = 0; step < 5000; ++step) {
    const std::string text = anyText(random);
    const auto [place, isNew] = numbers.try_emplace(folded(text), static_cast<int>(texts.size()));
    ASSERT_EQ(pool.contains(text.c_str()), !isNew);
    const auto insert = [&] { return pool.insert(text.c_str(), place->second * 7); };
    const auto look = [&](auto) { ASSERT_EQ(pool.size(), texts.size()); };
    // The alternative keeps the text of a failed insertion, without a way to it.
    const bool isStarved = std::is_same_v<TypeParam, strpool::TStrHashPool>;
    ASSERT_EQ(isStarved ? test::callStarved(insert, look) : insert(), place->second);
    if (isNew) texts.push_back(text);
    ASSERT_EQ(pool[text.c_str()], place->second * 7);
    ASSERT_EQ(pool.insert(text.c_str(), -1), place->second);
  }
  ASSERT_GT(texts.size(), 1600U);
  for (std::size_t i = 0; i < texts.size(); ++i) {
    ASSERT_EQ(pool.get(static_cast<int>(i)), texts[i]);
    ASSERT_EQ(pool[texts[i].c_str()], static_cast<int>(i) * 7);
  }
}

template <typename Table>
class SymbolTables : public testing::Test {};
using Tables = testing::Types<symtable::TSymbolTable, symtable::TUMapSymbolTable>;
TYPED_TEST_SUITE(SymbolTables, Tables);

TYPED_TEST(SymbolTables, RandomSymbols_KeepTheirPlacesInBothOrders) {
  ZDB db;
  std::vector<std::unique_ptr<AbstractZDBSymbol>> owned;
  TypeParam table;
  std::vector<AbstractZDBSymbol*> all;
  std::vector<AbstractZDBSymbol*> nonAlias;
  std::mt19937 random(2);
  const auto make = [&](const std::string& name, int type) {
    owned.push_back(db.symbolFactory(0, name, 1, type, 0, 0, ""));
    return owned.back().get();
  };
  const auto check = [&](auto) {
    std::vector<AbstractZDBSymbol*> seen;
    const auto visit = [&](const char* name, AbstractZDBSymbol* symbol) {
      EXPECT_EQ(symbol->name, name);
      EXPECT_TRUE(table.contains(name) && table[folded(name).c_str()] == symbol);
      seen.push_back(symbol);
      return true;
    };
    ASSERT_TRUE(table.forEach(visit));
    ASSERT_EQ(seen, all);
    ASSERT_EQ(table.size(), all.size());
    ASSERT_EQ(table.nonAliasCount(), nonAlias.size());
    for (int i = 0; i < table.nonAliasCount(); ++i) ASSERT_EQ(table.nonAliasSymbol(i), nonAlias[i]);
  };
  check(0);
  ASSERT_TRUE(table.empty());
  for (int step = 0; step < 400; ++step) {
    const std::string name = "s" + anyText(random);
    const int type = random() % 3 == 0 ? TypeAlias : TypeSet;
    if (table.contains(name.c_str())) {
      AbstractZDBSymbol* old = table[name.c_str()];
      AbstractZDBSymbol* replacing = make(old->name, old->isAlias() ? TypeAlias : TypeSet);
      table.replace(old, replacing);
      std::replace(all.begin(), all.end(), old, replacing);
      std::replace(nonAlias.begin(), nonAlias.end(), old, replacing);
    } else {
      ASSERT_THROW(table[name.c_str()], std::out_of_range);
      AbstractZDBSymbol* symbol = make(name, type);
      const auto insert = [&] { return table.insert(name.c_str(), symbol), 0; };
      test::callStarved(insert, check);
      all.push_back(symbol);
      if (type != TypeAlias) nonAlias.push_back(symbol);
      ASSERT_TRUE(table.front() == all[0] && table[table.size() - 1] == symbol);
    }
    check(0);
  }
  int calls = 0;
  EXPECT_FALSE(table.forEach([&](AbstractZDBSymbol*) { return ++calls < 2; }));
  EXPECT_EQ(calls, 2);
  const int key[] = {1};
  const double row[] = {0};
  nonAlias[0]->addRecordEnd(key, row);
  table.clearAndUnload();
  EXPECT_TRUE(nonAlias[0]->empty() && !nonAlias[0]->isLoaded);
  check(0);
}

TEST(BatchAllocator, Pieces_AreAlignedAndApart) {
  batchalloc::BatchAllocator memory;
  for (int round = 0; round < 2; ++round) {
    std::vector<unsigned char*> pieces;
    for (std::size_t bytes = 1; bytes < 3000; bytes += 7) {
      pieces.push_back(static_cast<unsigned char*>(memory.allocate(bytes)));
      ASSERT_EQ(reinterpret_cast<std::uintptr_t>(pieces.back()) % 8, 0U);
      std::fill_n(pieces.back(), bytes, static_cast<unsigned char>(pieces.size()));
    }
    std::size_t bytes = 1;
    for (std::size_t i = 0; i < pieces.size(); ++i, bytes += 7) {
      EXPECT_EQ(pieces[i][0], static_cast<unsigned char>(i + 1));
      EXPECT_EQ(pieces[i][bytes - 1], static_cast<unsigned char>(i + 1));
    }
    std::memset(memory.allocate(1 << 20), 1, 1 << 20);  // larger than any block
    EXPECT_GT(memory.size(), std::size_t{1} << 20);
    memory.clear();
    EXPECT_EQ(memory.size(), 0U);
  }
}

}  // namespace
}  // namespace zdb
