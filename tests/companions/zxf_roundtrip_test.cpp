// What is written comes back: every type and dimension, values bit by bit, special values.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <random>
#include <set>

#include "zxf/special.h"
#include "zxf_testing.h"

namespace {

using namespace zdb::test::zxf;

constexpr int kBlock = zdb::zxfile::kMaxBlockRecords;

// Distinct random keys of `dim` positions over `labels` labels, so dense or so sparse.
Symbol randomKeys(std::string name, int dim, int type, int labels, int count) {
  std::mt19937 random(dim * 1000 + labels);
  std::set<std::vector<int>> keys;
  for (int i = 0; i < count; ++i) {
    std::vector<int> key(dim);
    for (int& label : key) label = static_cast<int>(random() % labels) + 1;
    keys.insert(key);
  }
  Symbol symbol{std::move(name), dim, type, type == 3 ? 53 : type, "x"};
  for (const std::vector<int>& key : keys) {
    symbol.keys.insert(symbol.keys.end(), key.begin(), key.end());
    for (int c = 0; c < symbol.width(); ++c) {
      symbol.values.push_back(c * 0.25 + static_cast<double>(symbol.values.size()));
    }
  }
  return symbol;
}

// Symbols of all types with each dimension.
Content allShapes() {
  Content content{makeLabels(3)};
  for (int dim = 0; dim <= 20; ++dim) {
    for (int type = dim == 0 ? 1 : 0; type <= 3; ++type) {
      content.symbols.push_back(randomKeys(numbered("s", dim * 10 + type), dim, type, 3, 5));
    }
  }
  return content;
}

// Values that are difficult for each kind of column and its exception values, and their neighbours.
double awkward(std::mt19937_64& random) {
  static const double kValues[] = {0.0,  1.0,   0.1,     1.0 / 3,   1e15,      0x1p51, 0x1p53,
                                   1e22, 1e300, 0x1p-50, 0x1p-1022, kInfinity, NAN,    1e-320};
  const auto bits = std::bit_cast<std::uint64_t>(kValues[random() % std::size(kValues)]);
  return std::bit_cast<double>((bits + random() % 3 - 1) ^ (random() % 2 << 63));
}

// Decimals with anything from none to all of them odd.
Symbol mixedColumn(int seed) {
  std::mt19937_64 random(seed);
  const int count = static_cast<int>(random() % 3000) + 1;
  const double power = std::pow(10.0, static_cast<double>(random() % 16));
  const unsigned oddShare = 1U << (random() % 9);  // one in so many values is odd
  return column(numbered("seed", seed), count, [&](int) {
    if (random() % oddShare == 0) return awkward(random);
    return (static_cast<double>(random() % 2000000) - 1000000) / power;
  });
}

Content columns() {
  std::mt19937_64 random(7);
  const double nan = std::bit_cast<double>(0x7FF8000000000123);
  const auto noise = [&](int) { return std::bit_cast<double>(random() & 0x7FEFFFFFFFFFFFFF); };
  Content content{makeLabels(20000)};
  content.symbols = {
      column("noise", 20000, noise),
      column("constant", 300, [&](int) { return nan; }),
      column("decimals15", 300, [](int i) { return i * 1001 / 1e15; }),
      column("special", 300, [](int) { return kInfinity; }),
      column("specials", 300, [](int i) { return zdb::zxfile::kDefaultSpecials[i % 5]; }),
      column("lessOne", kBlock - 1, [](int i) { return i; }),
      column("block", kBlock, [](int i) { return i * 0.5; }),
      column("andOne", kBlock + 1, [](int) { return 7.0; })};
  for (int seed = 1; seed <= 200; ++seed) content.symbols.push_back(mixedColumn(seed));
  return content;
}

Content keys() {
  // The same keys as those of the set, which is its domain.
  Symbol inside = randomKeys("inside", 1, 1, 100000, 700);
  inside.domain = Domain::Strict;
  inside.domains = {"steps"};
  return {makeLabels(100000),
          {},
          {randomKeys("steps", 1, 0, 100000, 700), inside, randomKeys("dense2", 2, 1, 150, 100000),
           randomKeys("sparse3", 3, 1, 400, 50000), randomKeys("variable", 3, 2, 400, 20000),
           randomKeys("steps2", 2, 1, 100000, 2000), randomKeys("keys20", 20, 1, 3, 20000)}};
}

Content limits() {
  Symbol symbol{std::string(63, 'n'), 1, 0, -2147483647 - 1, std::string(255, 'e'), {5}, {1}};
  symbol.domain = Domain::Relaxed;
  symbol.domains = {std::string(255, 'd')};
  return {{std::string(63, 'x'), "", "\"", "'", "\xC3\xA9"}, {std::string(255, 't')}, {symbol}};
}

Content thousandsOfSymbols() {
  Content content{makeLabels(3)};
  for (int i = 0; i < 3000; ++i)
    content.symbols.push_back(randomKeys(numbered("s", i), 1, i % 4, 3, 1));
  return content;
}

// A section that packs better than a reader accepts is padded.
Content repeatedTexts() {
  return {{}, std::vector<std::string>(20000, std::string(200, 'a'))};
}

TEST(ZxfRoundTrip, GivesBackWhatWasWritten) {
  const TemporaryFolder folder;
  Content (*const makers[])() = {smallContent, allShapes,          columns,      keys,
                                 limits,       thousandsOfSymbols, repeatedTexts};
  for (const auto& make : makers) {
    const Content content = make();
    writeContent(folder.path("a"), content);
    const Content back = readContent(folder.path("a"));
    EXPECT_TRUE(back == content) << "number " << &make - makers;
  }
}

TEST(ZxfRoundTrip, OrdinaryData_TakesLittleSpace) {
  std::mt19937 random(3);
  const TemporaryFolder folder;
  const auto size = [&](const Content& content) {
    writeContent(folder.path("a"), content);
    return std::filesystem::file_size(folder.path("a"));
  };
  const int count = 50000;
  const Content labels{makeLabels(count)};
  const auto price = [&](int) { return static_cast<double>(random() % 1000000) / 100; };
  // 20 bits of value, hardly anything for consecutive keys.
  EXPECT_LT(size({labels.labels, {}, {column("p", count, price)}}) - size(labels), count * 3);
  EXPECT_LT(size(labels), count * 3.5);  // "l12345"
  EXPECT_LT(size(repeatedTexts()), 20000 * 201 / zdb::zxfile::kMaxExpansion);
}

}  // namespace
