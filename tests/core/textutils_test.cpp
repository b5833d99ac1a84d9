#include "core/textutils.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

using namespace zxf::utils;

TEST(TextUtils, StrCompare_TableOfPairs) {
  struct Case {
    const char* a;
    const char* b;
    bool fold;
    int expected;
  };
  const Case cases[] = {
      {"", "x", true, -1},      {"x", "", true, 1},          {"", "", true, 0},
      {"ab", "abc", true, -1},  {"abcd", "ab", true, 2},     {"AB", "ab", true, 0},
      {"AB", "ab", false, -32}, {"a", "B", true, 'A' - 'B'}, {"\xff", "a", true, 0xff - 'A'},
  };
  for (const Case& c : cases)
    EXPECT_EQ(strCompare(c.a, c.b, c.fold), c.expected) << c.a << "|" << c.b;
}

TEST(TextUtils, SameText_FoldsAsciiLettersOfEqualLength) {
  EXPECT_TRUE(sameTextInvariant("Data.ZXF", "dATA.zxf"));
  EXPECT_FALSE(sameTextInvariant("abc", "abcd"));
  EXPECT_FALSE(sameTextInvariant("\xc4", "\xe4"));
  EXPECT_FALSE(sameTextInvariant("@", "`"));
}

TEST(TextUtils, Trim_CutsBytesOf32AndBelowOnly) {
  EXPECT_EQ(trim(" \t a b\x01\x20"), "a b");
  EXPECT_EQ(trim(" \t"), "");
  EXPECT_EQ(trim("\x80 "), "\x80");
  char buffer[16];
  int length = -1;
  const char* whole = "ab\x80";
  EXPECT_EQ(trimRight(whole, buffer, length), whole);
  EXPECT_EQ(length, 3);
  EXPECT_STREQ(trimRight(" a \n", buffer, length), " a");
  EXPECT_EQ(length, 2);
  EXPECT_STREQ(trimRight("  ", buffer, length), "");
  EXPECT_EQ(length, 0);
}

TEST(TextUtils, ShortString_RefusesWhatOneByteCannotCount) {
  char out[256];
  for (const std::size_t length : {std::size_t{0}, std::size_t{1}, std::size_t{255}}) {
    const std::string text(length, 'q');
    EXPECT_EQ(strConvCppToDelphi(text, out), 0);
    EXPECT_EQ(static_cast<unsigned char>(out[0]), length);
    EXPECT_EQ(std::string(out + 1, length), text);
  }
  EXPECT_EQ(strConvCppToDelphi(std::string(256, 'q'), out), 53);
  EXPECT_EQ(std::string(out + 1, static_cast<unsigned char>(out[0])),
            "Error: Maximum short string length is 255 characters!");
}

TEST(TextUtils, ReplaceSubstrs_GoesOnBehindEachMatch) {
  EXPECT_EQ(substrPositions("aaaa", "aa"), (std::vector<std::size_t>{0, 2}));
  EXPECT_TRUE(substrPositions("abc", "").empty());
  EXPECT_EQ(replaceSubstrs("a%sb%s", "%s", "%s!"), "a%s!b%s!");
  EXPECT_EQ(replaceSubstrs("abc", "x", "y"), "abc");
}

TEST(TextUtils, SmallOnes) {
  EXPECT_EQ(uppercase("aZ{\xe4"), "AZ{\xe4");
  EXPECT_EQ(lowercase("aZ[\xc4"), "az[\xc4");
  EXPECT_EQ(quoteWhitespace("a b"), "'a b'");
  EXPECT_EQ(quoteWhitespace("ab"), "ab");
  EXPECT_TRUE(in(3, {1, 3}));
  EXPECT_FALSE(in(2, {1, 3}));
}

}  // namespace
