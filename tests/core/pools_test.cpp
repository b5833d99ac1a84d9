// Each pool and table beside a standard map: the one the database uses, and its alternative.

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
#include "core/zdb.h"
#include "memory/batchalloc.h"
#include "support/starved.h"
#include "symbols/symbolfactory.h"

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
    const int value = isNew ? step : -1;
    const auto insert = [&] { return pool.insert(text.c_str(), value); };
    const auto look = [&](auto) { ASSERT_EQ(pool.size(), texts.size()); };
    // The alternative keeps the text of a failed insertion, without a way to it.
    const bool isStarved = std::is_same_v<TypeParam, strpool::TStrHashPool>;
    ASSERT_EQ(isStarved ? test::callStarved(insert, look) : insert(), place->second);
    if (isNew) texts.push_back(text);
    ASSERT_EQ(pool.get(place->second), texts[place->second]);
    ASSERT_TRUE(isNew ? pool[text.c_str()] == step : pool[text.c_str()] < step);
  }
  ASSERT_EQ(pool.size(), texts.size());
}

template <typename Table>
class SymbolTables : public testing::Test {};
using Tables = testing::Types<symtable::TSymbolTable, symtable::TUMapSymbolTable>;
TYPED_TEST_SUITE(SymbolTables, Tables);

TYPED_TEST(SymbolTables, RandomSymbols_KeepTheirPlacesInBothOrders) {
  ZDB db{makeSymbol};
  TypeParam table;
  std::vector<AbstractZDBSymbol*> all;
  const auto check = [&](auto) {
    int number = 0;
    int nonAlias = 0;
    EXPECT_TRUE(table.forEach([&](const char* name, AbstractZDBSymbol* symbol) {
      EXPECT_TRUE(symbol == all[number] && symbol == table[number]);
      EXPECT_TRUE(table.contains(name) && table[folded(name).c_str()] == symbol);
      EXPECT_TRUE(symbol->isAlias() || table.nonAliasSymbol(nonAlias++) == symbol);
      return ++number > 0;
    }));
    EXPECT_EQ(table.nonAliasCount(), nonAlias);
    ASSERT_TRUE(table.size() == number && number == static_cast<int>(all.size()));
    ASSERT_EQ(table.empty(), all.empty());
  };
  check(0);
  std::vector<std::unique_ptr<AbstractZDBSymbol>> owned;
  std::mt19937 random(2);
  for (int step = 0; step < 400; ++step) {
    std::string name = "s" + anyText(random);
    const bool isThere = table.contains(name.c_str());
    AbstractZDBSymbol* old = isThere ? table[name.c_str()] : nullptr;
    const bool isAlias = isThere ? old->isAlias() : random() % 3 == 0;
    if (isThere) name = old->name;
    owned.push_back(db.symbolFactory(0, name, 1, isAlias ? TypeAlias : TypeSet, 0, 0, ""));
    AbstractZDBSymbol* symbol = owned.back().get();
    if (isThere) {
      table.replace(old, symbol);
      std::replace(all.begin(), all.end(), old, symbol);
    } else {
      EXPECT_THROW(table[name.c_str()], std::out_of_range);
      test::callStarved([&] { return table.insert(name.c_str(), symbol), 0; }, check);
      all.push_back(symbol);
    }
    check(0);
  }
  int calls = 0;
  EXPECT_FALSE(table.forEach([&](AbstractZDBSymbol*) { return ++calls < 2; }));
  EXPECT_EQ(calls, 2);
  const int key[] = {1};
  table.front()->addRecordEnd(key, std::array{0.0}.data());
  table.clearAndUnload();
  EXPECT_TRUE(table.front()->empty() && !table.front()->isLoaded);
  check(0);
}

TEST(BatchAllocator, Pieces_AreAlignedAndApart) {
  batchalloc::BatchAllocator memory;
  for (int round = 0; round < 2; ++round) {
    std::vector<std::span<unsigned char>> pieces;
    for (std::size_t bytes = 1; bytes < 3000000; bytes += bytes / 4 + 1) {
      pieces.emplace_back(static_cast<unsigned char*>(memory.allocate(bytes)), bytes);
      ASSERT_EQ(reinterpret_cast<std::uintptr_t>(pieces.back().data()) % 8, 0U);
      std::fill_n(pieces.back().data(), bytes, static_cast<unsigned char>(pieces.size()));
    }
    for (std::size_t i = 0; i < pieces.size(); ++i) EXPECT_EQ(pieces[i].back(), i + 1);
    EXPECT_GT(memory.size(), 3000000U);
    memory.clear();
    EXPECT_EQ(memory.size(), 0U);
  }
}

}  // namespace
}  // namespace zdb
