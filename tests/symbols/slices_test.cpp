#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <memory>
#include <random>
#include <tuple>
#include <vector>

#include "core/zdb.h"
#include "support/allocations.h"
#include "symbols/zdbsymbol.h"
#include "symbols/zdbsymboliterator.h"

namespace {

using namespace zdb;

using Key = std::vector<int>;
using Handle = std::unique_ptr<AbstractZDBSymbolIterator>;

// A symbol with random keys over few labels, so that slices of every size occur, and the same keys
// sorted beside it.
class SlicesTest : public testing::TestWithParam<std::tuple<int, int>> {
 protected:
  SlicesTest() : symbol_(db_.symbolFactory(storage(), "p", dim(), TypeParameter, 0, 0, "")) {
    for (int i = 0; i < kLabels; ++i) {
      int number;
      db_.labels().merge(("l" + std::to_string(i)).c_str(), number);
    }
    for (int n = 0; n < 60; ++n) {
      Key key(static_cast<std::size_t>(dim()));
      for (int& label : key) label = 1 + static_cast<int>(random_() % kLabels);
      const double row[] = {static_cast<double>(n)};
      symbol_->addRecord(key.data(), row);
      keys_.push_back(key);
    }
    std::sort(keys_.begin(), keys_.end());
    keys_.erase(std::unique(keys_.begin(), keys_.end()), keys_.end());
  }

  static int storage() { return std::get<0>(GetParam()); }
  static int dim() { return std::get<1>(GetParam()); }

  std::vector<Key> matching(const Key& slice) const {
    std::vector<Key> found;
    for (const Key& key : keys_) {
      bool matches = true;
      for (std::size_t i = 0; i < key.size(); ++i) matches &= slice[i] == 0 || slice[i] == key[i];
      if (matches) found.push_back(key);
    }
    return found;
  }

  Key keyOf(const Handle& handle) const { return {handle->getKeys(), handle->getKeys() + dim()}; }

  static constexpr int kLabels = 4;
  std::mt19937 random_{20261124};
  ZDB db_;
  std::unique_ptr<AbstractZDBSymbol> symbol_;
  std::vector<Key> keys_;
};

// Every slice over labels 0 (open) to kLabels + 1 (which has no record), walked both ways.
TEST_P(SlicesTest, Walk_VisitsWhatMatches_BothWays) {
  int slices = 1;
  for (int i = 0; i < dim(); ++i) slices *= kLabels + 2;
  for (int code = 0; code < slices; ++code) {
    Key slice(static_cast<std::size_t>(dim()));
    for (int i = 0, rest = code; i < dim(); ++i, rest /= kLabels + 2)
      slice[i] = rest % (kLabels + 2);
    const std::vector<Key> expected = matching(slice);
    const Handle first(symbol_->findSlice(slice.data()));
    const Handle last(symbol_->findSliceBackwards(slice.data()));
    ASSERT_EQ(first == nullptr, expected.empty());
    ASSERT_EQ(last == nullptr, expected.empty());
    if (expected.empty()) continue;
    EXPECT_EQ(keyOf(last), expected.back());
    std::vector<Key> forward = {keyOf(first)};
    while (first->hasNext(db_.labels())) {
      ASSERT_TRUE(first->moveNext(0));
      forward.push_back(keyOf(first));
    }
    EXPECT_EQ(forward, expected);
    EXPECT_FALSE(first->moveNext(0));
    EXPECT_STREQ(first->lastMessage(), "Last record reached in slice of symbol p");
    EXPECT_EQ(keyOf(first), expected.back());
    std::vector<Key> backward = {keyOf(first)};
    while (first->hasPrev()) {
      ASSERT_TRUE(first->movePrev());
      backward.insert(backward.begin(), keyOf(first));
    }
    EXPECT_EQ(backward, expected);
    EXPECT_FALSE(first->movePrev());
    EXPECT_STREQ(first->lastMessage(), "First record reached in slice of symbol p");
    EXPECT_EQ(keyOf(first), expected.front());
  }
}

TEST_P(SlicesTest, Walk_AfterDeletingAround_StaysRight) {
  Key slice(static_cast<std::size_t>(dim()), 0);
  slice.back() = dim() > 1 ? 2 : 0;
  std::vector<Key> expected = matching(slice);
  ASSERT_GT(expected.size(), 2u);
  const Handle walker(symbol_->findSlice(slice.data()));
  const Handle second(symbol_->find(expected[1].data()));
  symbol_->deleteRecord(second.get());
  ASSERT_TRUE(walker->moveNext(0));
  EXPECT_EQ(keyOf(walker), expected[2]);
  ASSERT_TRUE(walker->movePrev());
  EXPECT_EQ(keyOf(walker), expected[0]);
}

TEST_P(SlicesTest, CopyOfAHandle_WalksOnItsOwn) {
  Key slice(static_cast<std::size_t>(dim()), 0);
  slice.front() = dim() > 1 ? 3 : 0;
  const std::vector<Key> expected = matching(slice);
  ASSERT_GT(expected.size(), 1u);
  const Handle walker(symbol_->findSlice(slice.data()));
  const Handle copy(ZDB::symbolIteratorFactory(walker.get()));
  EXPECT_TRUE(copy->equalValues(walker.get()));
  ASSERT_TRUE(copy->moveNext(0));
  EXPECT_EQ(keyOf(copy), expected[1]);
  EXPECT_EQ(keyOf(walker), expected[0]);
  EXPECT_FALSE(copy->equalValues(walker.get()));
}

INSTANTIATE_TEST_SUITE_P(StoragesAndDims, SlicesTest,
                         testing::Combine(testing::Range(0, 3), testing::Range(1, 5)));

TEST(Slices, ScalarSymbol_IsOneRecordEitherWay) {
  for (int storage = 0; storage < 3; ++storage) {
    ZDB db;
    const auto symbol = db.symbolFactory(storage, "s", 0, TypeVariable, 0, 3, "");
    EXPECT_EQ(Handle(symbol->findSlice(nullptr)), nullptr);
    EXPECT_EQ(Handle(symbol->getLast()), nullptr);
    const double row[] = {1, 2, 3, 4, 5};
    symbol->addRecord(nullptr, row);
    for (auto* raw : {symbol->findSlice(nullptr), symbol->findSliceBackwards(nullptr),
                      symbol->getBegin(), symbol->getLast(), symbol->find(nullptr)}) {
      const Handle handle(raw);
      ASSERT_NE(handle, nullptr);
      EXPECT_EQ(handle->getValues()[4], 5);
      EXPECT_FALSE(handle->hasNext(db.labels()));
      EXPECT_FALSE(handle->hasPrev());
      EXPECT_FALSE(handle->moveNext(0));
      EXPECT_EQ(handle->getValues()[0], 1);
    }
  }
}

// A symbol that is filled and cleared for ever, as solutions are.
TEST(Slices, ClearedSymbol_GivesItsMemoryBack) {
  ZDB db;
  const auto symbol = db.symbolFactory(2, "p", 1, TypeParameter, 0, 0, "");
  const test::Allocations allocations;
  const auto fill = [&] {
    for (int label = 1; label < 1000; ++label)
      symbol->storeRow(&label, std::array{1.0}.data(), true);
    return allocations.liveBytes();
  };
  const auto filled = fill();
  for (int i = 0; i < 3; ++i) {
    symbol->clear();
    EXPECT_LE(allocations.liveBytes(), 0);
    EXPECT_EQ(fill(), filled);
  }
  EXPECT_EQ(Handle(symbol->getLast())->getKeys()[0], 999);
}

}  // namespace
