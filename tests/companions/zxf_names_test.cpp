// Names that all have one hash: a known one, as somebody would choose them who could.
#include <gtest/gtest.h>
#include <xxhash.h>

#include "zxf/names.h"
#include "zxf_testing.h"

namespace {

bool areAllHashesEqual = false;

}  // namespace

// The linker's --wrap fixes these names.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" XXH64_hash_t __real_XXH3_64bits_withSeed(const void* bytes, size_t size,
                                                    XXH64_hash_t seed);
extern "C" XXH64_hash_t __wrap_XXH3_64bits_withSeed(const void* bytes, size_t size,
                                                    XXH64_hash_t seed) {
  return areAllHashesEqual ? 7 : __real_XXH3_64bits_withSeed(bytes, size, seed);
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

// If each name were compared with each, this would take an hour.
TEST(ZxfNames, MillionNamesOfOneHash_AreFoundAndRefusedTwice) {
  areAllHashesEqual = true;
  constexpr std::uint32_t kCount = 1'000'000;
  zdb::zxfile::NameList names;
  for (std::uint32_t i = 1; i <= kCount; ++i) {
    ASSERT_EQ(names.add(zdb::test::zxf::numbered("name", static_cast<int>(i))), i);
  }
  zdb::zxfile::NameList adopted;
  adopted.adopt(zdb::test::zxf::Bytes(names.list().stored()), kCount,
                zdb::test::zxf::Errc::DamagedDirectory);
  for (std::uint32_t i = 1; i <= kCount; i = 3 * i + 1) {
    EXPECT_EQ(names.find(zdb::test::zxf::numbered("NAME", static_cast<int>(i))), i);
    EXPECT_EQ(names.add(zdb::test::zxf::numbered("Name", static_cast<int>(i))), 0U);
    EXPECT_EQ(adopted.find(zdb::test::zxf::numbered("name", static_cast<int>(i))), i);
  }
  EXPECT_EQ(names.find("name0"), 0U);
  areAllHashesEqual = false;
}

}  // namespace
