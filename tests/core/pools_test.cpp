#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "memory/batchalloc.h"
#include "core/specialvalues.h"
#include "core/strpool.h"
#include "core/symtable.h"
#include "core/zdb.h"

namespace {

using namespace zdb;

template <typename Pool>
class StringPoolTest : public testing::Test {};
using Pools = testing::Types<strpool::TStrHashPool, strpool::TUMStringPool>;
TYPED_TEST_SUITE(StringPoolTest, Pools);

TYPED_TEST(StringPoolTest, Insert_KeepsFirstSpellingNumberAndValue) {
  TypeParam pool;
  EXPECT_FALSE(pool.contains("food"));
  EXPECT_EQ(pool.insert("Food", 5), 0);
  EXPECT_EQ(pool.insert("", 6), 1);
  EXPECT_EQ(pool.insert("FOOD", 7), 0);
  EXPECT_EQ(pool.size(), 2);
  EXPECT_TRUE(pool.contains("food"));
  EXPECT_EQ(pool["food"], 5);
  EXPECT_STREQ(pool.get(0), "Food");
  EXPECT_STREQ(pool.get(1), "");
  const char* early = pool.get(0);
  for (int i = 0; i < 3000; ++i) pool.insert(std::to_string(i).c_str(), i);
  EXPECT_EQ(pool.get(0), early);  // texts do not move
  EXPECT_EQ(pool["2999"], 2999);
}

template <typename Table>
class SymbolTableTest : public testing::Test {
 protected:
  AbstractZDBSymbol* make(const std::string& name, int type) {
    owned_.push_back(db_.symbolFactory(0, name, 1, type, 0, 0, ""));
    return owned_.back().get();
  }
  ZDB db_;
  std::vector<std::unique_ptr<AbstractZDBSymbol>> owned_;
  Table table_;
};
using Tables = testing::Types<symtable::TSymbolTable, symtable::TUMapSymbolTable>;
TYPED_TEST_SUITE(SymbolTableTest, Tables);

TYPED_TEST(SymbolTableTest, Orders_AliasesCountApart) {
  auto* i = this->make("i", TypeSet);
  auto* ii = this->make("ii", TypeAlias);
  auto* p = this->make("P", TypeParameter);
  EXPECT_TRUE(this->table_.empty());
  for (auto* symbol : {i, ii, p}) this->table_.insert(symbol->name.c_str(), symbol);
  EXPECT_EQ(this->table_.size(), 3);
  EXPECT_EQ(this->table_.nonAliasCount(), 2);
  EXPECT_EQ(this->table_.nonAliasSymbol(1), p);
  EXPECT_EQ(this->table_.front(), i);
  EXPECT_EQ(this->table_[1], ii);
  EXPECT_TRUE(this->table_.contains("p"));
  EXPECT_FALSE(this->table_.contains("q"));
  EXPECT_EQ(this->table_["I"], i);
  EXPECT_THROW(this->table_["q"], std::out_of_range);
}

TYPED_TEST(SymbolTableTest, Replace_KeepsBothPlaces) {
  auto* i = this->make("i", TypeSet);
  auto* j = this->make("j", TypeSet);
  auto* other = this->make("i", TypeSet);
  this->table_.insert("i", i);
  this->table_.insert("j", j);
  this->table_.replace(i, other);
  EXPECT_EQ(this->table_[0], other);
  EXPECT_EQ(this->table_["i"], other);
  EXPECT_EQ(this->table_.nonAliasSymbol(0), other);
  EXPECT_EQ(this->table_[1], j);
}

TYPED_TEST(SymbolTableTest, ForEach_StopsAtTheFirstFalse) {
  int calls = 0;
  EXPECT_TRUE(this->table_.forEach([&](AbstractZDBSymbol*) { return ++calls > 0; }));
  EXPECT_EQ(calls, 0);
  for (const char* name : {"a", "b", "c"}) this->table_.insert(name, this->make(name, TypeSet));
  std::string seen;
  EXPECT_FALSE(this->table_.forEach([&](const char* name, AbstractZDBSymbol*) {
    seen += name;
    return seen.size() < 2;
  }));
  EXPECT_EQ(seen, "ab");
}

TYPED_TEST(SymbolTableTest, ClearAndUnload_KeepsTheSymbols) {
  auto* i = this->make("i", TypeSet);
  const int key[] = {1};
  const double row[] = {0};
  i->addRecordEnd(key, row);
  this->table_.insert("i", i);
  this->table_.clearAndUnload();
  EXPECT_TRUE(i->empty());
  EXPECT_FALSE(i->isLoaded);
  EXPECT_EQ(this->table_.size(), 1);
}

TEST(BatchAllocator, Pieces_AreAlignedDistinctAndCounted) {
  batchalloc::BatchAllocator memory;
  std::vector<unsigned char*> pieces;
  for (std::size_t bytes = 1; bytes < 3000; bytes += 7) {
    auto* piece = static_cast<unsigned char*>(memory.allocate(bytes));
    ASSERT_EQ(reinterpret_cast<std::uintptr_t>(piece) % 8, 0u);
    std::fill_n(piece, bytes, static_cast<unsigned char>(pieces.size()));
    pieces.push_back(piece);
  }
  std::size_t bytes = 1;
  for (std::size_t i = 0; i < pieces.size(); ++i, bytes += 7) {
    EXPECT_EQ(pieces[i][0], static_cast<unsigned char>(i));
    EXPECT_EQ(pieces[i][bytes - 1], static_cast<unsigned char>(i));
  }
  EXPECT_GT(memory.size(), 0u);
  memory.clear();
  EXPECT_EQ(memory.size(), 0u);
  EXPECT_NE(memory.allocate(1 << 20), nullptr);  // larger than any block
}

TEST(SpecialValues, State_SaysHowMuchDiffers) {
  struct Case {
    int changed;
    double value;
    int state;
  };
  const double payload = std::bit_cast<double>(std::uint64_t{0x7FF8000000000001});
  for (const Case c :
       {Case{-1, 0, 0}, {4, 1e-300, 1}, {0, 7e299, 2}, {1, payload, 2}, {3, -9e299, 2}}) {
    SpecialValueMap map;
    SpecialValues values = kLibrarySpecialValues;
    if (c.changed >= 0) values[c.changed] = c.value;
    EXPECT_EQ(map.set(values.data()), c.state) << c.changed;
    for (int i = 0; i < 5; ++i) {
      EXPECT_TRUE(sameBits(map.toLibrary(values[i]), kLibrarySpecialValues[i]));
      EXPECT_TRUE(sameBits(map.toUser(kLibrarySpecialValues[i]), values[i]));
    }
    EXPECT_EQ(map.toLibrary(2.5), 2.5);
    EXPECT_EQ(map.set(kLibrarySpecialValues.data()), 0);
  }
}

TEST(SpecialValues, BothEpsilonAndAnother_IsTheLargerState) {
  SpecialValueMap map;
  const SpecialValues all = {1, 2, 3, 4, 5};
  EXPECT_EQ(map.set(all.data()), 2);
  EXPECT_EQ(map.toUser(kLibrarySpecialValues[4]), 5);
}

}  // namespace
