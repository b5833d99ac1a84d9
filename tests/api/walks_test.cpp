// Walking symbols, slices and the universe.

#include <string>

#include "client.h"

namespace {

/// The keys that a walk visits, from a handle that stands on its first record.
std::string walk(Record& record, int dim, int (*move)(zdbHandle_t, zdbRecord_t),
                 int (*hasMore)(zdbHandle_t, zdbRecord_t)) {
  std::string visited;
  for (bool more = true; more;) {
    visited += record.key(dim) + " ";
    more = hasMore(record.db, record) == 1;
    EXPECT_EQ(move(record.db, record), more ? 1 : 0);
  }
  return visited;
}

std::string walkForward(Record& record, int dim) {
  return walk(record, dim, c__zdbrecordmovenext, c__zdbrecordhasnext);
}
std::string walkBack(Record& record, int dim) {
  return walk(record, dim, c__zdbrecordmoveprev, c__zdbrecordhasprev);
}

class Walks : public testing::Test {
 protected:
  Walks() {
    for (const char* label : {"a", "b", "c"}) db.label(label);
    for (const Labels& key :
         std::vector<Labels>{{"c", "a"}, {"a", "b"}, {"b", "b"}, {"a", "c"}, {"b", "a"}}) {
      db.merge(p, key);
    }
  }

