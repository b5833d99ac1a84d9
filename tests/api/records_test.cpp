// Adding, finding, deleting records; their keys, texts and values.

#include <limits>
#include <string>

#include "client.h"

namespace {

constexpr double kInf = std::numeric_limits<double>::infinity();

TEST(Records, AddingTwice_FailsAndMergingKeepsTheRow) {
  Database db;
  zdbSymbol_t p = db.add("p", 2);
  const char* key[] = {"i1", "j2"};
  Record record(db);
  EXPECT_EQ(c__zdbaddrecord(db, p, key, &record), 1);
  c__zdbsetlevel(db, record, 3);
  EXPECT_EQ(c__zdbaddrecord(db, p, key, &record), 0);
  EXPECT_EQ(record.handle, nullptr);
  EXPECT_EQ(db.error(), "Record (\"i1\",\"j2\") exists already for symbol p");
  EXPECT_EQ(c__zdbmergerecord(db, p, key, &record), 1);
  EXPECT_EQ(record.level(), 3);
  EXPECT_EQ(db.info(p, ZDB_SYMBOL_RECORDS), 1);
}

TEST(Records, NewOnes_GetTheRowOfTypeAndSubtype) {
  const struct {
    int type, subtype;
    double lower, upper;
  } cases[] = {{ZDB_VARIABLE, 0, 0, 0},     {ZDB_VARIABLE, 1, 0, 1},   {ZDB_VARIABLE, 3, 0, kInf},
               {ZDB_VARIABLE, 4, -kInf, 0}, {ZDB_VARIABLE, 9, 1, 100}, {ZDB_EQUATION, 2, -kInf, 0},
               {ZDB_EQUATION, 6, 0, 0},     {ZDB_VARIABLE, 10, 0, 0},  {ZDB_EQUATION, -1, 0, 0}};
  for (const auto& c : cases) {
    Database db;
    zdbSymbol_t symbol = db.add("x", 0, c.type, c.subtype);
    Record record(db, symbol, {});
    double values[5] = {9, 9, 9, 9, 9};
    EXPECT_EQ(c__zdbgetrecordraw(db, record, 0, nullptr, values), 1) << db.error();
    EXPECT_EQ(std::vector<double>(values, values + 5),
              (std::vector<double>{0, 0, c.lower, c.upper, 1}))
        << c.type << " " << c.subtype;
  }
}

TEST(Records, FindingWhatIsNotThere_SaysWhat) {
  Database db;
  zdbSymbol_t p = db.add("p", 2);
  zdbSymbol_t empty = db.add("none", 2);
  db.merge(p, {"a", "b"});
  db.label("c");
  const struct {
    zdbSymbol_t symbol;
    Labels keys;
    std::string message;
  } cases[] = {
      {empty, {"a", "b"}, "Cannot find any record in Symbol none (none is empty)"},
      {p, {"a", "new"}, "Cannot find element new (on position 2) in Symbol p"},
      {p, {"a", "C"}, "Cannot find record (\"a\",\"C\") in Symbol p"},
      {db.universe(), {"new"}, "Cannot find element new in Universe"},
  };
  for (const auto& c : cases) {
    Record record(db);
    EXPECT_EQ(c__zdbfindrecord(db, c.symbol, c.keys.data(), &record), 0);
    EXPECT_EQ(record.handle, nullptr);
    EXPECT_EQ(db.error(), c.message);
  }
  EXPECT_EQ(db.info(db.universe(), ZDB_SYMBOL_RECORDS), 3) << "no label was added";
}

TEST(RecordsByNumber, EachRefusal_HasItsMessage) {
  Database db;
  zdbSymbol_t p = db.add("p", 1);
  zdbSymbol_t set = db.add("s", 1, ZDB_SET);
  db.label("a");
  const double value = 1;
  const int good[] = {1}, zero[] = {0}, high[] = {2};
  const std::string prefix = "Error when adding record to symbol p: UEL ";
  const auto fails = [&](int result, const std::string& message) {
    EXPECT_EQ(result, 0);
    EXPECT_EQ(db.error(), message);
  };
  fails(c__zdbmergerecordint(db, db.universe(), good, 1, 0, nullptr, 0, nullptr),
        "Cannot add records to the Universe");
  fails(c__zdbmergerecordint(db, set, good, 1, 0, nullptr, 1, &value),
        "Cannot add set records with values. Use zdbMergeSetRecordInt");
  fails(c__zdbmergerecordint(db, p, zero, 1, 0, nullptr, 1, &value),
        prefix + "needs to be greater than zero but is 0");
  fails(c__zdbmergerecordint(db, p, high, 1, 0, nullptr, 1, &value),
        prefix + "2 is unknown. Largest known UEL is 1");
  fails(c__zdbmergesetrecordint(db, p, good, 1, 0, nullptr, ""),
        "zdbMergeSetRecordInt can only be used with set symbols");
  fails(c__zdbmergesetrecordint(db, set, good, 1, 0, nullptr, std::string(256, 't').c_str()),
        "Explanatory text too long. Max length is 255");
  EXPECT_EQ(db.info(p, ZDB_SYMBOL_RECORDS) + db.info(set, ZDB_SYMBOL_RECORDS), 0);
}

TEST(RecordsByNumber, ValuesOverwriteAndNoValuesDoNot) {
  Database db;
  zdbSymbol_t p = db.add("p", 1);
  const int key[] = {db.label("a")};
  const double one = 1, two = 2;
  Record record(db);
  EXPECT_EQ(c__zdbmergerecordint(db, p, key, 1, 1, &record, 1, &one), 1);
  EXPECT_EQ(c__zdbmergerecordint(db, p, key, 1, 0, nullptr, 1, &two), 1);
  EXPECT_EQ(record.level(), 2) << "a handle sees what others store";
  EXPECT_EQ(c__zdbmergerecordint(db, p, key, 1, 0, nullptr, 0, nullptr), 1);
  EXPECT_EQ(record.level(), 2);
  EXPECT_EQ(c__zdbaddrecordraw(db, p, key, &one, nullptr), 1) << "overwrites, despite its name";
  EXPECT_EQ(record.level(), 1);
  int status = -1;
  EXPECT_EQ(c__zdbmergerecordintpy(db, p, key, 1, 0, 0, nullptr, &status), nullptr);
  EXPECT_EQ(status, 1) << "success without a handle";
}

// Without checking, a caller can store numbers that no label has.
TEST(RecordsByNumber, UnknownLabels_ShowAsQuestionMarks) {
  Database db;
  zdbSymbol_t p = db.add("p", 2);
  db.label("a");
  for (int number : {-5, 2, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
    const int key[] = {1, number};
    Record record(db);
    EXPECT_EQ(c__zdbmergerecordint(db, p, key, 0, 1, &record, 0, nullptr), 1);
    EXPECT_EQ(record.key(2), "a.?") << number;
  }
  Record record(db);
  const char* slice[] = {"a", " "};
  EXPECT_EQ(c__zdbfindlastrecordslice(db, p, slice, &record), 1) << db.error();
}

TEST(ElementTexts, BelongToSetsAndHaveALimit) {
  Database db;
  zdbSymbol_t set = db.add("s", 1, ZDB_SET);
  const int key[] = {db.label("a")};
  const std::string longest(255, 't');
  char text[ZDB_TEXT_SIZE];
  Record record(db);
  EXPECT_EQ(c__zdbmergesetrecordint(db, set, key, 1, 1, &record, "first"), 1);
  EXPECT_EQ(c__zdbgetelemtext(db, record, text), 1);
  EXPECT_STREQ(text, "first");
  EXPECT_EQ(c__zdbaddrecordraw(db, set, key, nullptr, "FIRST"), 1);
  EXPECT_EQ(c__zdbgetelemtext(db, record, text), 1);
  EXPECT_STREQ(text, "first") << "texts that differ in case are one";
  EXPECT_EQ(c__zdbsetelemtext(db, record, longest.c_str()), 1);
  EXPECT_EQ(c__zdbgetelemtext(db, record, text), 1);
  EXPECT_EQ(text, longest);
  EXPECT_EQ(c__zdbsetelemtext(db, record, (longest + "t").c_str()), 0);
  EXPECT_EQ(db.error(), "Explanatory text too long. Max length is 255");
  for (double odd : {0.0, -3.0, 1e300, kInf, std::numeric_limits<double>::quiet_NaN()}) {
    c__zdbsetlevel(db, record, odd);
    EXPECT_EQ(c__zdbgetelemtext(db, record, text), 1);
    EXPECT_STREQ(text, "") << odd;
  }
}

using Getter = int (*)(zdbHandle_t, zdbRecord_t, double*);
using Setter = int (*)(zdbHandle_t, zdbRecord_t, double);
const struct {
  const char* get;
  const char* set;
  Getter getter;
  Setter setter;
} kFields[] = {
    {"zdbGetLevel", "zdbSetLevel", c__zdbgetlevel, c__zdbsetlevel},
    {"zdbGetMarginal", "zdbSetMarginal", c__zdbgetmarginal, c__zdbsetmarginal},
    {"zdbGetLower", "zdbSetLower", c__zdbgetlower, c__zdbsetlower},
    {"zdbGetUpper", "zdbSetUpper", c__zdbgetupper, c__zdbsetupper},
    {"zdbGetScale", "zdbSetScale", c__zdbgetscale, c__zdbsetscale},
};

TEST(Fields, OfAVariable_AreFiveInOrder) {
  Database db;
  Record record(db, db.add("x", 1, ZDB_VARIABLE), {"a"});
  for (int i = 0; i < 5; ++i) EXPECT_EQ(kFields[i].setter(db, record, 10 + i), 1);
  double values[5];
  int key;
  EXPECT_EQ(c__zdbgetrecordraw(db, record, 1, &key, values), 1);
  for (int i = 0; i < 5; ++i) {
    double value = 0;
    EXPECT_EQ(kFields[i].getter(db, record, &value), 1);
    EXPECT_EQ(value, 10 + i);
    EXPECT_EQ(values[i], 10 + i);
  }
}

TEST(Fields, ThatDoNotExist_AreRefused) {
  Database db;
  Record parameter(db, db.add("p", 1), {"a"});
  Record label(db);
  ASSERT_EQ(c__zdbfindfirstrecord(db, db.universe(), &label), 1);
  for (const auto& field : kFields) {
    double value = 7;
    EXPECT_EQ(field.getter(db, label, &value), 0);
    EXPECT_EQ(db.error(), field.get + std::string(": records of the Universe have no values"));
    EXPECT_EQ(field.setter(db, nullptr, 1), 0);
    EXPECT_EQ(db.error(), "No symbol record handle specified");
    if (field.getter == c__zdbgetlevel) continue;
    EXPECT_EQ(field.setter(db, parameter, 1), 0);
    EXPECT_EQ(db.error(),
              field.set + std::string(": records of symbol p have one value, the level"));
    EXPECT_EQ(field.getter(db, parameter, &value), 0);
    EXPECT_EQ(value, 7);
  }
}

TEST(Keys, AreCopiedUpToTheRoomThatIsGiven) {
  Database db;
  Record record(db, db.add("p", 3), {"a", "b", "c"});
  char text[3][ZDB_TEXT_SIZE] = {"-", "-", "-"};
  char* rows[] = {text[0], text[1], text[2]};
  int keys[] = {-1, -1, -1};
  double value;
  EXPECT_EQ(c__zdbgetkeys(db, record, -1, nullptr), 1);
  EXPECT_EQ(c__zdbgetkeys(db, record, 2, rows), 1);
  EXPECT_STREQ(text[1], "b");
  EXPECT_STREQ(text[2], "-");
  EXPECT_EQ(c__zdbgetkeys(db, record, 99, rows), 1);
  EXPECT_STREQ(text[2], "c");
  EXPECT_EQ(c__zdbgetrecordraw(db, record, 2, keys, &value), 1);
  EXPECT_EQ(keys[1], 2);
  EXPECT_EQ(keys[2], -1);
  EXPECT_EQ(c__zdbgetkey(db, record, 3, text[0]), 0);
  EXPECT_EQ(db.error(), "Index too large");
  EXPECT_EQ(c__zdbgetkey(db, record, -1, text[0]), 0);
  EXPECT_EQ(db.error(), "zdbGetKey: position -1 is below 0");
}

TEST(Delete, SpentHandle_AnswersEveryCallWithAMessage) {
  for (int dim : {0, 1}) {
    Database db;
    zdbSymbol_t p = db.add("p", dim);
    Record record(db, p, {"a"});
    EXPECT_EQ(c__zdbdeleterecord(db, record), 1);
    EXPECT_EQ(db.info(p, ZDB_SYMBOL_RECORDS), 0);
    const auto fails = [&](int result, const char* what) {
      EXPECT_EQ(result, 0) << what << " dim " << dim;
      EXPECT_NE(db.error(), "") << what;
      c__zdbselectrecordstorage(db, nullptr, 0);
    };
    double value;
    int key;
    char text[ZDB_TEXT_SIZE];
    fails(c__zdbdeleterecord(db, record), "delete");
    fails(c__zdbgetlevel(db, record, &value), "level");
    fails(c__zdbsetlevel(db, record, 1), "set level");
    fails(c__zdbgetrecordraw(db, record, 1, &key, &value), "raw");
    fails(c__zdbgetelemtext(db, record, text), "text");
    fails(c__zdbrecordmovenext(db, record), "next");
    fails(c__zdbrecordmoveprev(db, record), "prev");
    fails(c__zdbrecordhasnext(db, record), "has next");
    fails(c__zdbrecordhasprev(db, record), "has prev");
    Record copy(db);
    if (c__zdbcopysymboliterator(db, record, &copy) == 1) {
      fails(c__zdbgetlevel(db, copy, &value), "level of the copy");
    }
  }
  Database db;
  db.label("a");
  Record label(db);
  ASSERT_EQ(c__zdbfindfirstrecord(db, db.universe(), &label), 1);
  EXPECT_EQ(c__zdbdeleterecord(db, label), 0);
  EXPECT_EQ(db.error(), "Cannot delete the Universe");
}

}  // namespace
