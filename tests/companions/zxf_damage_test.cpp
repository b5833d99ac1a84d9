// Files that are not what they should be: cut, changed, foreign, or made to deceive.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <functional>
#include <random>

#include "fuzz/zxf/reseal.h"
#include "zxf/block.h"
#include "zxf_testing.h"

namespace {

using namespace zxftest;
using zxfile::Bytes;
using zxfile::ByteSpan;

// The error of reading everything, or None when nothing is wrong. The file lies in memory: there
// are thousands of them.
Errc errorOf(const Bytes& bytes) {
  const int fd = memfd_create("zxf", MFD_CLOEXEC);
  EXPECT_EQ(write(fd, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  Errc code = Errc::None;
  try {
    readContent("/proc/self/fd/" + std::to_string(fd));
  } catch (const ReadError& error) {
    EXPECT_NE(error.text, "");
    code = static_cast<Errc>(error.number);
  }
  close(fd);
  return code;
}

Bytes bytesOf(const Content& content) {
  const ScratchFolder folder;
  writeContent(folder.path("good"), content);
  return readBytes(folder.path("good"));
}

bool isDamage(Errc code) {
  return code >= Errc::ForeignFile && code <= Errc::DamagedRecords;
}

TEST(ZxfDamage, EveryTruncation_GivesAnError) {
  const Bytes good = bytesOf(smallContent());
  for (std::size_t length = 0; length < good.size(); ++length) {
    const Errc expected = length == 0 ? Errc::ForeignFile : Errc::TruncatedFile;
    ASSERT_EQ(errorOf(Bytes(good.begin(), good.begin() + length)), expected) << "length " << length;
  }
  Bytes longer = good;
  longer.push_back(0);
  EXPECT_EQ(errorOf(longer), Errc::DamagedHeader);
}

TEST(ZxfDamage, EveryFlippedByte_GivesAnError) {
  const Bytes good = bytesOf(smallContent());
  for (std::size_t at = 0; at < good.size(); ++at) {
    for (const unsigned flip : {0x01U, 0x80U, 0xFFU}) {
      Bytes bad = good;
      bad[at] = static_cast<std::uint8_t>(bad[at] ^ flip);
      ASSERT_TRUE(isDamage(errorOf(bad))) << "byte " << at;
    }
  }
}

// Past the checksums only what the bytes mean is left to be checked. Any result will do, as long as
// there is one and what is delivered keeps the promises that the reading helper checks.
TEST(ZxfDamage, EveryResealedByte_GivesAnAnswer) {
  const Bytes good = bytesOf(smallContent());
  int refused = 0;
  for (std::size_t at = 0; at < good.size(); ++at) {
    for (const unsigned flip : {0x01U, 0x02U, 0x80U, 0xFFU}) {
      Bytes bad = good;
      bad[at] = static_cast<std::uint8_t>(bad[at] ^ flip);
      reseal(bad);
      resetLargestAllocation();
      refused += errorOf(bad) == Errc::None ? 0 : 1;
      ASSERT_LT(largestAllocation(), 4U << 20) << "byte " << at;
    }
  }
  EXPECT_GT(refused, static_cast<int>(good.size()));
}

// The same for blocks that are packed: random changes of a few bytes at a time.
TEST(ZxfDamage, ResealedNoise_GivesAnAnswer) {
  std::mt19937 random(1);
  Content content{makeLabels(500), {}, {{"p", 2, 2, 0, "", {}, Domain::None, {}}}};
  for (int i = 1; i <= 500; ++i) {
    const double odd = random() % 8 == 0 ? 1.0 / 3 : i;
    const double row[] = {i * 0.01, 1e300, odd, fromBits(random() * 0x100000001ULL), 1.0};
    content.symbols[0].records.push_back(
        {{i, static_cast<int>(random() % 500) + 1}, {std::begin(row), std::end(row)}});
  }
  const Bytes good = bytesOf(content);
  for (int round = 0; round < 2000; ++round) {
    Bytes bad = good;
    for (unsigned i = random() % 4 + 1; i > 0; --i) {
      bad[random() % bad.size()] = static_cast<std::uint8_t>(random());
    }
    reseal(bad);
    resetLargestAllocation();
    errorOf(bad);
    ASSERT_LT(largestAllocation(), 8U << 20) << "round " << round;
  }
}

// Replaces a field of the header and makes the checksums good again.
Bytes withHeader(Bytes file, const std::function<void(zxfile::FileHeader&)>& change) {
  zxfile::FileHeader header;
  zxfile::FieldReader fields(file, Errc::DamagedHeader);
  visit(fields, header);
  change(header);
  Bytes bytes;
  zxfile::FieldWriter writer(bytes);
  visit(writer, header);
  std::copy(bytes.begin(), bytes.end(), file.begin());
  reseal(file);
  return file;
}

// A section whose stream claims `rawSize` bytes out of the given stored ones.
Bytes withLabels(const Bytes& file, const zxfile::StreamHeader& claim, const Bytes& stored) {
  zxfile::FileHeader header;
  zxfile::FieldReader fields(file, Errc::DamagedHeader);
  visit(fields, header);
  Bytes section;
  zxfile::FieldWriter writer(section);
  zxfile::StreamHeader copy = claim;
  visit(writer, copy);
  section.insert(section.end(), stored.begin(), stored.end());
  Bytes result(file.begin(), file.begin() + header.labels.offset);
  result.insert(result.end(), section.begin(), section.end());
  const std::size_t rest = header.labels.offset + header.labels.size;
  result.insert(result.end(), file.begin() + rest, file.end());
  const std::uint64_t grown = section.size() - header.labels.size;
  return withHeader(result, [&](zxfile::FileHeader& h) {
    h.labels.size = section.size();
    h.texts.offset += grown;
    h.symbols.offset += grown;
  });
}

TEST(ZxfDamage, Lies_AreRefusedBeforeMemoryIsTaken) {
  const Bytes good = bytesOf({makeLabels(200), {}, {}});
  const std::uint64_t huge = std::uint64_t{1} << 40;
  // A frame that says in its own header that it unpacks to 4 GB: magic, descriptor, 8-byte size.
  const Bytes lyingFrame = {0x28, 0xB5, 0x2F, 0xFD, 0xE0, 0, 0, 0, 0xFF, 0, 0, 0, 0, 1, 0, 0};
  using zxfile::StreamMethod;
  const struct {
    const char* name;
    Bytes file;
    Errc expected;
  } kCases[] = {
      {"labelCount", withHeader(good, [](auto& h) { h.labelCount = 0x7FFFFFFF; }),
       Errc::DamagedDirectory},
      {"labelCountOver", withHeader(good, [](auto& h) { h.labelCount = 0xFFFFFFFF; }),
       Errc::DamagedHeader},
      {"textCount", withHeader(good, [](auto& h) { h.textCount = 0x7FFFFFFF; }),
       Errc::DamagedDirectory},
      {"symbolCount", withHeader(good, [](auto& h) { h.symbolCount = 0x7FFFFFFF; }),
       Errc::DamagedDirectory},
      {"sectionSize", withHeader(good, [&](auto& h) { h.labels.size = huge; }),
       Errc::DamagedHeader},
      {"sectionOffset", withHeader(good, [&](auto& h) { h.labels.offset = huge; }),
       Errc::DamagedHeader},
      {"sectionWraps", withHeader(good, [](auto& h) { h.symbols.size = ~std::uint64_t{0}; }),
       Errc::DamagedHeader},
      {"version0", withHeader(good, [](auto& h) { h.version = 0; }), Errc::DamagedHeader},
      {"version2", withHeader(good, [](auto& h) { h.version = 2; }), Errc::NewerFormat},
      {"storedSize", withLabels(good, {StreamMethod::Stored, huge, huge}, {}),
       Errc::DamagedDirectory},
      {"repeatedSize", withLabels(good, {StreamMethod::Repeated, huge, 1}, {0}),
       Errc::DamagedDirectory},
      {"frameSize", withLabels(good, {StreamMethod::Zstd, 4096, lyingFrame.size()}, lyingFrame),
       Errc::DamagedDirectory},
      {"oneLabel", withLabels(good, {StreamMethod::Stored, 2, 2}, {1, 'a'}),
       Errc::DamagedDirectory},
      {"repeatedLabels", withLabels(good, {StreamMethod::Repeated, 200, 1}, {0}),
       Errc::DamagedDirectory},
  };
  for (const auto& c : kCases) {
    resetLargestAllocation();
    EXPECT_EQ(errorOf(c.file), c.expected) << c.name;
    EXPECT_LT(largestAllocation(), 1U << 20) << c.name;
  }
}

TEST(ZxfDamage, ForeignFiles_AreNamedAsSuch) {
  const std::string text = "a,b,c\n1,2,3\n";
  EXPECT_EQ(errorOf(Bytes(text.begin(), text.end())), Errc::ForeignFile);
  EXPECT_EQ(errorOf(Bytes(100000)), Errc::ForeignFile);
}

// The directory of a file with damaged records can be read, and so can its other symbols.
TEST(ZxfDamage, OneDamagedBlock_LeavesTheOthersReadable) {
  const ScratchFolder folder;
  Bytes bytes = bytesOf(smallContent());
  bytes[zxfile::kHeaderSize + zxfile::kBlockHeaderSize] ^= 1;
  writeBytes(folder.path("a"), bytes);
  const Zxf zxf;
  ASSERT_EQ(zxf.openRead(folder.path("a")), 0);
  int count = -1;
  EXPECT_EQ(C__zxfDataReadRawStart(zxf, 1, &count), 0);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(zxf.takeErrors(), std::vector<int>{static_cast<int>(Errc::DamagedRecords)});
  EXPECT_NE(zxf.errorText(25).find("checksum, block at byte 120, symbol i"), std::string::npos);
  EXPECT_EQ(C__zxfDataReadRawStart(zxf, 2, &count), 1);
  EXPECT_EQ(count, 3);
}

}  // namespace
