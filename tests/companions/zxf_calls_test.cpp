// What scripts of single calls cannot say: nulls everywhere, many errors, records outside domains.
#include <gtest/gtest.h>

#include "support/zxffunctions.h"
#include "zxf_testing.h"

namespace {

using namespace zxftest;

TEST(ZxfCalls, NullHandle_FailsEverywhere) {
  const std::vector<zdb::script::Slot> nulls(20);
  for (const auto& [name, function] : functionTable()) {
    EXPECT_EQ(function.plain.call(function.plain.function, nulls.data()).integer, 0) << name;
  }
  int error = 0;
  char text[256];
  EXPECT_EQ(C__zxfOpenRead(nullptr, "a", &error), 0);
  EXPECT_EQ(error, static_cast<int>(Errc::NullArgument));
  EXPECT_EQ(C__zxfErrorStr(nullptr, 22, text), 1);
  XFree(nullptr);
  XCreate(nullptr);
}

TEST(ZxfCalls, ErrorCount_GrowsWhileNumbersAreTakenOff) {
  const Zxf zxf;
  for (int i = 0; i < 3; ++i) EXPECT_EQ(C__zxfClose(zxf), 0);
  EXPECT_EQ(C__zxfGetSpecialValues(zxf, nullptr), 0);
  EXPECT_EQ(zxf.takeErrors(), (std::vector<int>{42, 42, 42, 40}));
  EXPECT_EQ(C__zxfErrorCount(zxf), 4);
}

// Strict domains of two-dimensional parameters, each with records (1,1), (1,3), (3,1), (3,3).
TEST(ZxfCalls, StrictDomains_AreCheckedAndRecordsOutsideLeftOut) {
  using Keys = std::vector<int>;
  const double value = 0;
  const Keys all = {1, 1, 1, 3, 3, 1, 3, 3};
  const struct {
    const char* first;
    const char* second;
    Errc expected;  // of the call that sets the domain
    Keys kept;
  } kCases[] = {
      {"I", "*", Errc::None, {1, 1, 1, 3}},
      {"*", "k", Errc::None, {1, 1, 3, 1}},
      {"i", "i", Errc::None, {1, 1}},
      {"any", "*", Errc::None, all},
      {"ij", "*", Errc::BadDomain, all},
      {"i", "p", Errc::BadDomain, all},
      {"i", "nobody", Errc::UnknownDomain, all},
      {"i", "q", Errc::UnknownDomain, all},  // itself
      {"i", nullptr, Errc::NullArgument, all},
  };
  const TemporaryFolder folder;
  for (const auto& c : kCases) {
    const Zxf zxf;
    EXPECT_EQ(zxf.openWrite(folder.path("a")), 0);
    writeContent(zxf, {{"a", "b", "c"},
                       {},
                       {{"i", 1, 0, 0, "", {1, 2}, {0, 0}},
                        {"ij", 2, 0},
                        {"p", 1},
                        {"k", 1, 4, 1},
                        {"any", 1, 4}}});
    const char* names[] = {c.first, c.second};
    const char* later[] = {"later", "*"};
    const int strict = c.expected == Errc::None ? 1 : 0;
    EXPECT_EQ(C__zxfDataWriteRawStart(zxf, "q", "", 2, 1, 0), 1);
    EXPECT_EQ(C__zxfSymbolSetDomain(zxf, names), strict);
    EXPECT_EQ(C__zxfGetLastError(zxf), static_cast<int>(c.expected));
    for (std::size_t i = 0; i < all.size(); i += 2) C__zxfDataWriteRaw(zxf, &all[i], &value);
    EXPECT_EQ(zxf.takeErrors(), std::vector<int>((all.size() - c.kept.size()) / 2, 63));
    EXPECT_EQ(C__zxfDataWriteDone(zxf), 1);
    EXPECT_EQ(C__zxfSymbolSetDomainX(zxf, 6, later), 1 - strict);
    EXPECT_EQ(C__zxfClose(zxf), 1);
    const Symbol q = readContent(folder.path("a")).symbols[5];
    EXPECT_EQ(q.keys, c.kept);
    EXPECT_EQ(q.domain, strict == 1 ? Domain::Strict : Domain::Relaxed);
    const std::string first = *c.first == 'I' ? "i" : c.first;  // as its symbol spells it
    EXPECT_EQ(q.domains[0], strict == 1 ? first : "later");
    EXPECT_EQ(q.domains[1], strict == 1 ? c.second : "*");
  }
}

}  // namespace
