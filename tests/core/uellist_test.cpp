#include "core/uellist.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

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
  for (int step = 0; step < 20000; ++step) {
    const std::string text = anyLabel(random);
    const std::string kept = text.substr(0, text.find_last_not_of(' ') + 1);
    if (kept.empty()) continue;
    error[0] = twinError[0] = '\0';
    const int size = list.size();
    const auto call = [&](IUELList& labels, int& number) {
      return step % 2 == 0 ? labels.find(text.c_str(), number) : labels.merge(text.c_str(), number);
    };
    int number = -77;
    int twinNumber = -77;
    const bool isGood = call(list, number);
    if (text.find('\t') != std::string::npos) {
      ASSERT_FALSE(isGood);
      ASSERT_TRUE(error[0] == '\0' || text.find('"') != std::string::npos);
      continue;
    }
    ASSERT_EQ(call(twin, twinNumber), isGood) << text;
    ASSERT_STREQ(error, twinError);
    ASSERT_EQ(number, twinNumber) << text;
    ASSERT_EQ(list.size(), twin.size());
    if (!isGood || number < size) continue;
    ASSERT_EQ(list[number], kept);
    ASSERT_EQ(twin[number], text);
  }
  EXPECT_GT(list.size(), 1000);
  int number = -1;
  EXPECT_TRUE(list.merge("   ", number) && number == 0);
  EXPECT_TRUE(twin.merge("   ", number) && number == twin.size() - 1);
  UELList other(error);
  other.merge("B", number);
  other = list;  // adds what is missing
  EXPECT_EQ(other.size(), list.size());
  EXPECT_STREQ(other[1], "B");
}

}  // namespace
}  // namespace zdb::uellist
