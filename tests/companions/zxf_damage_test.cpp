// Files that are not what they should be: cut, changed, foreign, or made to deceive.
#include <gtest/gtest.h>

#include <random>

#include "fuzz/zxf/reseal.h"
#include "support/allocations.h"
#include "zxf/fields.h"
#include "zxf_testing.h"

namespace {

using namespace zxftest;

// The first error of reading everything, or None.
Errc errorOf(const Bytes& bytes) {
  const std::vector<int> errors = errorsOf(bytes);
  return errors.empty() ? Errc::None : static_cast<Errc>(errors.front());
}

// The same with checksums made good. What a file claims must not cost memory.
Errc resealedErrorOf(Bytes bytes) {
  reseal(bytes);
  const zdb::test::Allocations allocations;
  const Errc error = errorOf(bytes);
  EXPECT_LT(allocations.largest(), 8U << 20);
  return error;
}

Bytes bytesOf(const Content& content) {
  const TemporaryFolder folder;
  writeContent(folder.path("good"), content);
  return readBytes(folder.path("good"));
}

Bytes flipped(Bytes bytes, std::size_t at, unsigned bits) {
  bytes[at] = static_cast<std::uint8_t>(bytes[at] ^ bits);
  return bytes;
}

TEST(ZxfDamage, ForeignCutOrLongerFile_GivesAnError) {
  const std::string text = "a,b,c\n1,2,3\n";
  for (const Bytes& foreign : {Bytes(), Bytes(text.begin(), text.end()), Bytes(100000)}) {
    EXPECT_EQ(errorOf(foreign), Errc::ForeignFile);
  }
  const Bytes good = bytesOf(smallContent());
  for (std::size_t length = 1; length < good.size(); ++length) {
    ASSERT_EQ(errorOf(Bytes(good.begin(), good.begin() + length)), Errc::TruncatedFile) << length;
  }
  Bytes longer = good;
  longer.push_back(0);
  EXPECT_EQ(errorOf(longer), Errc::DamagedHeader);
}

// Past the checksums only what the bytes mean is left to be checked. Any answer will do there, as
// long as there is one and what is delivered keeps the promises that the reader of tests checks.
TEST(ZxfDamage, EveryFlippedByte_GivesAnErrorAndResealedAnAnswer) {
  const Bytes good = bytesOf(smallContent());
  std::size_t refused = 0;
  for (std::size_t at = 0; at < good.size(); ++at) {
    for (const unsigned flip : {0x01U, 0x02U, 0x80U, 0xFFU}) {
      const Bytes bad = flipped(good, at, flip);
      const Errc error = errorOf(bad);
      ASSERT_TRUE(error >= Errc::ForeignFile && error <= Errc::DamagedRecords) << "byte " << at;
      refused += resealedErrorOf(bad) == Errc::None ? 0 : 1;
      ASSERT_FALSE(HasFailure()) << "byte " << at;
    }
  }
  EXPECT_GT(refused, good.size());
}

// The same for blocks that are packed: random changes of a few bytes at a time.
TEST(ZxfDamage, ResealedNoise_GivesAnAnswer) {
  std::mt19937 random(1);
  const Bytes good = readBytes(ZXF_SOURCE_DIR "/tests/companions/data/zxf_version1_packed.bin");
  for (int round = 0; round < 300; ++round) {
    Bytes bad = good;
    for (unsigned i = random() % 4 + 1; i > 0; --i) {
      bad[random() % bad.size()] = static_cast<std::uint8_t>(random());
    }
    resealedErrorOf(bad);
    ASSERT_FALSE(HasFailure()) << "round " << round;
  }
}

}  // namespace
