// The C++ header, where the tool and the example do not use it.
#include "zdbcc.hpp"

#include <gtest/gtest.h>

#include <ranges>

#include "support/allocations.h"

namespace {

using zdbcc::Database;
using zdbcc::Symbol;

static_assert(std::ranges::input_range<zdbcc::Records>);
static_assert(std::is_nothrow_move_assignable_v<Database> && !std::is_copy_assignable_v<Database>);

/// s has 1200 elements, more than two pieces: j0 to j1199, with their numbers as texts.
struct Cpp : testing::Test {
  Database db;
  Symbol s = db.addSet("s");
  Symbol p = db.addParameter("p", 2);

  Cpp() {
    for (int i = 0; i < 1200; ++i) s.addText({"j" + std::to_string(i)}, std::to_string(i));
  }
};

/// The kind of what is thrown, or for a bulk call the row.
template <typename Call>
std::int64_t thrown(Call call) {
  try {
    call();
  } catch (const zdbcc::BulkError& error) {
    EXPECT_STREQ(error.what(), error.result().text);
    return error.result().row;
  } catch (const zdbcc::Error& error) {
    EXPECT_EQ(error.reason().empty(), error.kind() != ZDBX_SYSTEM) << error.what();
    return error.kind();
  }
  return ZDBX_NONE;
}

TEST_F(Cpp, Failures_HaveTheirKindAndUndoBulkCalls) {
  EXPECT_FALSE(s.find({"nowhere"}));  // leaves an error, which is not that of the next call
  EXPECT_EQ(thrown([&] { s.find({"\t"}); }), ZDBX_LABEL);
  EXPECT_EQ(thrown([&] { static_cast<void>(p[{"j1", "j1"}]); }), ZDBX_NOT_FOUND);
  EXPECT_EQ(thrown([&] { p.records({"j1"}); }), ZDBX_ARGUMENT);
  EXPECT_EQ(thrown([&] { s.addText({"J1"}); }), ZDBX_EXISTS);
  EXPECT_EQ(thrown([&] { Database nowhere("no such file"); }), ZDBX_SYSTEM);
  const std::vector<std::int32_t> numbers = {1, 2, 4711};
  const std::vector<double> levels = {1, 2, 3};
  const std::span<const std::int32_t> keys[] = {numbers, numbers};
  EXPECT_EQ(thrown([&] { p.put(keys, levels); }), 2);
  EXPECT_EQ(thrown([&] { p.put(keys, std::span(levels).first(2)); }), ZDBX_ARGUMENT);
  EXPECT_EQ(p.size(), 0);
}

TEST_F(Cpp, MovedDatabase_KeepsItsSymbols) {
  Database other;
  other = std::move(db);
  EXPECT_EQ(thrown([&] { db.findSymbol("s"); }), ZDBX_ARGUMENT);  // NOLINT(bugprone-use-after-move)
  db = Database(std::move(other));
  EXPECT_EQ(db.symbol("S").size(), s.size());
}

TEST_F(Cpp, Records_HaveTextsAndLabelsWhereverTheseAreFirstAskedFor) {
  const Symbol t = db.add("t", 1, ZDB_ALIAS);  // of symbol number 0
  for (const int first : {0, 511, 512, 1199}) {
    int row = -1;
    for (const auto& record : t.records()) {
      if (++row < first) continue;
      ASSERT_EQ(record.label(0), std::string("j").append(record.text()));
      p.set({record.label(0), "j0"}, row);  // does not disturb the walk
    }
    EXPECT_EQ(row, 1199);
  }
  EXPECT_EQ(std::ranges::distance(p.records({ZDB_ANY_LABEL, "j0"})), 1200);
  EXPECT_EQ(std::ranges::distance(p.records({ZDB_ANY_LABEL, "nowhere"})), 0);
}

TEST_F(Cpp, RecordsWithoutMemory_LeaveNothingOpen) {
  for (std::uint64_t failing = 1, isDone = 0; isDone == 0; ++failing) {
    const zdb::test::Allocations allocations(failing);
    try {
      isDone = s.records().begin()->number(0) == 1 ? 1 : 2;
    } catch (const std::exception&) {
      zdbx_clear_error(db.handle());
    }
    EXPECT_EQ(allocations.liveBytes(), 0) << failing;
  }
}

}  // namespace
