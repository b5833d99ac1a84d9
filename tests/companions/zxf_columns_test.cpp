// Records many at a time, in turn with others one by one, and blocks that do not join.
#include <gtest/gtest.h>

#include <random>

#include "fuzz/zxf/reseal.h"
#include "zxf/bytes.h"
#include "zxf/fields.h"
#include "zxf_testing.h"

namespace {

using namespace zdb::test::zxf;

// Half of the triples of labels, more than three blocks.
Content triples(int labels) {
  std::mt19937 random(5);
  Symbol symbol{"t", 3};
  for (int n = 0; n < labels * labels * labels; ++n) {
    if (random() % 2 == 0) continue;
    symbol.keys.insert(symbol.keys.end(),
                       {n / labels / labels + 1, n / labels % labels + 1, n % labels + 1});
    symbol.values.push_back(n);
  }
  return {makeLabels(labels), {}, {symbol}};
}

// A call on columns of its own.
struct Call {
  std::vector<int> labels[3];
  std::vector<double> values;
  int count = -1;

  int read(const Zxf& zxf, int room) {
    int* keys[3];
    for (int d = 0; d < 3; ++d) {
      labels[d].resize(static_cast<std::size_t>(room) + 1);
      keys[d] = labels[d].data();
    }
    values.resize(static_cast<std::size_t>(room) + 1);
    double* column = values.data();
    return C__zxfDataReadRawColumns(zxf, room, keys, 1, &column, 1, &count);
  }
};

TEST(ZxfColumns, TurnsOfOneAndMany_GiveEachRecordOnce) {
  const TemporaryFolder folder;
  const Content content = triples(50);
  const Symbol& all = content.symbols[0];
  const auto label = [&](std::size_t record, int d) { return all.keys[record * 3 + d]; };
  writeContent(folder.path("a"), content);
  for (unsigned seed = 0; seed < 20; ++seed) {
    std::mt19937 random(seed);
    const Zxf zxf;
    zxf.openRead(folder.path("a"));
    int records = 0;
    ASSERT_EQ(C__zxfDataReadRawStart(zxf, 1, &records), 1);
    ASSERT_GT(records, 3 * 16384);
    std::size_t at = 0;
    while (at < all.values.size()) {
      int key[3];
      double value = 0;
      int changed = 0;
      for (int n = static_cast<int>(random() % 40); n > 0 && at < all.values.size(); --n, ++at) {
        ASSERT_EQ(C__zxfDataReadRaw(zxf, key, &value, &changed), 1);
        int first = 0;
        while (at > 0 && label(at, first) == label(at - 1, first)) ++first;
        ASSERT_EQ(changed, first + 1) << at;
        ASSERT_EQ(value, all.values[at]);
      }
      Call call;
      ASSERT_EQ(call.read(zxf, static_cast<int>(1 + random() % 40000)), 1);
      ASSERT_GE(call.count, at < all.values.size() ? 1 : 0);
      for (int i = 0; i < call.count; ++i, ++at) {
        for (int d = 0; d < 3; ++d) ASSERT_EQ(call.labels[d][i], label(at, d)) << at;
        ASSERT_EQ(call.values[i], all.values[at]);
      }
    }
    Call end;
    EXPECT_EQ(end.read(zxf, 10), 1);
    EXPECT_EQ(end.count, 0);
    EXPECT_EQ(C__zxfErrorCount(zxf), 0);
  }
}

// What each call leaves behind: its result, the count, the error.
TEST(ZxfColumns, WrongUse_IsRefused) {
  const TemporaryFolder folder;
  writeContent(folder.path("a"), triples(4));
  const Zxf zxf;
  Call call;
  const auto refused = [&](int result, Errc why) {
    EXPECT_EQ(result, 0);
    EXPECT_EQ(zxf.takeErrors(), std::vector<int>{static_cast<int>(why)});
  };
  refused(call.read(zxf, 1), Errc::NoFileOpen);
  zxf.openRead(folder.path("a"));
  refused(call.read(zxf, 1), Errc::NoSymbolOpen);
  int records = 0;
  C__zxfDataReadRawStart(zxf, 1, &records);
  int label = 0;
  double value = 0;
  int count = 0;
  int* keys[] = {&label, &label, &label};
  int* twoKeys[] = {&label, nullptr, &label};
  double* values[] = {&value};
  double* noValues[] = {nullptr};
  refused(C__zxfDataReadRawColumns(zxf, 1, keys, 1, values, 1, nullptr), Errc::NullArgument);
  refused(C__zxfDataReadRawColumns(zxf, 1, nullptr, 1, values, 1, &count), Errc::NullArgument);
  refused(C__zxfDataReadRawColumns(zxf, 1, twoKeys, 1, values, 1, &count), Errc::NullArgument);
  refused(C__zxfDataReadRawColumns(zxf, 1, keys, 1, nullptr, 1, &count), Errc::NullArgument);
  refused(C__zxfDataReadRawColumns(zxf, 1, keys, 1, noValues, 1, &count), Errc::NullArgument);
  EXPECT_EQ(C__zxfDataReadRawColumns(nullptr, 1, keys, 1, values, 1, &count), 0);
  for (const int room : {0, -1}) {
    EXPECT_EQ(call.read(zxf, std::max(room, 0)), 1);
    EXPECT_EQ(call.count, 0) << room;
  }
  EXPECT_EQ(C__zxfDataReadRawColumns(zxf, -1, keys, 1, values, 1, &count), 1);
  EXPECT_EQ(call.read(zxf, records), 1) << "nothing was lost";
  EXPECT_EQ(call.count, records);
}

// Each block of the file is sound by itself; what is wrong is that the second begins again.
TEST(ZxfColumns, BlocksOutOfOrder_AreRefusedInAllWays) {
  using namespace zdb::zxfile;
  const TemporaryFolder folder;
  Content content{makeLabels(20000), {}, {column("p", 20000, [](int i) { return i * 0.5; })}};
  writeContent(folder.path("a"), content);
  zdb::test::zxf::Bytes bytes = readBytes(folder.path("a"));
  const auto size = loadInt<std::uint32_t>(bytes.data() + kHeaderSize);
  std::uint8_t* const second = bytes.data() + kHeaderSize + kBlockHeaderSize + size;
  ASSERT_EQ(loadInt<std::uint32_t>(second + 12), kMaxBlockRecords);  // its first record
  // The payload begins with the tokens, repeated but for the first, and then the tails: a varint.
  std::uint8_t* const payload = second + kBlockHeaderSize;
  const std::uint8_t tail[] = {0x81, 0x80, 0x01};  // 16385, the first label of the block
  std::uint8_t* const found = std::search(payload, payload + 64, std::begin(tail), std::end(tail));
  ASSERT_NE(found, payload + 64);
  for (const int first : {16384, 16383, 1}) {
    found[0] = static_cast<std::uint8_t>(0x80 | (first & 0x7F));
    found[1] = static_cast<std::uint8_t>(0x80 | (first >> 7 & 0x7F));
    found[2] = static_cast<std::uint8_t>(first >> 14);
    reseal(bytes);
    EXPECT_EQ(errorsOf(bytes), std::vector<int>{static_cast<int>(Errc::DamagedRecords)}) << first;
  }
}

}  // namespace
