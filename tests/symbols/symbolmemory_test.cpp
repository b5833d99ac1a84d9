// Memory of symbols and handles, which no host can see.
#include <gtest/gtest.h>

#include <memory>
#include <utility>
#include <vector>

#include "core/zdb.h"
#include "support/allocations.h"
#include "symbols/symbolfactory.h"
#include "symbols/zdbsymboliterator.h"

namespace zdb {
namespace {

// A symbol that is filled and cleared for ever, as solutions are, and many handles on it. Their
// memory is used again, also by another kind of handle.
TEST(SymbolMemory, ClearedSymbolsAndFreedHandles_GiveItBack) {
  ZDB db(makeSymbol);
  const auto symbol = db.symbolFactory(2, "p", 1, TypeParameter, 0, 0, "");
  for (int round = 0; round < 3; ++round) {
    const test::Allocations allocations;
    for (int label = 1; label <= 9000; ++label) {
      const double value = label;
      symbol->storeRow(&label, &value, true);
    }
    std::vector<std::unique_ptr<AbstractZDBSymbolIterator>> handles;
    for (int label = 1; label <= 9000; ++label) {
      handles.emplace_back(label % 3 == round ? ZDB::symbolIteratorFactory(db.universe(), label)
                                              : symbol->find(&label));
    }
    for (int label = 1; label <= 9000; ++label) {
      ASSERT_EQ(handles[label - 1]->getKeys()[0], label);
      ASSERT_EQ(label % 3 == round, handles[label - 1]->getValues() == nullptr);
    }
    symbol->clear();
    std::exchange(handles, {});
    EXPECT_TRUE(allocations.liveBytes() <= 0 || round == 0) << allocations.liveBytes();
  }
}

}  // namespace
}  // namespace zdb
