// Symbols to dense arrays and back, over the three record storages.

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "client.h"

namespace {

using Cells = std::vector<double>;
using Dims = std::vector<int>;
using Symbols = std::vector<zdbSymbol_t>;

// Labels c, a, b, d have the numbers 1 to 4. Set i holds c, a, d and j holds b, d, in this order of
// labels and in another order of adding; ii is an alias of i.
class DenseArrays : public testing::TestWithParam<int> {
 protected:
  DenseArrays() {
    EXPECT_EQ(c__zdbselectrecordstorage(db, nullptr, GetParam()), 1);
    for (const char* label : {"c", "a", "b", "d"}) db.label(label);
    i = add("i", {db.universe()}, ZDB_SET);
    j = add("j", {db.universe()}, ZDB_SET);
    ii = db.add("ii", 1, ZDB_ALIAS, db.info(i, ZDB_SYMBOL_NUMBER));
    for (const char* label : {"d", "a", "c"}) db.merge(i, {label});
    for (const char* label : {"d", "b"}) db.merge(j, {label});
  }

  /// A null domain is the name "unknown".
  zdbSymbol_t add(const char* name, const Symbols& domains, int type = ZDB_PARAMETER,
                  int userInfo = 0) {
    const std::vector<const char*> names(domains.size(), "unknown");
    zdbSymbol_t symbol = nullptr;
    c__zdbaddsymbolx(db, name, static_cast<int>(domains.size()), type, userInfo, "", domains.data(),
                     names.data(), &symbol);
    EXPECT_NE(symbol, nullptr) << db.error();
    return symbol;
  }
  void put(zdbSymbol_t symbol, const Labels& key, double level) {
    Record record(db, symbol, key);
    EXPECT_EQ(c__zdbsetlevel(db, record, level), 1);
  }
  /// p(i, j) and x(i, j) get three records.
  zdbSymbol_t filled(const char* name, const Symbols& domains, int type = ZDB_PARAMETER) {
    zdbSymbol_t symbol = add(name, domains, type, type == ZDB_VARIABLE ? 3 : 0);
    put(symbol, {"d", "b"}, 7);
    put(symbol, {"a", "d"}, 5);
    put(symbol, {"c", "b"}, 1);
    return symbol;
  }

  static std::string shown(double value) {
    std::string text = std::to_string(value);
    return text.substr(0, text.find('.'));
  }
  /// Every record with its values, in key order.
  std::string records(zdbSymbol_t symbol) {
    const int dim = db.info(symbol, ZDB_SYMBOL_DIM);
    const int type = db.info(symbol, ZDB_SYMBOL_TYPE);
    std::string all;
    Record record(db);
    if (c__zdbfindfirstrecord(db, symbol, &record) != 1) return all;
    do {
      int keys[ZDB_MAX_DIM];
      double values[ZDB_MAX_VALUES];
      EXPECT_EQ(c__zdbgetrecordraw(db, record, dim, keys, values), 1);
      all += record.key(dim) + "=" + shown(values[0]);
      for (int v = 1; v < (type < ZDB_VARIABLE ? 1 : 5); ++v) all += "/" + shown(values[v]);
      all += " ";
    } while (c__zdbrecordmovenext(db, record) == 1);
    return all;
  }

