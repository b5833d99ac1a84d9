// Special values, information, labels.

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

#include "client.h"

namespace {

using Special = std::array<double, ZDB_SV_COUNT>;

std::array<std::uint64_t, 5> bits(const Special& values) {
  return std::bit_cast<std::array<std::uint64_t, 5>>(values);
}

const std::array<std::uint64_t, 5> kLibraryBits = {
    std::bit_cast<std::uint64_t>(1.0E300), 0x7FF8000000000000U,
    std::bit_cast<std::uint64_t>(std::numeric_limits<double>::infinity()),
    std::bit_cast<std::uint64_t>(-std::numeric_limits<double>::infinity()), 1U};

TEST(SpecialValues, Changing_GivesTheStateAndKeepsTheLibrarys) {
  const double otherNan = std::bit_cast<double>(std::uint64_t{0x7FF8000000000001});
  const struct {
    int index;
    double value;
    int state;
  } cases[] = {{0, 1.0E300, 0}, {4, 0.0, 1}, {0, 2.0E300, 2}, {1, otherNan, 2}, {3, -1.0E299, 2}};
  for (const auto& c : cases) {
    Database db;
    Special values;
    Special read;
    EXPECT_EQ(c__zdbgetspecialvalues(db, values.data()), 1);
    EXPECT_EQ(bits(values), kLibraryBits);
    values[static_cast<std::size_t>(c.index)] = c.value;
    int state = -1;
    EXPECT_EQ(c__zdbsetspecialvaluesx(db, values.data(), &state), 1);
    EXPECT_EQ(state, c.state) << c.index;
    EXPECT_EQ(c__zdbgetuserspecialvalues(db, read.data()), 1);
    EXPECT_EQ(bits(read), bits(values));
    EXPECT_EQ(c__zdbgetspecialvalues(db, read.data()), 1);
    EXPECT_EQ(bits(read), kLibraryBits);
  }
}

TEST(SpecialValues, RecordValues_AreTranslatedBothWays) {
  Database db;
  zdbSymbol_t variable = db.add("x", 1, ZDB_VARIABLE, 3);
  const int key[] = {db.label("a")};
  const Special mine = {-1, -2, 1e20, -1e20, 0};
  c__zdbsetspecialvalues(db, mine.data());
  EXPECT_EQ(c__zdbmergerecordint(db, variable, key, 1, 0, nullptr, 1, mine.data()), 1);
  Record record(db, variable, {"a"});
  Special read;
  int number;
  EXPECT_EQ(c__zdbgetrecordraw(db, record, 1, &number, read.data()), 1);
  EXPECT_EQ(read, mine);
  c__zdbsetlevel(db, record, 1e20);

  Special library;
  c__zdbgetspecialvalues(db, library.data());
  c__zdbsetspecialvalues(db, library.data());
  c__zdbgetrecordraw(db, record, 1, &number, read.data());
  EXPECT_EQ(read[0], library[ZDB_SV_PLUS_INFINITY]) << "stored as the library's own";
  EXPECT_EQ(bits(read)[1], kLibraryBits[1]);
  EXPECT_EQ(bits(read)[4], kLibraryBits[4]);
}

TEST(Info, EachKey_AnswersAndClearsTheRest) {
  Database db;
  zdbSymbol_t set = db.add("s", 1, ZDB_SET);
  db.add("t", 1, ZDB_ALIAS, db.info(set, ZDB_SYMBOL_NUMBER));
  db.label("a");
  db.label("A");
  db.label("b");
  const int expected[] = {1, 2, 2, 0, 0};
  for (int key = 0; key < 5; ++key) {
    int integer = -1;
    double real = -1;
    char text[ZDB_TEXT_SIZE] = "untouched";
    EXPECT_EQ(c__zdbinfo(db, key, &integer, &real, text), 1);
    EXPECT_EQ(integer, expected[key]) << key;
    EXPECT_EQ(real, 0.0);
    EXPECT_STREQ(text, "");
  }
  for (int key : {-1, 5}) {
    int integer = -1;
    EXPECT_EQ(c__zdbinfo(db, key, &integer, nullptr, nullptr), 0);
    EXPECT_EQ(integer, 0);
    EXPECT_EQ(db.error(), "infoKey needs to be between 0 and 5, saw " + std::to_string(key));
  }
}

TEST(Labels, MergingAndFinding_FoldsCaseAndTrims) {
  Database db;
  int number;
  EXPECT_EQ(db.label("Oat Meal"), 1);
  EXPECT_EQ(db.label("OAT MEAL  "), 1);
  EXPECT_EQ(db.label("   "), 0);
  EXPECT_EQ(c__zdbfinduel(db, "oat meal", &number), 1);
  EXPECT_EQ(number, 1);
  EXPECT_EQ(c__zdbfinduel(db, "rye", &number), 1);
  EXPECT_EQ(number, -1);
  char text[ZDB_TEXT_SIZE];
  EXPECT_EQ(c__zdbgetuelbyindex(db, 1, text), 1);
  EXPECT_STREQ(text, "Oat Meal");
  for (int outside : {0, 2, -1}) {
    EXPECT_EQ(c__zdbgetuelbyindex(db, outside, text), 0);
    EXPECT_EQ(db.error(), "Uel index " + std::to_string(outside) + " out of range [1,1]");
  }
}

TEST(Labels, BrokenRules_AreRefusedWithTheirMessageAndAddNothing) {
  const std::string longest(63, 'x');
  const struct {
    std::string text;
    std::string message;  // empty: accepted; "silent": refused without one
  } cases[] = {
      {longest, ""},
      {longest + "   ", ""},
      {"it's", ""},
      {longest + "y", "Label exceeds maximum size of 63: >" + longest + "y<"},
      {"a'b\"c", "Label with single and double quote not allowed >a'b\"c<"},
      {"tab\tbed", "silent"},
  };
  for (const auto& c : cases) {
    Database db;
    int number = -7;
    EXPECT_EQ(c__zdbmergeuel(db, c.text.c_str(), &number), c.message.empty() ? 1 : 0) << c.text;
    EXPECT_EQ(db.error(), c.message == "silent" ? "" : c.message);
    int labels;
    c__zdbinfo(db, ZDB_INFO_LABELS, &labels, nullptr, nullptr);
    EXPECT_EQ(labels, c.message.empty() ? 1 : 0);
  }
  Database db;
  int number;
  EXPECT_EQ(c__zdbmergeuel(db, std::string(10000, 'x').c_str(), &number), 0);
  EXPECT_EQ(db.error().size(), 255U) << "the message is cut, not the program";
}

TEST(Labels, UsedLabels_AreCountedPerOccurrence) {
  Database db;
  zdbSymbol_t p = db.add("p", 2);
  zdbSymbol_t scalar = db.add("c", 0);
  db.merge(p, {"a", "a"});
  db.merge(p, {"a", "b"});
  const int unchecked[] = {1, 77};
  EXPECT_EQ(c__zdbmergerecordint(db, p, unchecked, 0, 0, nullptr, 0, nullptr), 1);
  db.label("unused");
  const zdbSymbol_t list[] = {p, scalar};
  int counters[4] = {9, 9, 9, 9};
  EXPECT_EQ(c__zdbgetsymbolsuels(db, list, 2, counters, 4), 1) << db.error();
  EXPECT_EQ(std::vector<int>(counters, counters + 4), (std::vector<int>{0, 4, 1, 0}));
  EXPECT_EQ(c__zdbgetsymbolsuels(db, list, 2, counters, 3), 0);
  EXPECT_EQ(db.error(), "Uel list size (3) too short for 4 uels");
}

}  // namespace
