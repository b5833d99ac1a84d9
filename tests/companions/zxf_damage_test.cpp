// Files that are not what they should be: cut, changed, foreign, or made to deceive.
#include <gtest/gtest.h>

#include <random>

#include "fuzz/zxf/reseal.h"
#include "support/allocations.h"
#include "zxf_testing.h"

namespace {

using namespace zdb::test::zxf;

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

class ZxfDamage : public testing::Test {
 protected:
  ZxfDamage() {
    const TemporaryFolder folder;
    writeContent(folder.path("good"), smallContent());
    good_ = readBytes(folder.path("good"));
  }

  Bytes good_;
};

TEST_F(ZxfDamage, ForeignCutOrLongerFile_GivesAnError) {
  for (const std::string& text : {std::string("a,b,c\n1,2,3\n"), std::string(100000, '\0')}) {
    EXPECT_EQ(errorOf(Bytes(text.begin(), text.end())), Errc::ForeignFile);
  }
  for (Bytes cut = good_; !cut.empty(); cut.pop_back()) {
    ASSERT_EQ(errorOf(cut), cut.size() == good_.size() ? Errc::None : Errc::TruncatedFile)
        << cut.size();
  }
  EXPECT_EQ(errorOf({}), Errc::ForeignFile);
  good_.push_back(0);
  EXPECT_EQ(errorOf(good_), Errc::DamagedHeader);
}

// Past the checksums only what the bytes mean is left to be checked. Any answer will do there, as
// long as there is one and what is delivered keeps the promises that the reader of tests checks.
TEST_F(ZxfDamage, EveryFlippedByte_GivesAnErrorAndResealedAnAnswer) {
  std::size_t refused = 0;
  for (std::size_t at = 0; at < good_.size(); ++at) {
    for (const unsigned flip : {0x01U, 0x02U, 0x80U, 0xFFU}) {
      Bytes bad = good_;
      bad[at] = static_cast<std::uint8_t>(bad[at] ^ flip);
      const Errc error = errorOf(bad);
      ASSERT_TRUE(error >= Errc::ForeignFile && error <= Errc::DamagedRecords) << "byte " << at;
      refused += resealedErrorOf(bad) == Errc::None ? 0 : 1;
      ASSERT_FALSE(HasFailure()) << "byte " << at;
    }
  }
  EXPECT_GT(refused, good_.size());
}

// The same for blocks that are packed: random changes of a few bytes at a time.
TEST_F(ZxfDamage, ResealedNoise_GivesAnAnswer) {
  std::mt19937 random(1);
  good_ = readBytes(ZXF_SOURCE_DIR "/tests/companions/data/zxf_version1_packed.bin");
  for (int round = 0; round < 300; ++round) {
    Bytes bad = good_;
    for (unsigned i = random() % 4 + 1; i > 0; --i) {
      bad[random() % bad.size()] = static_cast<std::uint8_t>(random());
    }
    resealedErrorOf(bad);
    ASSERT_FALSE(HasFailure()) << "round " << round;
  }
}

}  // namespace
