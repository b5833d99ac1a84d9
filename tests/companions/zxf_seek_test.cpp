// Going to records by their leading labels, with more or less room for blocks that are come back
// to.
#include <gtest/gtest.h>

#include <random>

#include "fuzz/zxf/reseal.h"
#include "zxf/reader.h"
#include "zxf_testing.h"

namespace {

using namespace zdb::test::zxf;

// Two of three pairs of labels, and their number as value: eight blocks.
Content manyPairs(int labels) {
  Symbol symbol{"pairs", 2};
  for (int a = 1; a <= labels; ++a) {
    for (int b = 1 + a % 2; b <= labels; b += 1 + (a + b) % 2) {
      symbol.keys.insert(symbol.keys.end(), {a, b});
      symbol.values.push_back(static_cast<double>(symbol.values.size()));
    }
  }
  return {makeLabels(labels), {}, {symbol}};
}

TEST(ZxfSeek, AnyOrderAndAnyRoomForBlocks_FindsTheRecordsThatFollow) {
  constexpr int kLabels = 500;
  constexpr std::size_t kBlockBytes = zdb::zxfile::kMaxBlockRecords * 17;
  const auto& specials = zdb::zxfile::kDefaultSpecials;
  const TemporaryFolder folder;
  const Content content = manyPairs(kLabels);
  const std::vector<int>& keys = content.symbols[0].keys;
  writeContent(folder.path("a"), content);
  for (const std::size_t room : {0, 1, 3, 100}) {
    std::mt19937 random(static_cast<unsigned>(room));
    zdb::zxfile::Reader reader(folder.path("a").c_str());
    reader.start(1, specials);
    reader.keepBlocks(room * kBlockBytes);
    for (int i = 0; i < 300; ++i) {
      const std::vector<int> leading = {static_cast<int>(random() % (kLabels + 2)),
                                        static_cast<int>(random() % (kLabels + 2))};
      std::size_t row = 0;
      while (row < keys.size() &&
             std::pair(keys[row], keys[row + 1]) < std::pair(leading[0], leading[1])) {
        row += 2;
      }
      reader.seek(leading, specials);
      // Sometimes on into the next block.
      const std::size_t end = std::min(keys.size(), row + (i % 10 == 0 ? 40000 : 4));
      for (; row < end && reader.ready(specials); row += 2) {
        int key[2] = {};
        double values[5] = {};
        int changed = 0;
        reader.take(key, values, &changed);
        ASSERT_EQ(std::pair(key[0], key[1]), std::pair(keys[row], keys[row + 1])) << room;
        const std::size_t number = row / 2;
        ASSERT_EQ(values[0], static_cast<double>(number));
      }
      ASSERT_EQ(row, end);
    }
  }
}

// What was unpacked of it must not pass for the block before.
TEST(ZxfSeek, BlockThatIsDamagedAtItsEnd_LeavesTheOneBeforeAsItIs) {
  using namespace zdb::zxfile;
  const TemporaryFolder folder;
  const Content content = manyPairs(500);
  writeContent(folder.path("a"), content);
  zdb::test::zxf::Bytes bytes = readBytes(folder.path("a"));
  std::size_t end = kHeaderSize;  // of block number 4 of eight, from 0, where a search begins
  for (int block = 0; block <= 4; ++block) {
    end += kBlockHeaderSize + loadInt<std::uint32_t>(bytes.data() + end);
  }
  ASSERT_EQ(bytes[end - 1], 0);
  bytes[end - 1] = 1;  // there is no such exception value
  reseal(bytes);
  Reader reader(memoryFile(bytes).c_str());
  reader.start(1, kDefaultSpecials);
  reader.keepBlocks(std::size_t{10} * kMaxBlockRecords * 17);
  const std::size_t record = 3 * kMaxBlockRecords + 5;
  const int* const key = content.symbols[0].keys.data() + 2 * record;
  reader.seek(std::span(key, 2), kDefaultSpecials);
  ASSERT_TRUE(reader.ready(kDefaultSpecials));
  int found[2] = {};
  double values[5] = {};
  int changed = 0;
  reader.take(found, values, &changed);
  EXPECT_EQ(std::pair(found[0], found[1]), std::pair(key[0], key[1]));
  EXPECT_EQ(values[0], content.symbols[0].values[record]);
}

}  // namespace
