#include "core/uellist.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "support/starved.h"

namespace zdb::uellist {
namespace {

/// Labels of few letters, right and wrong, some around the longest.
std::string anyLabel(std::mt19937& random) {
  std::string text(random() % 6, ' ');
  if (random() % 8 == 0) text.assign(60 + random() % 6, 'x');
  for (char& c : text) {
    if (c == ' ') c = "abABz\xfc \t'\" "[random() % 11];
  }
  return text.append(random() % 4 == 0 ? 3 : 0, ' ');
}

// They differ in three points only: control characters, which UELList refuses without a message;
// trailing blanks, which it does not store; and blanks alone, which have the number 0 there.
TEST(LabelLists, RandomLabels_GetTheSameNumbersAndMessages) {
  char error[256] = "";
  char twinError[256] = "";
  UELList list(error);
  UnorderedMapUELList twin(twinError);
  std::mt19937 random(3);
  int refused = 0;
  for (int step = 0; step < 20000; ++step) {
    const std::string text = anyLabel(random);
    const std::string kept = text.substr(0, text.find_last_not_of(' ') + 1);
    if (kept.empty()) continue;
    error[0] = twinError[0] = '\0';
    int number = -77;
    int twinNumber = -77;
    const auto call = [&](IUELList& labels, int& result) {
      return step % 2 == 0 ? labels.find(text.c_str(), result) : labels.merge(text.c_str(), result);
    };
    const int size = list.size();
    const auto merge = [&] { return call(list, number); };
    const bool isGood = test::callStarved(merge, [&](auto) { ASSERT_EQ(list.size(), size); });
    if (text.find('\t') != std::string::npos) {
      ASSERT_FALSE(isGood);
      ASSERT_TRUE(error[0] == '\0' || text.find('"') != std::string::npos);
      continue;
    }
    ASSERT_EQ(call(twin, twinNumber), isGood) << text;
    ASSERT_STREQ(error, twinError);
    ASSERT_EQ(number, twinNumber) << text;
    ASSERT_EQ(list.size(), twin.size());
    refused += isGood ? 0 : 1;
    if (isGood && number == size) {
      ASSERT_EQ(list[number], kept);
      ASSERT_EQ(twin[number], text);
    }
  }
  EXPECT_GT(refused, 1000);
  EXPECT_GT(list.size(), 1000);
  int number = -1;
  EXPECT_TRUE(list.merge("   ", number) && number == 0);
  EXPECT_TRUE(twin.merge("   ", number) && number == twin.size() - 1);
}

TEST(UELList, Assignment_AddsWhatIsMissing) {
  char error[256] = "";
  UELList list(error);
  UELList other(error);
  int number;
  list.merge("b", number);
  other.merge("a", number);
  other.merge("B", number);
  list = other;
  EXPECT_EQ(list.size(), 3);
  EXPECT_STREQ(list[0], " ");
  EXPECT_STREQ(list[1], "b");
  EXPECT_STREQ(list[2], "a");
}

TEST(LabelCheck, Codes) {
  const std::string tooLong(64, 'x');
  const struct {
    const char* text;
    int code;
    const char* trimmed;
  } cases[] = {{"", 0, ""},      {"   ", 0, " "},  {"ab \n", 2, ""},         {"'\"\t", 1, ""},
               {"\t'\"", 2, ""}, {nullptr, 4, ""}, {tooLong.c_str(), 3, ""}, {"a b ", 0, "a b"}};
  for (const auto& c : cases) {
    char out[65] = "";
    int length = -1;
    EXPECT_EQ(CheckAndTrimUELStr(c.text, out, length), c.code) << (c.text ? c.text : "null");
    if (c.code != 0) continue;
    EXPECT_STREQ(out, c.trimmed);
    EXPECT_EQ(length, static_cast<int>(std::string(c.trimmed).size()));
  }
}

}  // namespace
}  // namespace zdb::uellist
