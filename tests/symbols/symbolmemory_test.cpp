// Memory of symbols and handles, which no host can see.
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "core/zdb.h"
#include "support/allocations.h"
#include "symbols/symbolfactory.h"
#include "symbols/zdbsymboliterator.h"

namespace {

using namespace zdb;

/// Records with the labels 1 to `last` and their numbers as values.
void fill(AbstractZDBSymbol& symbol, int last) {
  for (int label = 1; label <= last; ++label) {
    const double value = label;
    symbol.storeRow(&label, &value, true);
  }
}

// A symbol that is filled and cleared for ever, as solutions are.
TEST(SymbolMemory, ClearedTree_GivesItBack) {
  ZDB db(makeSymbol);
  const auto symbol = db.symbolFactory(2, "p", 1, TypeParameter, 0, 0, "");
  const test::Allocations allocations;
  fill(*symbol, 1000);
  const auto filled = allocations.liveBytes();
  for (int i = 0; i < 3; ++i) {
    symbol->clear();
    EXPECT_LE(allocations.liveBytes(), 0);
    fill(*symbol, 1000);
    EXPECT_EQ(allocations.liveBytes(), filled);
  }
}

// Handles come from memory that is used again, also by another kind of handle.
TEST(SymbolMemory, ManyHandlesAtOnce_AreDistinctAndReusable) {
  ZDB db(makeSymbol);
  const auto symbol = db.symbolFactory(0, "p", 1, TypeParameter, 0, 0, "");
  fill(*symbol, 10);
  for (int round = 0; round < 3; ++round) {
    std::vector<std::unique_ptr<AbstractZDBSymbolIterator>> handles;
    for (int n = 0; n < 9000; ++n) {
      const int label = 1 + n % 10;
      handles.emplace_back(n % 3 == 0 ? ZDB::symbolIteratorFactory(db.universe(), label)
                                      : symbol->find(&label));
    }
    for (int n = 0; n < 9000; ++n) {
      ASSERT_EQ(handles[n]->getKeys()[0], 1 + n % 10);
      if (n % 3 != 0) {
        ASSERT_EQ(*handles[n]->getValues(), 1 + n % 10);
      }
    }
  }
}

}  // namespace