  Database db;
  zdbSymbol_t p = db.add("p", 2);
};

TEST_F(Walks, Symbol_IsInKeyOrderBothWays) {
  Record record(db);
  ASSERT_EQ(c__zdbfindfirstrecord(db, p, &record), 1);
  EXPECT_EQ(walkForward(record, 2), "a.b a.c b.a b.b c.a ");
  EXPECT_EQ(db.error(), "Last record reached in symbol p");
  EXPECT_EQ(record.key(2), "c.a") << "a failed move leaves the handle";
  EXPECT_EQ(walkBack(record, 2), "c.a b.b b.a a.c a.b ");
  EXPECT_EQ(db.error(), "First record reached in symbol p");
  ASSERT_EQ(c__zdbfindlastrecord(db, p, &record), 1);
  EXPECT_EQ(record.key(2), "c.a");
}

TEST_F(Walks, Slices_VisitWhatMatches) {
  const struct {
    Labels slice;
    std::string forward, back;
  } cases[] = {
      {{"a", " "}, "a.b a.c ", "a.c a.b "},
      {{" ", "b"}, "a.b b.b ", "b.b a.b "},
      {{" ", " "}, "a.b a.c b.a b.b c.a ", "c.a b.b b.a a.c a.b "},
      {{"B", "A"}, "b.a ", "b.a "},
  };
  for (const auto& c : cases) {
    Record record(db);
    ASSERT_EQ(c__zdbfindfirstrecordslice(db, p, c.slice.data(), &record), 1) << db.error();
    EXPECT_EQ(walkForward(record, 2), c.forward);
    EXPECT_EQ(db.error(), "Last record reached in slice of symbol p");
    ASSERT_EQ(c__zdbfindlastrecordslice(db, p, c.slice.data(), &record), 1) << db.error();
    EXPECT_EQ(walkBack(record, 2), c.back);
    EXPECT_EQ(db.error(), "First record reached in slice of symbol p");
  }
}

TEST_F(Walks, SlicesOfNothing_SayWhy) {
  zdbSymbol_t empty = db.add("none", 2);
  const struct {
    zdbSymbol_t symbol;
    Labels slice;
    std::string message;
  } cases[] = {
      {p, {"new", " "}, "Cannot find slice element new (on position 1) in Symbol p"},
      {p, {"c", "c"}, "Cannot find a record for slice (\"c\",\"c\") in Symbol p"},
      {empty, {" ", " "}, "Cannot find a record in Symbol none"},
      {db.universe(), {" "}, "Cannot find a record in Symbol *"},
  };
  for (const auto& c : cases) {
    Record record(db);
    EXPECT_EQ(c__zdbfindfirstrecordslice(db, c.symbol, c.slice.data(), &record), 0);
    EXPECT_EQ(db.error(), c.message);
    EXPECT_EQ(c__zdbfindlastrecordslice(db, c.symbol, c.slice.data(), &record), 0);
    EXPECT_EQ(record.handle, nullptr);
  }
}

TEST_F(Walks, Universe_IsTheLabels) {
  Record record(db);
  ASSERT_EQ(c__zdbfindfirstrecord(db, db.universe(), &record), 1);
  EXPECT_EQ(walkForward(record, 1), "a b c ");
  EXPECT_EQ(db.error(), "Last record reached in Universe");
  EXPECT_EQ(walkBack(record, 1), "c b a ");
  EXPECT_EQ(db.error(), "First record reached in Universe");
  int key = 0;
  EXPECT_EQ(c__zdbgetrecordraw(db, record, 1, &key, nullptr), 1);
  EXPECT_EQ(key, 1);
  const char* label[] = {"B"};
  Record found(db);
  ASSERT_EQ(c__zdbfindrecord(db, db.universe(), label, &found), 1);
  EXPECT_EQ(found.key(1), "b");
  char text[ZDB_TEXT_SIZE];
  EXPECT_EQ(c__zdbgetelemtext(db, found, text), 0);
  EXPECT_EQ(db.error(), "Cannot get explanatory text for records of the Universe");
  EXPECT_EQ(c__zdbsetelemtext(db, found, "x"), 0);
  EXPECT_EQ(db.error(), "Cannot set explanatory text for records of the Universe");
  Database empty;
  EXPECT_EQ(c__zdbfindlastrecord(empty, empty.universe(), &record), 0);
  EXPECT_EQ(empty.error(), "Cannot find a record in Universe");
}

TEST_F(Walks, Copies_StandOnTheSameRecordAndGoTheirOwnWay) {
  const char* slice[] = {"a", " "};
  Record record(db);
  Record copy(db);
  ASSERT_EQ(c__zdbfindfirstrecordslice(db, p, slice, &record), 1);
  ASSERT_EQ(c__zdbcopysymboliterator(db, record, &copy), 1);
  EXPECT_EQ(c__zdbsamerecord(db, record, copy), 1);
  EXPECT_EQ(c__zdbrecordmovenext(db, copy), 1);
  EXPECT_EQ(c__zdbsamerecord(db, record, copy), 0);
  EXPECT_EQ(c__zdbrecordmovenext(db, copy), 0) << "the copy keeps the slice";
  EXPECT_EQ(record.key(2), "a.b");
  EXPECT_EQ(c__zdbcopysymboliterator(db, nullptr, &copy), 0);
  EXPECT_EQ(db.error(), "No source symbol record handle specified");
}

TEST(Py, Twins_GiveHandleAndStatus) {
  Database db;
  db.label("a");
  zdbSymbol_t p = db.add("p", 1);
  const int numbers[] = {1};
  const char* keys[] = {"a"};
  const char* unknown[] = {"new"};
  const auto works = [&](zdbRecord_t record, int status, bool expected) {
    EXPECT_EQ(status, expected ? 1 : 0) << db.error();
    EXPECT_EQ(record != nullptr, expected);
    if (record != nullptr) c__zdbfreesymboliterator(db, record);
  };
  const auto call = [&](auto function, auto... arguments) {
    int result = -1;
    zdbRecord_t record = function(db, arguments..., &result);
    works(record, result, true);
  };
  call(c__zdbmergerecordintpy, p, numbers, 1, 1, 0, nullptr);
  call(c__zdbmergesetrecordintpy, db.add("s", 1, ZDB_SET), numbers, 1, 1, "text");
  call(c__zdbaddrecordpy, db.add("q", 1), keys);
  call(c__zdbmergerecordpy, p, keys);
  call(c__zdbfindrecordpy, p, keys);
  call(c__zdbfindfirstrecordpy, p);
  call(c__zdbfindlastrecordpy, p);
  call(c__zdbfindfirstrecordslicepy, p, keys);
  call(c__zdbfindlastrecordslicepy, p, keys);
  Record record(db, p, {"a"});
  call(c__zdbcopysymboliteratorpy, record.handle);
  int status = -1;
  zdbRecord_t none = c__zdbfindrecordpy(db, p, unknown, &status);
  works(none, status, false);

  EXPECT_EQ(c__zdbfindsymbolpy(db, "p", &status), p);
  EXPECT_EQ(c__zdbfindsymbolwithaliaspy(db, "p", &status), p);
  EXPECT_EQ(c__zdbgetsymbolbyindexpy(db, 0, &status), p);
  EXPECT_EQ(c__zdbgetsymbolbynumberpy(db, 0, &status), p);
  EXPECT_NE(c__zdbaddsymbolpy(db, "r", 1, ZDB_SET, 0, "", &status), nullptr);
  EXPECT_EQ(status, 1);
  EXPECT_EQ(c__zdbaddsymbolpy(db, "r", 1, ZDB_SET, 0, "", &status), nullptr);
  EXPECT_EQ(status, 0);
}

}  // namespace
