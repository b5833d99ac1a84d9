#include "core/uellist.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

using namespace zdb::uellist;

// Both lists go through the same cases; where they differ on purpose the case says so.
template <typename List>
class LabelListTest : public testing::Test {
 protected:
  char error_[256] = "before";
  List list_{error_};

  int merge(const std::string& text) {
    int number = -77;
    return list_.merge(text.c_str(), number) ? number : -2;
  }
  int find(const std::string& text) {
    int number = -77;
    return list_.find(text.c_str(), number) ? number : -2;
  }
};

using Lists = testing::Types<UELList, UnorderedMapUELList>;
TYPED_TEST_SUITE(LabelListTest, Lists);

TYPED_TEST(LabelListTest, NewList_HoldsTheBlankOnly) {
  EXPECT_EQ(this->list_.size(), 1);
  EXPECT_STREQ(this->list_[0], " ");
  EXPECT_EQ(this->find("i1"), -1);
}

TYPED_TEST(LabelListTest, Merge_NumbersFromOneAndKeepsTheFirstSpelling) {
  EXPECT_EQ(this->merge("i1"), 1);
  EXPECT_EQ(this->merge("j"), 2);
  EXPECT_EQ(this->merge("I1"), 1);
  EXPECT_EQ(this->find("I1"), 1);
  EXPECT_STREQ(this->list_[1], "i1");
  EXPECT_EQ(this->list_.size(), 3);
  EXPECT_EQ(this->find("i2"), -1);
  EXPECT_STREQ(this->error_, "before");
}

TYPED_TEST(LabelListTest, TrailingBlanks_DoNotCount) {
  EXPECT_EQ(this->merge("new york  "), 1);
  EXPECT_EQ(this->merge("NEW YORK"), 1);
  EXPECT_EQ(this->find("New York "), 1);
  EXPECT_EQ(this->find(" new york"), -1);
  EXPECT_STREQ(this->list_[1], (std::is_same_v<TypeParam, UELList> ? "new york" : "new york  "));
}

TYPED_TEST(LabelListTest, Length_CountsWithoutTrailingBlanks) {
  const std::string longest(63, 'x');
  EXPECT_EQ(this->merge(longest + "     "), 1);
  EXPECT_EQ(this->find(longest), 1);
  for (const std::string& tooLong : {longest + "y", longest + " y", std::string(10000, 'z')}) {
    for (const bool merging : {true, false}) {
      this->error_[0] = '\0';
      EXPECT_EQ(merging ? this->merge(tooLong) : this->find(tooLong), -2);
      const std::string message = "Label exceeds maximum size of 63: >" + tooLong + "<";
      EXPECT_EQ(this->error_, message.substr(0, 255));
    }
  }
  EXPECT_EQ(this->list_.size(), 2);
}

TYPED_TEST(LabelListTest, Quotes_OneKindOnly) {
  EXPECT_EQ(this->merge("it's"), 1);
  EXPECT_EQ(this->merge("\"x\""), 2);
  for (const char* mixed : {"'\"", "a\"b'c"}) {
    this->error_[0] = '\0';
    EXPECT_EQ(this->merge(mixed), -2);
    EXPECT_EQ(std::string(this->error_),
              std::string("Label with single and double quote not allowed >") + mixed + "<");
  }
  EXPECT_EQ(this->list_.size(), 3);
}

TYPED_TEST(LabelListTest, BytesAbove127_AreOrdinary) {
  EXPECT_EQ(this->merge("Z\xc3\xbcrich"), 1);
  EXPECT_EQ(this->find("z\xc3\xbcRICH"), 1);
  EXPECT_EQ(this->find("z\xc3\x9cRICH"), -1);
}

TYPED_TEST(LabelListTest, ManyLabels_KeepTheirNumbers) {
  for (int i = 1; i <= 20000; ++i) ASSERT_EQ(this->merge("label" + std::to_string(i)), i);
  for (int i = 1; i <= 20000; i += 13) {
    ASSERT_EQ(this->find("LABEL" + std::to_string(i)), i);
    ASSERT_EQ(this->list_[i], "label" + std::to_string(i));
  }
}

TEST(UELList, BlanksOnly_AreNumberZero) {
  char error[256] = "";
  UELList list(error);
  int number = -1;
  EXPECT_TRUE(list.merge("   ", number));
  EXPECT_EQ(number, 0);
  UnorderedMapUELList other(error);
  EXPECT_TRUE(other.merge("   ", number));
  EXPECT_EQ(number, 1);
}

TEST(UELList, ControlCharactersAndNull_FailWithoutAMessage) {
  char error[256] = "before";
  UELList list(error);
  int number = -5;
  for (const char* bad : {"a\tb", "\x01", "x\n", static_cast<const char*>(nullptr)}) {
    EXPECT_FALSE(list.merge(bad, number));
    EXPECT_FALSE(list.find(bad, number));
  }
  EXPECT_EQ(list.size(), 1);
  EXPECT_STREQ(error, "before");
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
  EXPECT_STREQ(list[1], "b");
  EXPECT_STREQ(list[2], "a");
}

TEST(LabelCheck, Codes) {
  struct Case {
    const char* text;
    int code;
    const char* trimmed;
  };
  const std::string longText(64, 'x');
  const Case cases[] = {
      {"", 0, ""},      {"   ", 0, " "},  {"ab \n", 2, ""},          {"'\"\t", 1, ""},
      {"\t'\"", 2, ""}, {nullptr, 4, ""}, {longText.c_str(), 3, ""}, {"a b ", 0, "a b"}};
  for (const Case& c : cases) {
    char out[65] = "";
    int length = -1;
    EXPECT_EQ(CheckAndTrimUELStr(c.text, out, length), c.code) << (c.text ? c.text : "null");
    if (c.code != 0) continue;
    EXPECT_STREQ(out, c.trimmed);
    EXPECT_EQ(length, static_cast<int>(std::string(c.trimmed).size()));
  }
}

}  // namespace
