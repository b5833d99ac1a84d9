#include "core/textutils.h"

#include <gtest/gtest.h>

#include <string>

namespace zxf::utils {
namespace {

TEST(TextUtils, Comparisons_FoldAsciiLettersOnly) {
  const struct {
    const char* a;
    const char* b;
    bool fold;
    int expected;
  } cases[] = {
      {"", "x", true, -1},      {"x", "", true, 1},          {"", "", true, 0},
      {"ab", "abc", true, -1},  {"abcd", "ab", true, 2},     {"AB", "ab", true, 0},
      {"AB", "ab", false, -32}, {"a", "B", true, 'A' - 'B'}, {"\xff", "a", true, 0xff - 'A'},
      {"zZ", "Zz", true, 0},    {"\xc4", "\xe4", true, -32}, {"@", "`", true, -32},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(strCompare(c.a, c.b, c.fold), c.expected) << c.a << "|" << c.b;
    EXPECT_EQ(sameTextInvariant(c.a, c.b), strCompare(c.a, c.b) == 0) << c.a << "|" << c.b;
  }
  EXPECT_EQ(uppercase("azAZ{`\xe4"), "AZAZ{`\xe4");
  EXPECT_EQ(zdb::contract::lowerCase("azAZ[@\xc4"), "azaz[@\xc4");
}

TEST(TextUtils, Trim_CutsBytesOf32AndBelowOnly) {
  const char* const cases[][3] = {{" \t a b\x01\x20", "a b", " \t a b"},
                                  {" \t", "", ""},
                                  {"\x80 ", "\x80", "\x80"},
                                  {"ab\x80", "ab\x80", "ab\x80"}};
  for (const auto& [text, trimmed, rightTrimmed] : cases) {
    EXPECT_EQ(trim(text), trimmed);
    char buffer[16];
    int length = -1;
    const std::string kept = trimRight(text, buffer, length);
    EXPECT_EQ(kept, rightTrimmed);
    EXPECT_EQ(length, static_cast<int>(kept.size()));
    EXPECT_EQ(trimRight(text, buffer, length) == text, kept == text);
  }
}

TEST(TextUtils, TextsInTexts) {
  for (const std::size_t length : {0, 255, 256}) {  // a short string counts in one byte
    char out[256];
    const std::string text(length, 'q');
    EXPECT_EQ(strConvCppToDelphi(text, out), length < 256 ? 0 : 53);
    EXPECT_EQ(std::string(out + 1, static_cast<unsigned char>(out[0])),
              length < 256 ? text : "Error: Maximum short string length is 255 characters!");
  }
  EXPECT_EQ(substrPositions("aaaa", "aa"), (std::vector<std::size_t>{0, 2}));
  EXPECT_TRUE(substrPositions("abc", "").empty());
  EXPECT_EQ(replaceSubstrs("a%sb%s", "%s", "%s!"), "a%s!b%s!");
  EXPECT_EQ(quoteWhitespace("a b") + quoteWhitespace("ab"), "'a b'ab");
  EXPECT_TRUE(in(3, {1, 3}) && !in(2, {1, 3}));
}

}  // namespace
}  // namespace zxf::utils
