#include <gtest/gtest.h>
#include <algorithm>
#include <array>

#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "core/zdb.h"
#include "symbols/zdbsymboliterator.h"

namespace {

using namespace zdb;

using Handle = std::unique_ptr<AbstractZDBSymbolIterator>;
constexpr double inf = std::numeric_limits<double>::infinity();

AbstractZDBSymbol* add(ZDB& db, const char* name, int dim, int type, int userInfo = 0) {
  const std::vector<AbstractZDBSymbol*> domains(static_cast<std::size_t>(dim), db.universe());
  return db.AddSymbol(name, dim, type, userInfo, "", domains.data(), nullptr);
}

std::vector<std::string> dump(AbstractZDBSymbol* symbol) {
  std::vector<std::string> lines;
  ZDB& db = *symbol->database;
  symbol->forEachRecord([&](const int* keys, const double* values) {
    char text[256] = "";
    if (symbol->type == TypeSet) db.GetElemText(textNumber(values[0]), text);
    std::string line = db.joinKeys(keys, symbol->dim) + text;
    for (int i = 0; i < valueWidth(symbol->type) && symbol->type != TypeSet; ++i) {
      line += " " + std::to_string(values[i]);
    }
    lines.push_back(line);
  });
  return lines;
}

TEST(DefaultRows, EachSubtype_AndThoseBeyondTheTable) {
  struct Case {
    int type;
    int subtype;
    std::array<double, 5> row;
  };
  const Case cases[] = {
      {TypeVariable, 0, {0, 0, 0, 0, 1}},      {TypeVariable, 1, {0, 0, 0, 1, 1}},
      {TypeVariable, 2, {0, 0, 0, 100, 1}},    {TypeVariable, 3, {0, 0, 0, inf, 1}},
      {TypeVariable, 4, {0, 0, -inf, 0, 1}},   {TypeVariable, 5, {0, 0, -inf, inf, 1}},
      {TypeVariable, 8, {0, 0, 1, inf, 1}},    {TypeVariable, 9, {0, 0, 1, 100, 1}},
      {TypeVariable, 10, {0, 0, 0, 0, 1}},     {TypeVariable, -1, {0, 0, 0, 0, 1}},
      {TypeEquation, 1, {0, 0, 0, inf, 1}},    {TypeEquation, 2, {0, 0, -inf, 0, 1}},
      {TypeEquation, 3, {0, 0, -inf, inf, 1}}, {TypeEquation, 5, {0, 0, 0, inf, 1}},
      {TypeEquation, 6, {0, 0, 0, 0, 1}},      {TypeEquation, 7, {0, 0, 0, 0, 1}},
  };
  const char* key[] = {"i1"};
  for (const Case& c : cases) {
    ZDB db;
    AbstractZDBSymbol* symbol = add(db, "x", 1, c.type, c.subtype);
    const Handle record(db.AddRecord(symbol, key));
    ASSERT_NE(record, nullptr);
    for (int i = 0; i < 5; ++i) EXPECT_EQ(record->getValues()[i], c.row[i]) << c.subtype;
  }
}

TEST(Records, MergeKeepsARow_RawOverwritesIt) {
  ZDB db;
  AbstractZDBSymbol* p = add(db, "p", 1, TypeParameter);
  const char* key[] = {"i1"};
  const auto [merged, row] = db.MergeRecord(p, key, nullptr);
  ASSERT_TRUE(merged);
  *row = 7;
  EXPECT_EQ(*db.MergeRecord(p, key, nullptr).second, 7);
  EXPECT_EQ(db.AddRecord(p, key), nullptr);
  EXPECT_STREQ(db.lastError(), "Record (\"i1\") exists already for symbol p");
  const int number[] = {1};
  const double nine[] = {9};
  EXPECT_TRUE(db.AddRecordRaw(p, number, true, false, nullptr, nullptr, nullptr));
  EXPECT_EQ(*row, 7);
  EXPECT_TRUE(db.AddRecordRaw(p, number, true, true, nine, nullptr, nullptr));
  EXPECT_EQ(*row, 9);  // the same row: addresses are kept
  EXPECT_EQ(p->size(), 1);
}

TEST(Records, ScalarKeepsItsRow_UntilItIsOverwritten) {
  ZDB db;
  AbstractZDBSymbol* s = add(db, "s", 0, TypeParameter);
  *db.MergeRecord(s, nullptr, nullptr).second = 3;
  EXPECT_EQ(*db.MergeRecord(s, nullptr, nullptr).second, 3);
  EXPECT_EQ(db.AddRecord(s, nullptr), nullptr);
  EXPECT_STREQ(db.lastError(), "Record () exists already for symbol s");
  EXPECT_EQ(*s->storeRow(nullptr, std::array{8.0}.data(), true), 8);
}

TEST(Records, CallersSpecialValues_AreTranslatedOnTheWayIn) {
  ZDB db;
  const double mine[] = {-1, -2, -3, -4, -5};
  db.SetSpecialValues(mine);
  AbstractZDBSymbol* x = add(db, "x", 0, TypeVariable);
  EXPECT_TRUE(db.AddRecordRaw(x, nullptr, false, true, mine, nullptr, nullptr));
  const Handle record(x->getBegin());
  for (int i = 0; i < 5; ++i) {
    EXPECT_TRUE(sameBits(record->getValues()[i], kLibrarySpecialValues[i])) << i;
  }
}

// What arrives when a symbol of one type is copied into another of the same or of another database.
TEST(CopySymbol, TypesAndDatabases) {
  for (const bool across : {false, true}) {
    ZDB from;
    ZDB other;
    ZDB& to = across ? other : from;
    int number;
    other.labels().merge("b", number);  // the same labels under other numbers
    AbstractZDBSymbol* p = add(from, "p", 1, TypeParameter);
    AbstractZDBSymbol* s = add(from, "s", 1, TypeSet);
    AbstractZDBSymbol* x = add(from, "x", 1, TypeVariable, 3);
    for (const char* label : {"a", "b"}) {
      *from.MergeRecord(p, &label, nullptr).second = label[0];
      *from.MergeRecord(s, &label, nullptr).second =
          from.SetElemText((label + std::string("?")).c_str());
      from.MergeRecord(x, &label, nullptr).second[1] = label[0];
    }
    const auto copied = [&](AbstractZDBSymbol* source, int type) {
      static int serial = 0;
      AbstractZDBSymbol* target = add(to, ("t" + std::to_string(++serial)).c_str(), 1, type);
      const char* stale = "stale";
      to.MergeRecord(target, &stale, nullptr);
      EXPECT_TRUE(from.CopySymbol(target, source)) << from.lastError();
      std::vector<std::string> lines = dump(target);
      std::sort(lines.begin(), lines.end());
      return lines;
    };
    using Lines = std::vector<std::string>;
    EXPECT_EQ(copied(p, TypeParameter), (Lines{"(\"a\") 97.000000", "(\"b\") 98.000000"}));
    EXPECT_EQ(copied(s, TypeSet), (Lines{"(\"a\")a?", "(\"b\")b?"}));
    EXPECT_EQ(copied(p, TypeSet), (Lines{"(\"a\")", "(\"b\")"}));
    EXPECT_EQ(copied(x, TypeVariable), (Lines{"(\"a\") 0.000000 97.000000 0.000000 inf 1.000000",
                                              "(\"b\") 0.000000 98.000000 0.000000 inf 1.000000"}));
    EXPECT_EQ(dump(p).size(), 2u);
  }
}

TEST(CopySymbol, Universe_BothWays) {
  ZDB from;
  ZDB to;
  int number;
  for (const char* label : {"a", "b"}) from.labels().merge(label, number);
  AbstractZDBSymbol* s = add(to, "s", 1, TypeSet);
  EXPECT_TRUE(to.CopySymbol(s, from.universe()));
  EXPECT_EQ(dump(s), (std::vector<std::string>{"(\"a\")", "(\"b\")"}));
  ZDB third;
  EXPECT_TRUE(third.CopySymbol(third.universe(), s));
  EXPECT_EQ(third.highestLabel(), 2);
  ZDB fourth;
  EXPECT_TRUE(fourth.CopySymbol(fourth.universe(), from.universe()));
  EXPECT_STREQ(fourth.labels()[2], "b");
}

TEST(CopySymbol, OntoItself_LosesNothing) {
  ZDB db;
  AbstractZDBSymbol* p = add(db, "p", 1, TypeParameter);
  const char* label = "a";
  db.MergeRecord(p, &label, nullptr);
  EXPECT_TRUE(db.CopySymbol(p, p));
  EXPECT_EQ(p->size(), 1);
}

TEST(CopySymbol, RecordWithAnUnknownLabelNumber_Fails) {
  ZDB db;
  AbstractZDBSymbol* p = add(db, "p", 1, TypeParameter);
  AbstractZDBSymbol* q = add(db, "q", 1, TypeParameter);
  const int unknown[] = {12345};
  const double row[] = {1};
  db.AddRecordRaw(p, unknown, false, true, row, nullptr, nullptr);
  EXPECT_FALSE(db.CopySymbol(q, p));
  EXPECT_STREQ(db.lastError(),
               "Symbol p has a record with the label number 12345, which is unknown");
}

TEST(Handles, AfterDeletingTheirRecord_AreSpentAndHarmless) {
  for (const int dim : {0, 1}) {
    ZDB db;
    AbstractZDBSymbol* p = add(db, "p", dim, TypeVariable);
    const char* label = "a";
    const Handle record(db.AddRecord(p, &label));
    ASSERT_TRUE(db.DeleteRecord(record.get()));
    EXPECT_TRUE(p->empty());
    EXPECT_FALSE(db.DeleteRecord(record.get()));
    EXPECT_STREQ(db.lastError(), "The record of this handle in symbol p has been deleted already");
    int key[1];
    double row[5];
    EXPECT_EQ(record->getValues(), nullptr);
    EXPECT_EQ(record->getKeys(), nullptr);
    EXPECT_FALSE(record->getRecordRaw(key, row));
    EXPECT_FALSE(record->hasNext(db.labels()) || record->hasPrev());
    EXPECT_FALSE(record->moveNext(9) || record->movePrev());
    EXPECT_STREQ(record->lastMessage(), "The record of this handle in symbol p has been deleted");
    EXPECT_FALSE(Handle(ZDB::symbolIteratorFactory(record.get()))->moveNext(9));
  }
}

// Handles come from memory that is used again, also by another kind of handle.
TEST(Handles, ManyAtOnce_AreDistinctAndReusable) {
  ZDB db;
  AbstractZDBSymbol* p = add(db, "p", 1, TypeParameter);
  for (int i = 0; i < 10; ++i) {
    const std::string label = "l" + std::to_string(i);
    const char* text = label.c_str();
    *db.MergeRecord(p, &text, nullptr).second = i;
  }
  for (int round = 0; round < 3; ++round) {
    std::vector<Handle> handles;
    for (int n = 0; n < 9000; ++n) {
      const int key[] = {1 + n % 10};
      handles.emplace_back(n % 3 == 0 ? ZDB::symbolIteratorFactory(db.universe(), key[0])
                                      : db.FindRecordInt(p, key));
    }
    for (int n = 0; n < 9000; ++n) {
      ASSERT_EQ(handles[n]->getKeys()[0], 1 + n % 10);
      if (n % 3 != 0) {
        ASSERT_EQ(*handles[n]->getValues(), n % 10);
      }
    }
  }
}

}  // namespace