  Database db;
  zdbSymbol_t i, j, ii;
};

INSTANTIATE_TEST_SUITE_P(Storages, DenseArrays,
                         testing::Values(ZDB_STORAGE_MAP, ZDB_STORAGE_VECTOR, ZDB_STORAGE_TREE));

TEST_P(DenseArrays, Symbol_IsLaidOutByRankInItsDomains) {
  const struct {
    const char* name;
    Symbols domains;
    Dims dims;
    Cells cells;
  } cases[] = {
      {"sets", {i, j}, {3, 2}, {1, 0, 0, 5, 7, 0}},
      {"alias", {ii, j}, {3, 2}, {1, 0, 0, 5, 7, 0}},
      {"universe", {db.universe(), j}, {4, 2}, {1, 0, 0, 5, 0, 0, 7, 0}},
      {"relaxed", {nullptr, j}, {4, 2}, {1, 0, 0, 5, 0, 0, 7, 0}},
  };
  zdbSymbol_t wide = filled("wide", {db.universe(), db.universe()});
  for (const auto& c : cases) {
    zdbSymbol_t p = filled(c.name, c.domains);
    Cells cells(c.cells.size(), -1);
    EXPECT_EQ(c__zdbdensesymboltodensearray(db, cells.data(), c.dims.data(), p, ZDB_LEVEL), 1)
        << db.error();
    EXPECT_EQ(cells, c.cells) << c.name;
    cells.assign(c.cells.size(), -1);
    int dropped = -1;
    EXPECT_EQ(c__zdbsparsesymboltodensearray(db, cells.data(), c.dims.data(), wide,
                                             c.domains.data(), ZDB_LEVEL, &dropped),
              1)
        << db.error();
    EXPECT_EQ(cells, c.cells) << c.name;
    EXPECT_EQ(dropped, 0);
  }
}

TEST_P(DenseArrays, Field_IsChosen) {
  for (const int type : {ZDB_VARIABLE, ZDB_EQUATION}) {
    zdbSymbol_t x = add(type == ZDB_VARIABLE ? "x" : "e", {j}, type);
    const int key = db.label("d");
    const double values[] = {1, 2, 3, 4, 5};
    ASSERT_EQ(c__zdbaddrecordraw(db, x, &key, values, nullptr), 1);
    const int dims[] = {2};
    for (int field = ZDB_LEVEL; field <= ZDB_SCALE; ++field) {
      Cells cells(2, -1);
      ASSERT_EQ(c__zdbdensesymboltodensearray(db, cells.data(), dims, x, field), 1) << db.error();
      EXPECT_EQ(cells, (Cells{0, field + 1.0}));
    }
  }
  const int dims[] = {3};
  Cells members(3, -1);
  EXPECT_EQ(c__zdbdensesymboltodensearray(db, members.data(), dims, i, ZDB_LEVEL), 0);
  EXPECT_EQ(db.error(), "Dimension 1 of the array for symbol i must have size 4, saw 3");
  zdbSymbol_t subset = add("subset", {i}, ZDB_SET);
  const int key = db.label("d");
  ASSERT_EQ(c__zdbaddrecordraw(db, subset, &key, nullptr, "a text has a number that is no cell"),
            1);
  ASSERT_EQ(c__zdbdensesymboltodensearray(db, members.data(), dims, subset, ZDB_LEVEL), 1);
  EXPECT_EQ(members, (Cells{0, 0, 1}));
  EXPECT_EQ(c__zdbdensesymboltodensearray(db, members.data(), dims, subset, ZDB_MARGINAL), 0);
  EXPECT_EQ(db.error(), "Symbol subset has fields 0 to 0, saw 1");
}

TEST_P(DenseArrays, Scalar_IsOneCell) {
  zdbSymbol_t s = add("s", {}, ZDB_VARIABLE);
  double cell = -1;
  int dropped = -1;
  ASSERT_EQ(c__zdbdensesymboltodensearray(db, &cell, nullptr, s, ZDB_LEVEL), 1) << db.error();
  EXPECT_EQ(cell, 0);
  cell = 8;
  ASSERT_EQ(c__zdbdensearraytosymbol(db, &cell, nullptr, s, nullptr), 1) << db.error();
  EXPECT_EQ(records(s), "=8/0/0/0/1 ");
  cell = -1;
  ASSERT_EQ(c__zdbsparsesymboltodensearray(db, &cell, nullptr, s, nullptr, ZDB_LEVEL, &dropped), 1);
  EXPECT_EQ(cell, 8);
  ASSERT_EQ(
      c__zdbsparsesymboltosqzdarray(db, &cell, nullptr, s, nullptr, nullptr, ZDB_SCALE, &dropped),
      1);
  EXPECT_EQ(cell, 1);
  EXPECT_EQ(dropped, 0);
  cell = 0;
  ASSERT_EQ(c__zdbdensearrayslicestosymbol(db, &cell, nullptr, nullptr, s, nullptr), 1);
  EXPECT_EQ(records(s), "");
}

TEST_P(DenseArrays, SpecialValues_AreTheCallers) {
  double special[ZDB_SV_COUNT];
  c__zdbgetspecialvalues(db, special);
  special[ZDB_SV_NOT_AVAILABLE] = -77;
  special[ZDB_SV_EPSILON] = 0.25;
  ASSERT_EQ(c__zdbsetspecialvalues(db, special), 1);
  zdbSymbol_t p = add("p", {j});
  const int dims[] = {2};
  const Cells cells = {-77, 0.25};
  ASSERT_EQ(c__zdbdensearraytosymbol(db, cells.data(), &j, p, dims), 1) << db.error();
  Cells back(2);
  ASSERT_EQ(c__zdbdensesymboltodensearray(db, back.data(), dims, p, ZDB_LEVEL), 1);
  EXPECT_EQ(back, cells);
  c__zdbgetspecialvalues(db, special);
  c__zdbsetspecialvalues(db, special);
  ASSERT_EQ(c__zdbdensesymboltodensearray(db, back.data(), dims, p, ZDB_LEVEL), 1);
  EXPECT_TRUE(std::isnan(back[0]));
  EXPECT_EQ(back[1], std::numeric_limits<double>::denorm_min());
}

TEST_P(DenseArrays, RecordsOutside_AreNamedOrCounted) {
  zdbSymbol_t p = filled("p", {i, j});
  put(p, {"b", "b"}, 2);
  const int unknown[] = {99, 4};
  const double value = 3;
  ASSERT_EQ(c__zdbmergerecordint(db, p, unknown, 0, 0, nullptr, 1, &value), 1);
  const Symbols domains = {ii, j};
  const int dims[] = {3, 2};
  Cells cells(6);
  EXPECT_EQ(c__zdbdensesymboltodensearray(db, cells.data(), dims, p, ZDB_LEVEL), 0);
  EXPECT_EQ(db.error(), R"(Record ("b","b") of symbol p is outside its domain)");
  int dropped = -1;
  ASSERT_EQ(c__zdbsparsesymboltodensearray(db, cells.data(), dims, p, domains.data(), ZDB_LEVEL,
                                           &dropped),
            1);
  EXPECT_EQ(cells, (Cells{1, 0, 0, 5, 7, 0}));
  EXPECT_EQ(dropped, 2);
}

TEST_P(DenseArrays, Squeezed_KeepsTheLabelsThatOccur) {
  zdbSymbol_t x = add("x", {db.universe(), db.universe()}, ZDB_VARIABLE, 3);
  put(x, {"d", "d"}, 7);
  put(x, {"c", "d"}, 1);
  put(x, {"b", "d"}, 2);  // b is not in i
  put(x, {"a", "c"}, 3);  // c is not in j: a does not occur either
  zdbSymbol_t si = add("si", {db.universe()}, ZDB_SET);
  zdbSymbol_t sj = add("sj", {db.universe()}, ZDB_SET);
  db.merge(si, {"b"});
  const Symbols domains = {i, j};
  const Symbols squeezed = {si, sj};
  int dims[] = {-1, -1};
  int dropped = -1;
  Cells cells(2, -1);
  const auto squeeze = [&](double* array, int field) {
    return c__zdbsparsesymboltosqzdarray(db, array, dims, x, domains.data(), squeezed.data(), field,
                                         &dropped);
  };
  ASSERT_EQ(squeeze(nullptr, ZDB_LEVEL), 1) << db.error();
  EXPECT_EQ(Dims(dims, dims + 2), (Dims{2, 1}));
  EXPECT_EQ(dropped, 2);
  EXPECT_EQ(records(si), "c=0 d=0 ");
  EXPECT_EQ(records(sj), "d=0 ");
  ASSERT_EQ(squeeze(cells.data(), ZDB_LEVEL), 1) << db.error();
  EXPECT_EQ(cells, (Cells{1, 7}));
  ASSERT_EQ(squeeze(cells.data(), ZDB_SCALE), 1) << db.error();
  EXPECT_EQ(cells, (Cells{1, 1}));
  // The sets can be the domains of the way back.
  ASSERT_EQ(c__zdbdensearraytosymbol(db, Cells{4, 6}.data(), squeezed.data(), x, dims), 1);
  EXPECT_EQ(records(x), "c.d=4/0/0/inf/1 d.d=6/0/0/inf/1 ");

  dims[0] = 3;
  EXPECT_EQ(squeeze(cells.data(), ZDB_LEVEL), 0);
  EXPECT_EQ(db.error(), "Dimension 1 of the array for symbol x must have size 2, saw 3");
}

TEST_P(DenseArrays, SqueezedSets_MustBeFree) {
  zdbSymbol_t p = filled("p", {i, j});
  zdbSymbol_t s = add("s", {db.universe()}, ZDB_SET);
  zdbSymbol_t t = add("t", {db.universe()}, ZDB_SET);
  db.merge(s, {"b"});
  db.merge(t, {"b"});
  const std::string use = " cannot receive the labels of dimension 2: it is in use here";
  const std::string kind = " must be a one-dimensional set of this database";
  Database other;
  const struct {
    Symbols squeezed;
    std::string message;
  } cases[] = {
      {{s, s}, "Symbol s" + use},
      {{s, j}, "Symbol j" + use},
      {{s, i}, "Symbol i" + use},
      {{s, ii}, "Symbol ii" + kind},
      {{s, p}, "Symbol p" + kind},
      {{s, db.universe()}, "Symbol *" + kind},
      {{s, other.add("foreign", 1, ZDB_SET)}, "Symbol foreign" + kind},
      {{s, nullptr}, "zdbSparseSymbolToSqzdArray: argument squeezed[1] must not be null"},
  };
  const Symbols domains = {ii, j};
  for (const auto& c : cases) {
    int dims[] = {-1, -1};
    int dropped = -1;
    EXPECT_EQ(c__zdbsparsesymboltosqzdarray(db, nullptr, dims, p, domains.data(), c.squeezed.data(),
                                            ZDB_LEVEL, &dropped),
              0);
    EXPECT_EQ(db.error(), c.message);
    EXPECT_EQ(dims[0], -1);
    EXPECT_EQ(dropped, -1);
  }
  // Sizes that do not fit leave the sets as well.
  int dims[] = {3, 1};
  int dropped = -1;
  double cells[6];
  const Symbols squeezed = {s, t};
  EXPECT_EQ(c__zdbsparsesymboltosqzdarray(db, cells, dims, p, domains.data(), squeezed.data(),
                                          ZDB_LEVEL, &dropped),
            0);
  EXPECT_EQ(records(s) + records(t), "b=0 b=0 ");
  EXPECT_EQ(records(i), "c=0 a=0 d=0 ");
}

// Twenty positions over a hundred labels each are more cells than a number can count; squeezed,
// they are few.
TEST_P(DenseArrays, CellsBeyondCounting_AreRefusedUnlessSqueezed) {
  zdbSymbol_t all = add("all", {db.universe()}, ZDB_SET);
  for (int n = 0; n < 100; ++n) db.merge(all, {("l" + std::to_string(n)).c_str()});
  const Symbols domains(ZDB_MAX_DIM, all);
  zdbSymbol_t p = add("p", domains);
  for (const char* label : {"l98", "l99"}) put(p, Labels(ZDB_MAX_DIM, label), label[2]);
  Dims dims(ZDB_MAX_DIM, 100);
  double cell = -1;
  int dropped = -1;
  const std::string message = "An array over the domains of symbol p is larger than memory";
  EXPECT_EQ(c__zdbdensesymboltodensearray(db, &cell, dims.data(), p, ZDB_LEVEL), 0);
  EXPECT_EQ(db.error(), message);
  EXPECT_EQ(c__zdbdensearraytosymbol(db, &cell, domains.data(), p, dims.data()), 0);
  EXPECT_EQ(db.error(), message);

  Symbols squeezed;
  for (int d = 0; d < ZDB_MAX_DIM; ++d) {
    squeezed.push_back(add(("s" + std::to_string(d)).c_str(), {db.universe()}, ZDB_SET));
  }
  const auto squeeze = [&](double* array) {
    return c__zdbsparsesymboltosqzdarray(db, array, dims.data(), p, domains.data(), squeezed.data(),
                                         ZDB_LEVEL, &dropped);
  };
  ASSERT_EQ(squeeze(nullptr), 1) << db.error();
  EXPECT_EQ(dims, Dims(ZDB_MAX_DIM, 2));
  EXPECT_EQ(dropped, 0);
  Cells cells(1U << ZDB_MAX_DIM, -1);
  ASSERT_EQ(squeeze(cells.data()), 1) << db.error();
  EXPECT_EQ(cells.front(), '8');
  EXPECT_EQ(cells.back(), '9');
}

TEST_P(DenseArrays, Array_ReplacesTheRecordsByItsNonZeroCells) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const Symbols domains = {i, j};
  const Symbols free = {nullptr, nullptr};
  const int dims[] = {3, 2};
  const Cells cells = {0, 4, -0.0, nan, 6, 0};
  const struct {
    const char* name;
    int type;
    const char* records;
  } cases[] = {
      {"p", ZDB_PARAMETER, "c.d=4 a.d=nan d.b=6 "},
      {"x", ZDB_VARIABLE, "c.d=4/0/0/inf/1 a.d=nan/0/0/inf/1 d.b=6/0/0/inf/1 "},
      {"e", ZDB_EQUATION, "c.d=4/0/0/0/1 a.d=nan/0/0/0/1 d.b=6/0/0/0/1 "},
  };
  for (const auto& c : cases) {
    zdbSymbol_t symbol = filled(c.name, domains, c.type);
    ASSERT_EQ(c__zdbdensearraytosymbol(db, cells.data(), domains.data(), symbol, dims), 1)
        << db.error();
    EXPECT_EQ(records(symbol), c.records);
    Cells back(6, -1);
    ASSERT_EQ(c__zdbdensesymboltodensearray(db, back.data(), dims, symbol, ZDB_LEVEL), 1);
    for (std::size_t n = 0; n < cells.size(); ++n) {
      EXPECT_TRUE(back[n] == cells[n] || (std::isnan(back[n]) && std::isnan(cells[n]))) << n;
    }
    const Cells zeros(6, 0);
    ASSERT_EQ(
        c__zdbdensearrayslicestosymbol(db, zeros.data(), domains.data(), free.data(), symbol, dims),
        1);
    EXPECT_EQ(records(symbol), "");
  }
}

