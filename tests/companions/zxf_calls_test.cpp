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
  EXPECT_EQ(C__zxfUELRegisterRaw(zxf, nullptr), 0);
  EXPECT_EQ(C__zxfGetSpecialValues(zxf, nullptr), 0);
  EXPECT_EQ(C__zxfErrorCount(zxf), 5);
  EXPECT_EQ(zxf.takeErrors(), (std::vector<int>{42, 42, 42, 42, 40}));
  EXPECT_EQ(C__zxfErrorCount(zxf), 5);
  const TemporaryFolder folder;
  EXPECT_EQ(zxf.openWrite(folder.path("a")), 0);
  EXPECT_EQ(C__zxfErrorCount(zxf), 0);
}

// Strict domains of a two-dimensional parameter; records (1,1), (1,3), (3,1), (3,3) follow.
TEST(ZxfCalls, StrictDomains_AreCheckedAndRecordsOutsideLeftOut) {
  using Keys = std::vector<int>;
  const Keys all = {1, 1, 1, 3, 3, 1, 3, 3};
  const struct {
    const char* first;
    const char* second;
    Errc expected;  // of the call that sets the domain
    std::vector<std::string> domains;
    Keys kept;
  } kCases[] = {
      {"I", "*", Errc::None, {"i", "*"}, {1, 1, 1, 3}},
      {"*", "k", Errc::None, {"*", "k"}, {1, 1, 3, 1}},
      {"i", "i", Errc::None, {"i", "i"}, {1, 1}},
      {"any", "*", Errc::None, {"any", "*"}, all},
      {"ij", "*", Errc::BadDomain, {"later", "*"}, all},
      {"i", "p", Errc::BadDomain, {"later", "*"}, all},
      {"i", "nobody", Errc::UnknownDomain, {"later", "*"}, all},
      {"i", "q", Errc::UnknownDomain, {"later", "*"}, all},  // itself
      {"i", nullptr, Errc::NullArgument, {"later", "*"}, all},
  };
  for (const auto& c : kCases) {
    const TemporaryFolder folder;
    const Zxf zxf;
    const double value = 0;
    const auto start = [&](const char* name, int dim, int type) {
      EXPECT_EQ(C__zxfDataWriteRawStart(zxf, name, "", dim, type, 0), 1);
    };
    EXPECT_EQ(zxf.openWrite(folder.path("a")), 0);
    C__zxfUELRegisterRawStart(zxf);
    for (const char* label : {"a", "b", "c"}) C__zxfUELRegisterRaw(zxf, label);
    C__zxfUELRegisterDone(zxf);
    start("i", 1, 0);
    for (const int label : {1, 2}) C__zxfDataWriteRaw(zxf, &label, &value);
    C__zxfDataWriteDone(zxf);
    start("ij", 2, 0);
    C__zxfDataWriteDone(zxf);
    start("p", 1, 1);
    C__zxfDataWriteDone(zxf);
    C__zxfAddAlias(zxf, "k", "i");
    C__zxfAddAlias(zxf, "any", "*");
    start("q", 2, 1);
    const char* names[] = {c.first, c.second};
    const bool strict = c.expected == Errc::None;
    EXPECT_EQ(C__zxfSymbolSetDomain(zxf, names), strict ? 1 : 0);
    EXPECT_EQ(C__zxfGetLastError(zxf), static_cast<int>(c.expected));
    for (std::size_t i = 0; i < all.size(); i += 2) C__zxfDataWriteRaw(zxf, &all[i], &value);
    EXPECT_EQ(zxf.takeErrors(), std::vector<int>((all.size() - c.kept.size()) / 2, 63));
    EXPECT_EQ(C__zxfDataWriteDone(zxf), 1);
    const char* later[] = {"later", "*"};
    EXPECT_EQ(C__zxfSymbolSetDomainX(zxf, 6, later), strict ? 0 : 1);
    EXPECT_EQ(C__zxfClose(zxf), 1);
    const Symbol q = readContent(folder.path("a")).symbols[5];
    EXPECT_EQ(q.keys, c.kept);
    EXPECT_EQ(q.domain, strict ? Domain::Strict : Domain::Relaxed);
    EXPECT_EQ(q.domains, c.domains);
  }
}

}  // namespace
