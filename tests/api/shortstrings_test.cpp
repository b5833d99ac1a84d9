// The d__ and n__ families.

#include <algorithm>
#include <array>
#include <string>

#include "client.h"

namespace {

/// A text argument or result: a length byte and characters in 256 bytes.
struct Short {
  std::array<char, 256> bytes;

  explicit Short(const std::string& text = "untouched") {
    bytes.fill('#');
    bytes[0] = static_cast<char>(text.size());
    std::copy_n(text.begin(), std::min<std::size_t>(text.size(), 255), bytes.begin() + 1);
  }
  operator char*() { return bytes.data(); }
  std::string text() const { return {bytes.data() + 1, static_cast<unsigned char>(bytes[0])}; }
};

/// A matrix of 20 rows, the first of them filled.
struct Matrix {
  std::array<Short, ZDB_MAX_DIM> rows;

  Matrix() = default;
  Matrix(std::initializer_list<const char*> texts) {
    std::transform(texts.begin(), texts.end(), rows.begin(),
                   [](const char* t) { return Short(t); });
  }
  operator char*() { return rows[0]; }
  std::string joined(std::size_t count) const {
    std::string all;
    for (std::size_t i = 0; i < count; ++i) all.append(rows[i].text()).append("|");
    return all;
  }
};
static_assert(sizeof(Matrix) == 20 * 256);

TEST(ShortStrings, Texts_ComeAndGoInFullLength) {
  Database db;
  const std::string longest(255, 't');
  zdbSymbol_t symbol = nullptr;
  EXPECT_EQ(d__zdbaddsymbol(db, Short("Food"), 1, ZDB_SET, 0, Short(longest), &symbol), 1);
  ASSERT_NE(symbol, nullptr) << db.error();
  Short text;
  int value = -1;
  EXPECT_EQ(d__zdbsymbolinfo(db, symbol, ZDB_SYMBOL_TEXT, &value, nullptr, text), 1);
  EXPECT_EQ(text.text(), longest);
  EXPECT_EQ(d__zdbsymbolinfo(db, symbol, ZDB_SYMBOL_NAME, nullptr, nullptr, text), 1);
  EXPECT_EQ(text.text(), "Food");
  EXPECT_EQ(text.bytes[5], longest[0]) << "behind the characters nothing is written";

  int number;
  EXPECT_EQ(d__zdbmergeuel(db, Short("rye"), &number), 1);
  EXPECT_EQ(d__zdbfinduel(db, Short("RYE"), &number), 1);
  EXPECT_EQ(number, 1);
  EXPECT_EQ(d__zdbgetuelbyindex(db, 1, text), 1);
  EXPECT_EQ(text.text(), "rye");
  EXPECT_EQ(d__zdbgetuelbyindex(db, 2, text), 0);
  EXPECT_EQ(text.text(), "") << "a failure gives an empty text";
  EXPECT_EQ(d__zdbinfo(db, ZDB_INFO_LABELS, &number, nullptr, nullptr), 1);
  EXPECT_EQ(number, 1);
  zdbSymbol_t found = nullptr;
  EXPECT_EQ(d__zdbfindsymbol(db, Short("FOOD"), &found), 1);
  EXPECT_EQ(found, symbol);
  EXPECT_EQ(d__zdbfindsymbolwithaliaspy(db, Short("food"), &number), symbol);
  EXPECT_EQ(outputOf([&] { d__zdbprintlog(db, Short("a line")); }), "a line\n");
  EXPECT_EQ(d__zdbinitfromzxf(db, Short("")), 0);
}

TEST(ShortStrings, Keys_HaveAsManyRowsAsTheSymbol) {
  Database db;
  zdbSymbol_t p = db.add("p", 2);
  Matrix keys{"a", "b", "c"};
  Record record(db);
  EXPECT_EQ(d__zdbaddrecord(db, p, keys, &record), 1) << db.error();
  EXPECT_EQ(db.info(db.universe(), ZDB_SYMBOL_RECORDS), 2) << "the third row was not looked at";
  EXPECT_EQ(d__zdbmergerecord(db, p, keys, &record), 1);
  EXPECT_EQ(d__zdbfindrecord(db, p, keys, &record), 1);
  EXPECT_EQ(d__zdbfindfirstrecordslice(db, p, Matrix{" ", "b"}, &record), 1);
  EXPECT_EQ(d__zdbfindlastrecordslice(db, p, Matrix{"a", " "}, &record), 1);
  Short text;
  EXPECT_EQ(d__zdbgetkey(db, record, 1, text), 1);
  EXPECT_EQ(text.text(), "b");
  for (int dim : {-1, 0, 1, 2, 99}) {
    Matrix read;
    EXPECT_EQ(d__zdbgetkeys(db, record, dim, read), 1);
    const std::string expected[] = {"untouched|untouched|", "a|untouched|", "a|b|"};
    EXPECT_EQ(read.joined(2), expected[std::clamp(dim, 0, 2)]) << dim;
  }
  Matrix wide(std::initializer_list<const char*>{"x"});
  zdbSymbol_t largest = db.add("largest", 20);
  for (Short& row : wide.rows) row = Short("x");
  EXPECT_EQ(d__zdbmergerecord(db, largest, wide, &record), 1) << db.error();
}

// The symbol is asked first; when it cannot tell its dimension, the function is not called.
TEST(ShortStrings, SymbolWithoutDimension_FailsBeforeTheFunction) {
  Database db;
  Record record(db);
  c__zdbsetdebug(db, 1);
  int status = -1;
  const std::string trace = outputOf([&] {
    EXPECT_EQ(d__zdbfindrecord(db, nullptr, Matrix{"a"}, &record), 0);
    EXPECT_EQ(d__zdbaddrecordpy(db, nullptr, Matrix{"a"}, &status), nullptr);
  });
  c__zdbsetdebug(db, 0);
  EXPECT_EQ(trace, "zdbSymbolDim\nzdbSymbolDim\n");
  EXPECT_EQ(status, 0);
  EXPECT_EQ(db.error(), "No symbol handle specified");
}

TEST(ShortStrings, Domains_HaveAsManyRowsAsTheCallerSays) {
  Database db;
  const zdbSymbol_t domains[21] = {};
  Matrix names{"one", "two"};
  zdbSymbol_t symbol = nullptr;
  EXPECT_EQ(d__zdbaddsymbolx(db, Short("p"), 2, ZDB_SET, 0, Short(""), domains, names, &symbol), 1);
  ASSERT_NE(symbol, nullptr) << db.error();
  zdbSymbol_t handles[2];
  for (int dim : {0, 1, 2}) {
    Matrix read;
    EXPECT_EQ(d__zdbgetdomain(db, symbol, dim, handles, read), 1);
    const std::string expected[] = {"untouched|untouched|", "one|untouched|", "one|two|"};
    EXPECT_EQ(read.joined(2), expected[dim]);
  }
  int status = -1;
  for (int dim : {-1, 21}) {
    EXPECT_EQ(
        d__zdbaddsymbolxpy(db, Short("q"), dim, ZDB_SET, 0, Short(""), domains, names, &status),
        nullptr);
    EXPECT_EQ(status, 1) << "as with C strings: success without a handle";
  }
}

TEST(ShortStrings, ElementTexts) {
  Database db;
  zdbSymbol_t set = db.add("s", 1, ZDB_SET);
  const int key[] = {db.label("a")};
  Record record(db);
  Short text;
  EXPECT_EQ(d__zdbmergesetrecordint(db, set, key, 1, 1, &record, Short("first")), 1);
  EXPECT_EQ(d__zdbgetelemtext(db, record, text), 1);
  EXPECT_EQ(text.text(), "first");
  EXPECT_EQ(d__zdbaddrecordraw(db, set, key, nullptr, Short("second")), 1);
  EXPECT_EQ(d__zdbgetelemtext(db, record, text), 1);
  EXPECT_EQ(text.text(), "second");
  EXPECT_EQ(d__zdbsetelemtext(db, record, Short("")), 1);
  EXPECT_EQ(d__zdbgetelemtext(db, record, text), 1);
  EXPECT_EQ(text.text(), "");
}

TEST(FlatMatrices, Rows_AreCStrings) {
  Database db;
  zdbSymbol_t p = db.add("p", 2);
  Record record(db, p, {"a", "b"});
  char rows[ZDB_MAX_DIM][ZDB_TEXT_SIZE] = {};
  zdbSymbol_t domains[2];
  EXPECT_EQ(n__zdbgetkeys(db, record, 2, rows[0]), 1);
  EXPECT_STREQ(rows[0], "a");
  EXPECT_STREQ(rows[1], "b");
  EXPECT_EQ(n__zdbgetdomain(db, p, 2, domains, rows[0]), 1);
  EXPECT_STREQ(rows[1], "*");
  EXPECT_EQ(domains[1], db.universe());
}

}  // namespace