// The array's own labels may be those of the symbol that it goes to.
TEST_P(DenseArrays, Array_GoesIntoSetsAndThroughAliases) {
  const int number = db.label("a");
  ASSERT_EQ(c__zdbaddrecordraw(db, i, &number, nullptr, "text"), 1);
  const int dims[] = {3};
  ASSERT_EQ(c__zdbdensearraytosymbol(db, Cells{0, 1, 1}.data(), &i, ii, dims), 1) << db.error();
  EXPECT_EQ(records(i), "a=0 d=0 ") << "the records have no text any more";
  const int all[] = {4};
  Cells members(4, -1);
  ASSERT_EQ(c__zdbdensesymboltodensearray(db, members.data(), all, ii, ZDB_LEVEL), 1) << db.error();
  EXPECT_EQ(members, (Cells{0, 1, 0, 1}));
  // The positions of an alias are those of its set, whatever it was declared with.
  zdbSymbol_t flat = db.add("flat", 0, ZDB_ALIAS, db.info(i, ZDB_SYMBOL_NUMBER));
  EXPECT_EQ(c__zdbdensesymboltodensearray(db, members.data(), nullptr, flat, ZDB_LEVEL), 0);
  EXPECT_EQ(db.error(), "zdbDenseSymbolToDenseArray: argument dims must not be null");
}

