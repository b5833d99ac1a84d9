// Files that are not what they should be: cut, changed, foreign, or made to deceive.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <random>

#include "fuzz/zxf/reseal.h"
#include "support/allocations.h"
#include "zxf/bytes.h"
#include "zxf/fields.h"
#include "zxf_testing.h"

namespace {

using namespace zxftest;
using zdb::zxfile::Bytes;

// The first error of reading everything, or None. The file lies in memory: there are thousands.
Errc errorOf(const Bytes& bytes) {
  const int fd = memfd_create("zxf", MFD_CLOEXEC);
  EXPECT_EQ(write(fd, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  std::vector<int> errors;
  readContent(numbered("/proc/self/fd/", fd), errors);
  close(fd);
  return errors.empty() ? Errc::None : static_cast<Errc>(errors.front());
}

// The same with checksums made good. What a file claims must not cost memory.
Errc resealedErrorOf(Bytes bytes, std::size_t limit) {
  reseal(bytes);
  const zdb::test::Allocations allocations;
  const Errc error = errorOf(bytes);
  EXPECT_LT(allocations.largest(), limit);
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
      refused += resealedErrorOf(bad, 4U << 20) == Errc::None ? 0 : 1;
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
    resealedErrorOf(bad, 8U << 20);
    ASSERT_FALSE(HasFailure()) << "round " << round;
  }
}

TEST(ZxfDamage, Lies_AreRefusedBeforeMemoryIsTaken) {
  constexpr double kThird = 1.0 / 3;
  const Bytes good =
      bytesOf({makeLabels(200), {}, {{"p", 1, 1, 0, "", {1, 2, 199}, {kThird, -kThird, kThird}}}});
  // Where the header says that the labels begin: a stream's method, its size and the size stored.
  const auto labels = zdb::zxfile::loadInt<std::uint64_t>(good.data() + 40);
  // Where the block of p begins: three tokens of keys after the three bytes of a stream's header, a
  // stream of one byte, a column.
  const std::size_t block = zdb::zxfile::kHeaderSize + zdb::zxfile::kBlockHeaderSize;
  const struct {
    const char* name;
    std::size_t at;
    const char* bytes;
    Errc expected;
  } kCases[] = {
      {"version 0", 8, "00", Errc::DamagedHeader},
      {"version 2", 8, "02", Errc::NewerFormat},
      {"most labels", 24, "FF FF FF 7F", Errc::DamagedDirectory},
      {"too many labels", 24, "00 00 00 80", Errc::DamagedHeader},
      {"texts", 28, "FF FF FF 7F", Errc::DamagedDirectory},
      {"symbols", 32, "FF FF FF 7F", Errc::DamagedDirectory},
      {"section offset", 40, "00 00 00 00 00 01", Errc::DamagedHeader},
      {"section size", 48, "00 00 00 00 00 01", Errc::DamagedHeader},
      {"section that wraps around", 96, "FF FF FF FF FF FF FF FF", Errc::DamagedHeader},
      {"2^42 bytes stored", labels, "00 02 80 80 80 80 80 80 01", Errc::DamagedDirectory},
      {"one byte 2^42 times", labels, "02 80 80 80 80 80 80 01 01 00", Errc::DamagedDirectory},
      {"one byte 2^28 times", labels, "02 80 80 80 80 01 01 00", Errc::DamagedDirectory},
      {"one label", labels, "00 02 02 01 61", Errc::DamagedDirectory},
      {"200 equal labels", labels, "02 C8 01 01 00", Errc::DamagedDirectory},
      // 4096 bytes out of 16, which say themselves that they are 4 GB: magic, descriptor, size.
      {"frame", labels, "01 80 20 10 28 B5 2F FD E0 00 00 00 FF 00 00 00 00 01 00 00",
       Errc::DamagedDirectory},
      {"step past the last label", block + 5, "FF", Errc::DamagedRecords},
      {"unknown kind of column", block + 10, "03", Errc::DamagedRecords},
  };
  for (const auto& c : kCases) {
    Bytes bad = good;
    const Bytes lie = fromHex(c.bytes);
    std::copy(lie.begin(), lie.end(), bad.begin() + static_cast<std::ptrdiff_t>(c.at));
    EXPECT_EQ(resealedErrorOf(bad, 1U << 20), c.expected) << c.name;
  }
}

// The directory of a file with damaged records can be read, and so can its other symbols.
TEST(ZxfDamage, OneDamagedBlock_LeavesTheOthersReadable) {
  const TemporaryFolder folder;
  const Bytes bad = flipped(bytesOf(smallContent()), zdb::zxfile::kHeaderSize + 30, 1);
  const std::string path = folder.write("a", {bad.begin(), bad.end()});
  std::vector<int> errors;
  Content expected = smallContent();
  expected.symbols[0] = {"i", 1, 0, 0, "plants"};
  EXPECT_EQ(readContent(path, errors), expected);
  EXPECT_EQ(errors, std::vector<int>{static_cast<int>(Errc::DamagedRecords)});
  const Zxf zxf;
  int count = -1;
  ASSERT_EQ(zxf.openRead(path), 0);
  EXPECT_EQ(C__zxfDataReadRawStart(zxf, 1, &count), 0);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(C__zxfDataReadDone(zxf), 0) << "what could not be started is not open";
  EXPECT_NE(zxf.errorText(25).find("checksum, block at byte 120, symbol i"), std::string::npos);
}

}  // namespace
