#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/zdb.h"
#include "symbols/domainviolation.h"

namespace {

using namespace zdb;

// i holds a, b; j holds b, c; ii is an alias of i. Symbols are checked by what is added to them.
class DomainCheckTest : public testing::Test {
 protected:
  DomainCheckTest() {
    i_ = add("i", TypeSet, {db_.universe()});
    j_ = add("j", TypeSet, {db_.universe()});
    alias_ = add("ii", TypeAlias, {db_.universe()});
    for (const char* label : {"a", "b"}) merge(i_, {label});
    for (const char* label : {"b", "c"}) merge(j_, {label});
  }

  AbstractZDBSymbol* add(const char* name, int type, std::vector<AbstractZDBSymbol*> domains,
                         std::vector<const char*> names = {}) {
    names.resize(domains.size(), "named");
    return db_.AddSymbol(name, static_cast<int>(domains.size()), type, 0, "", domains.data(),
                         names.data());
  }
  void merge(AbstractZDBSymbol* symbol, std::vector<const char*> key) {
    ASSERT_TRUE(db_.MergeRecord(symbol, key.data(), nullptr).first);
  }

  // The violations of one symbol as "key:positions", through a walk over that symbol.
  std::vector<std::string> violations(AbstractZDBSymbol* symbol) {
    DomainViolation* violation = nullptr;
    EXPECT_TRUE(db_.GetFirstDVInSymbol(symbol, &violation)) << db_.lastError();
    std::vector<std::string> found;
    if (violation == nullptr) return found;
    do found.push_back(describe(*violation));
    while (violation->moveNext());
    EXPECT_EQ(violation->record(), nullptr);
    db_.FreeDVHandle(violation);
    return found;
  }

  std::string describe(const DomainViolation& violation) const {
    const int dim = violation.symbol()->dim;
    std::vector<int> positions(static_cast<std::size_t>(dim), -1);
    violation.indicate(positions.data());
    std::string text =
        violation.symbol()->name + db_.joinKeys(violation.record()->getKeys(), dim) + ":";
    for (const int position : positions) text += std::to_string(position);
    return text;
  }

  ZDB db_;
  AbstractZDBSymbol* i_;
  AbstractZDBSymbol* j_;
  AbstractZDBSymbol* alias_;
};

using Found = std::vector<std::string>;

TEST_F(DomainCheckTest, Symbol_ReportsEachViolatingRecordOnceWithItsPositions) {
  AbstractZDBSymbol* p = add("p", TypeParameter, {i_, db_.universe(), j_});
  for (const auto& key : std::vector<std::vector<const char*>>{
           {"a", "x", "b"}, {"a", "x", "a"}, {"c", "y", "c"}, {"c", "x", "a"}, {"b", "c", "b"}}) {
    merge(p, key);
  }
  EXPECT_EQ(violations(p),
            (Found{R"(p("a","x","a"):001)", R"(p("c","x","a"):101)", R"(p("c","y","c"):100)"}));
  bool found = false;
  EXPECT_TRUE(db_.CheckSymbolDV(p, found));
  EXPECT_TRUE(found);
  EXPECT_TRUE(i_->domainLookup.empty());  // nothing is left behind
}

TEST_F(DomainCheckTest, Symbol_SeesChangesOfTheSetBetweenChecks) {
  AbstractZDBSymbol* p = add("p", TypeParameter, {i_});
  merge(p, {"c"});
  EXPECT_EQ(violations(p).size(), 1u);
  merge(i_, {"c"});
  EXPECT_TRUE(violations(p).empty());
}

TEST_F(DomainCheckTest, Alias_IsCheckedThroughItsSet) {
  AbstractZDBSymbol* p = add("p", TypeParameter, {alias_});
  merge(p, {"a"});
  merge(p, {"c"});
  EXPECT_EQ(violations(p), (Found{R"(p("c"):1)"}));
}

TEST_F(DomainCheckTest, UncheckedPositions_NeverViolate) {
  AbstractZDBSymbol* p = add("p", TypeParameter, {db_.universe(), nullptr});
  merge(p, {"q", "r"});
  EXPECT_TRUE(violations(p).empty());
  EXPECT_TRUE(violations(add("empty", TypeParameter, {i_})).empty());
}

TEST_F(DomainCheckTest, LabelNumberThatIsNoLabel_Violates) {
  AbstractZDBSymbol* p = add("p", TypeParameter, {i_});
  const double row[] = {1};
  for (const int number : {-3, 999}) {
    db_.AddRecordRaw(p, &number, false, true, row, nullptr, nullptr);
  }
  EXPECT_EQ(violations(p).size(), 2u);
}

TEST_F(DomainCheckTest, Database_WalksSymbolsInTableOrder) {
  bool found = true;
  EXPECT_TRUE(db_.CheckDBDV(found));
  EXPECT_FALSE(found);
  AbstractZDBSymbol* p = add("p", TypeParameter, {i_});
  add("empty", TypeParameter, {i_});
  AbstractZDBSymbol* good = add("good", TypeParameter, {i_});
  AbstractZDBSymbol* q = add("q", TypeSet, {j_, i_});
  merge(p, {"c"});
  merge(good, {"a"});
  merge(q, {"a", "a"});
  merge(q, {"b", "c"});

  DomainViolation* violation = nullptr;
  ASSERT_TRUE(db_.GetFirstDBDV(&violation));
  ASSERT_NE(violation, nullptr);
  Found all;
  do {
    do all.push_back(describe(*violation));
    while (violation->moveNext());
    EXPECT_TRUE(db_.GetFirstDVInNextSymbol(violation, found));
  } while (found);
  EXPECT_EQ(all, (Found{R"(p("c"):1)", R"(q("a","a"):10)", R"(q("b","c"):01)"}));
  db_.FreeDVHandle(violation);
  EXPECT_FALSE(i_->domainLookup.empty());  // kept for the walk
  db_.DomainCheckDone();
  db_.DomainCheckDone();
  EXPECT_TRUE(i_->domainLookup.empty());
  EXPECT_TRUE(db_.CheckDBDV(found));
  EXPECT_TRUE(found);
}

}  // namespace