TEST_P(DenseArrays, Slices_ReplaceTheirRecordsOnly) {
  zdbSymbol_t a = add("a", {db.universe()}, ZDB_SET);
  zdbSymbol_t d = add("d", {db.universe()}, ZDB_SET);
  zdbSymbol_t aa = db.add("aa", 1, ZDB_ALIAS, db.info(a, ZDB_SYMBOL_NUMBER));
  db.merge(a, {"a"});
  db.merge(d, {"d"});
  const struct {
    Symbols slices;
    Dims dims;
    Cells cells;
    const char* records;
  } cases[] = {
      {{aa, nullptr, nullptr},
       {2, 2},
       {1, 0, 2, 0},
       "c.b.b=9/8/0/inf/1 a.b.b=1/0/0/inf/1 a.d.b=2/0/0/inf/1 d.b.d=9/8/0/inf/1 "},
      {{nullptr, nullptr, d},
       {3, 2},
       {0, 0, 3, 0, 0, 4},
       "c.b.b=9/8/0/inf/1 a.c.b=9/8/0/inf/1 a.b.b=9/8/0/inf/1 a.b.d=3/0/0/inf/1 "
       "d.d.d=4/0/0/inf/1 "},
      {{a, nullptr, d},
       {2},
       {5, 6},
       "c.b.b=9/8/0/inf/1 a.c.b=9/8/0/inf/1 a.b.b=9/8/0/inf/1 a.b.d=5/0/0/inf/1 "
       "a.d.d=6/0/0/inf/1 d.b.d=9/8/0/inf/1 "},
      {{a, d, d},
       {},
       {7},
       "c.b.b=9/8/0/inf/1 a.c.b=9/8/0/inf/1 a.b.b=9/8/0/inf/1 a.d.d=7/0/0/inf/1 "
       "d.b.d=9/8/0/inf/1 "},
  };
  const Symbols domains = {i, j, j};
  zdbSymbol_t x = add("x", domains, ZDB_VARIABLE, 3);
  for (const auto& c : cases) {
    c__zdbclearsymbol(db, x);
    // a.c.b and a.b.b are in the first slice; c is outside the domain of that position.
    for (const Labels& key : std::vector<Labels>{
             {"c", "b", "b"}, {"a", "b", "b"}, {"a", "c", "b"}, {"a", "d", "d"}, {"d", "b", "d"}}) {
      Record record(db, x, key);
      c__zdbsetlevel(db, record, 9);
      c__zdbsetmarginal(db, record, 8);
    }
    Record other(db, x, {"c", "b", "b"});
    ASSERT_EQ(c__zdbdensearrayslicestosymbol(db, c.cells.data(), domains.data(), c.slices.data(), x,
                                             c.dims.data()),
              1)
        << db.error();
    EXPECT_EQ(records(x), c.records);
    EXPECT_EQ(other.key(3), "c.b.b") << "handles on other records go on";
  }
}

