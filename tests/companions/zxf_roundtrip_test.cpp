// What is written comes back: every type and dimension, values bit by bit, special values.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <random>

#include "zxf/special.h"
#include "zxf_testing.h"

namespace {

using namespace zxftest;
using zxfile::kMaxBlockRecords;

struct Case {
  const char* name;
  std::function<Content()> make;
};

void PrintTo(const Case& c, std::ostream* out) {
  *out << c.name;
}

// A parameter over one dimension whose n-th value is value(n).
Content column(int count, const std::function<double(int)>& value) {
  Content content{makeLabels(count), {}, {{"p", 1, 1, 0, "", {}, Domain::None, {}}}};
  for (int i = 0; i < count; ++i) content.symbols[0].records.push_back({{i + 1}, {value(i)}});
  return content;
}

// Symbols of all types with `dim` dimensions, two records each where the dimension allows it.
Content allTypes(int dim) {
  Content content{makeLabels(3), {"t"}, {}};
  for (int type = dim == 0 ? 1 : 0; type <= 3; ++type) {
    Symbol symbol{numbered("s", type), dim, type, type == 3 ? 53 : type, "x", {}, Domain::None, {}};
    const int width = type < 2 ? 1 : 5;
    for (int r = 0; r < (dim == 0 ? 1 : 2); ++r) {
      Record record{std::vector<int>(dim, 2), {}};
      if (r == 1) record.key.back() = 3;
      for (int c = 0; c < width; ++c) record.values.push_back(r + c * 0.25);
      symbol.records.push_back(record);
    }
    content.symbols.push_back(symbol);
  }
  return content;
}

// Distinct random keys of `dim` positions over `labels` labels, so dense or so sparse.
Content randomKeys(int dim, int labels, int count, bool variable) {
  std::mt19937 random(dim * 1000 + labels);
  std::uniform_int_distribution<int> label(1, labels);
  Content content{
      makeLabels(labels), {}, {{"p", dim, variable ? 2 : 1, 0, "", {}, Domain::None, {}}}};
  std::vector<Record>& records = content.symbols[0].records;
  for (int i = 0; i < count; ++i) {
    Record record{{}, {}};
    for (int d = 0; d < dim; ++d) record.key.push_back(label(random));
    for (int c = 0; c < (variable ? 5 : 1); ++c) record.values.push_back(c * 1000.0 + i);
    records.push_back(record);
  }
  const auto before = [](const Record& a, const Record& b) { return a.key < b.key; };
  std::sort(records.begin(), records.end(), before);
  const auto same = [](const Record& a, const Record& b) { return a.key == b.key; };
  records.erase(std::unique(records.begin(), records.end(), same), records.end());
  return content;
}

// Values that each kind of column and each way of leaving it has trouble with.
double awkward(std::mt19937_64& random) {
  static const double kValues[] = {0.0,
                                   -0.0,
                                   1.0,
                                   -1.0,
                                   0.1,
                                   0.3,
                                   1e15,
                                   -1e15,
                                   2251799813685248.0,
                                   2251799813685249.0,
                                   9007199254740993.0,
                                   1e22,
                                   1e23,
                                   1e300,
                                   1.7976931348623157e308,
                                   2.2250738585072014e-308,
                                   4.9406564584124654e-324,
                                   -4.9406564584124654e-324,
                                   1e-320,
                                   1.0 / 3,
                                   123456.789,
                                   fromBits(0x7FF8000000000000),
                                   fromBits(0x7FF8000000000001),
                                   fromBits(0xFFF8000000000000),
                                   fromBits(0x7FF4000000000000),
                                   1.0 / 0.0,
                                   -1.0 / 0.0,
                                   0.1 + 0.2,
                                   1e-15,
                                   0.000000000000001};
  return kValues[random() % std::size(kValues)];
}

// A column of decimals with anything from none to all of them odd.
Symbol mixedColumn(unsigned seed) {
  std::mt19937_64 random(seed);
  const int count = static_cast<int>(random() % 3000) + 1;
  const double power = std::pow(10.0, static_cast<double>(random() % 6));
  const unsigned oddShare = 1U << (random() % 9);  // one in so many values is odd
  Symbol symbol = column(count, [&](int) {
                    if (random() % oddShare == 0) return awkward(random);
                    return (static_cast<double>(random() % 2000000) - 1000000) / power;
                  }).symbols[0];
  symbol.name = numbered("seed", static_cast<int>(seed));
  return symbol;
}

const Case kCases[] = {
    {"nothing", [] { return Content{}; }},
    {"small", smallContent},
    {"scalars", [] { return allTypes(0); }},
    {"dim1", [] { return allTypes(1); }},
    {"dim4", [] { return allTypes(4); }},
    {"dim5", [] { return allTypes(5); }},
    {"dim20", [] { return allTypes(20); }},
    {"oneBlockLessOne", [] { return column(kMaxBlockRecords - 1, [](int i) { return i; }); }},
    {"oneBlock", [] { return column(kMaxBlockRecords, [](int i) { return i * 0.5; }); }},
    {"oneBlockAndOne", [] { return column(kMaxBlockRecords + 1, [](int) { return 7.0; }); }},
    {"dense2", [] { return randomKeys(2, 200, 300000, false); }},
    {"sparse3", [] { return randomKeys(3, 400, 50000, false); }},
    {"sparse3Variable", [] { return randomKeys(3, 400, 20000, true); }},
    {"wideSteps1", [] { return randomKeys(1, 300000, 2000, false); }},
    {"wideSteps2", [] { return randomKeys(2, 100000, 2000, false); }},
    {"keys20", [] { return randomKeys(20, 3, 20000, false); }},
    {"noise",
     [] {
       std::mt19937_64 random(7);
       return column(20000, [&](int) { return fromBits(random() & 0x7FEFFFFFFFFFFFFF); });
     }},
    {"constantNaN", [] { return column(300, [](int) { return fromBits(0x7FF8000000000123); }); }},
    {"constantSpecial", [] { return column(300, [](int) { return 1.0 / 0.0; }); }},
    {"onlySpecials",
     [] { return column(300, [](int i) { return zxfile::kDefaultSpecials[i % 5]; }); }},
    {"limits",
     [] {
       Content content{{std::string(63, 'x'), "", "\"", "'", "\xC3\xA9"},
                       {std::string(255, 't')},
                       {{std::string(63, 'n'),
                         1,
                         0,
                         -2147483647 - 1,
                         std::string(255, 'e'),
                         {{{5}, {1}}},
                         Domain::Relaxed,
                         {std::string(255, 'd')}}}};
       return content;
     }},
    {"thousandsOfSymbols",
     [] {
       Content content{makeLabels(3), {}, {}};
       for (int i = 0; i < 3000; ++i) {
         content.symbols.push_back(
             {numbered("s", i), 1, i % 4, 0, "", {{{1 + i % 3}, {}}}, Domain::None, {}});
         content.symbols.back().records[0].values.resize(i % 4 < 2 ? 1 : 5, i);
       }
       return content;
     }},
    // A section that packs better than a reader accepts is padded.
    {"repeatedTexts",
     [] {
       Content content;
       content.texts.assign(20000, std::string(200, 'a'));
       return content;
     }},
};

class RoundTrip : public ::testing::TestWithParam<Case> {};

TEST_P(RoundTrip, GivesBackWhatWasWritten) {
  const ScratchFolder folder;
  const Content content = GetParam().make();
  writeContent(folder.path("a"), content);
  ASSERT_FALSE(HasFatalFailure());
  EXPECT_TRUE(readContent(folder.path("a")) == content);
}

INSTANTIATE_TEST_SUITE_P(Zxf, RoundTrip, ::testing::ValuesIn(kCases),
                         [](const auto& c) { return c.param.name; });

TEST(ZxfRoundTrip, MixedColumns_SurviveBitByBit) {
  const ScratchFolder folder;
  Content content{makeLabels(3000), {}, {}};
  for (unsigned seed = 1; seed <= 200; ++seed) content.symbols.push_back(mixedColumn(seed));
  writeContent(folder.path("a"), content);
  const Content back = readContent(folder.path("a"));
  ASSERT_EQ(back.symbols.size(), content.symbols.size());
  for (std::size_t s = 0; s < back.symbols.size(); ++s) {
    EXPECT_TRUE(back.symbols[s] == content.symbols[s]) << content.symbols[s].name;
  }
}

TEST(ZxfRoundTrip, TwoDecimalValues_TakeLittleSpace) {
  std::mt19937 random(3);
  const ScratchFolder folder;
  const int count = 50000;
  writeContent(folder.path("a"), column(count, [&](int) {
                 return std::round(static_cast<double>(random() % 1000000)) / 100;
               }));
  // 20 bits of value, hardly anything for consecutive keys, 3 bytes for each label "l12345".
  EXPECT_LT(readBytes(folder.path("a")).size(), count * 6.5);
}

// Values that stand for something special in the caller's data, in the order of the slots.
const double kOwn[7] = {1e30, 2e30, 3e30, 4e30, 5e30, 6e30, 7e30};

std::vector<double> readValues(const Zxf& zxf) {
  std::vector<double> values;
  int records = 0;
  EXPECT_EQ(C__zxfDataReadRawStart(zxf, 1, &records), 1);
  for (int i = 0; i < records; ++i) {
    int key[1];
    double row[5];
    int changed = 0;
    EXPECT_EQ(C__zxfDataReadRaw(zxf, key, row, &changed), 1);
    values.push_back(row[0]);
  }
  return values;
}

TEST(ZxfSpecialValues, AreMappedOnWritingAndOnReading) {
  const ScratchFolder folder;
  const double infinity = std::numeric_limits<double>::infinity();
  const std::vector<double> data = {1e30, 2e30, 3e30, 4e30, 5e30, 6e30, 7e30, infinity, 1.0};
  const Zxf zxf;
  double values[7];
  EXPECT_EQ(C__zxfGetSpecialValues(zxf, values), 1);
  EXPECT_TRUE(std::equal(values, values + 5, zxfile::kDefaultSpecials.begin(),
                         [](double a, double b) { return a == b || (a != a && b != b); }));
  ASSERT_EQ(zxf.openWrite(folder.path("a")), 0);
  EXPECT_EQ(C__zxfSetSpecialValues(zxf, kOwn), 1);
  C__zxfUELRegisterRawStart(zxf);
  for (const std::string& label : makeLabels(9)) C__zxfUELRegisterRaw(zxf, label.c_str());
  C__zxfUELRegisterDone(zxf);
  C__zxfDataWriteRawStart(zxf, "p", "", 1, 1, 0);
  for (int i = 1; i <= 9; ++i) EXPECT_EQ(C__zxfDataWriteRaw(zxf, &i, &data[i - 1]), 1);
  EXPECT_EQ(C__zxfDataWriteDone(zxf), 1);
  EXPECT_EQ(C__zxfClose(zxf), 1);

  // The handle that wrote them delivers what it recognised.
  ASSERT_EQ(zxf.openRead(folder.path("a")), 0);
  EXPECT_EQ(readValues(zxf), data);
  // Slots 5 and 6 are no marks in data; an infinity that was not declared special is a number.
  const double other[7] = {-1, -2, -3, -4, -5, -6, -7};
  EXPECT_EQ(C__zxfSetReadSpecialValues(zxf, other), 1);
  EXPECT_EQ(readValues(zxf), (std::vector<double>{-1, -2, -3, -4, -5, 6e30, 7e30, infinity, 1.0}));
  EXPECT_EQ(C__zxfGetSpecialValues(zxf, values), 1);
  EXPECT_TRUE(std::equal(values, values + 7, kOwn));
}

}  // namespace