TEST_P(DenseArrays, WrongArguments_ChangeNothing) {
  zdbSymbol_t p = filled("p", {i, j});
  zdbSymbol_t strange = add("strange", {db.universe()}, ZDB_SET);
  const int unknown = 99;
  ASSERT_EQ(c__zdbmergerecordint(db, strange, &unknown, 0, 0, nullptr, 0, nullptr), 1);
  zdbSymbol_t empty = add("empty", {db.universe()}, ZDB_SET);
  Database other;
  zdbSymbol_t foreign = other.add("foreign", 1, ZDB_SET);
  const Symbols domains = {i, j};
  const Cells cells(6, 1);
  Cells out(8, -1);
  const int dims[] = {3, 2};
  int dropped = -1;
  const auto fromArray = [&](const Symbols& over, const Dims& sizes) {
    return c__zdbdensearraytosymbol(db, cells.data(), over.data(), p, sizes.data());
  };
  const auto fromSlices = [&](const Symbols& slices, const Dims& sizes) {
    return c__zdbdensearrayslicestosymbol(db, cells.data(), domains.data(), slices.data(), p,
                                          sizes.data());
  };
  const auto toArray = [&](zdbSymbol_t symbol, int field) {
    return c__zdbdensesymboltodensearray(db, out.data(), dims, symbol, field);
  };
  const auto toSparse = [&](const Symbols& over, int* count) {
    return c__zdbsparsesymboltodensearray(db, out.data(), dims, p, over.data(), ZDB_LEVEL, count);
  };
  const struct {
    std::function<int()> call;
    std::string message;
  } cases[] = {
      {[&] {
         return fromArray(domains, {3, 3});
       },
       "Dimension 2 of the array for symbol p must have size 2, saw 3"},
      {[&] {
         return fromArray({empty, j}, {0, 3});
       },
       "Dimension 2 of the array for symbol p must have size 2, saw 3"},
      {[&] {
         return fromArray({i, p}, {3, 2});
       },
       "Symbol p not a set/alias"},
      {[&] {
         return fromArray({foreign, j}, {0, 2});
       },
       "Symbol foreign not in this database"},
      {[&] {
         return fromArray({other.universe(), j}, {0, 2});
       },
       "Symbol * not in this database"},
      {[&] {
         return fromArray({strange, j}, {0, 2});
       },
       "Symbol strange has a record with the label number 99, which is unknown"},
      {[&] {
         return fromSlices({j, nullptr}, {2});
       },
       "Symbol j must have one record to fix a position, saw 2"},
      {[&] {
         return fromSlices({nullptr, empty}, {3});
       },
       "Symbol empty must have one record to fix a position, saw 0"},
      {[&] {
         return fromSlices({strange, nullptr}, {2});
       },
       "Symbol strange has a record with the label number 99, which is unknown"},
      {[&] {
         return fromSlices({nullptr, p}, {3});
       },
       "Symbol p must be a one-dimensional set of this database"},
      {[&] { return c__zdbdensearraytosymbol(db, nullptr, domains.data(), p, dims); },
       "zdbDenseArrayToSymbol: argument array must not be null"},
      {[&] { return c__zdbdensearraytosymbol(db, cells.data(), nullptr, p, dims); },
       "zdbDenseArrayToSymbol: argument domains must not be null"},
      {[&] { return c__zdbdensearraytosymbol(db, cells.data(), domains.data(), foreign, dims); },
       "Symbol foreign not in this database"},
      {[&] {
         return c__zdbdensearraytosymbol(db, cells.data(), domains.data(), db.universe(), dims);
       },
       "Cannot convert the Universe to or from an array"},
      {[&] {
         return c__zdbdensearrayslicestosymbol(db, cells.data(), domains.data(), nullptr, p, dims);
       },
       "zdbDenseArraySlicesToSymbol: argument slices must not be null"},
      {[&] { return toArray(db.universe(), 0); },
       "Cannot convert the Universe to or from an array"},
      {[&] { return toArray(p, -1); }, "Symbol p has fields 0 to 0, saw -1"},
      {[&] { return toArray(nullptr, 0); }, "No symbol handle specified"},
      {[&] {
         return toSparse({i, foreign}, &dropped);
       },
       "Symbol foreign not in this database"},
      {[&] { return toSparse(domains, nullptr); },
       "zdbSparseSymbolToDenseArray: argument dropped must not be null"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.call(), 0) << c.message;
    EXPECT_EQ(db.error(), c.message);
  }
  EXPECT_EQ(out, Cells(8, -1));
  EXPECT_EQ(dropped, -1);
  EXPECT_EQ(records(p), "c.b=1 a.d=5 d.b=7 ");
}

}  // namespace
