// Symbols to dense arrays and back, worked out key by key from what a walk over the records shows.

#include <cmath>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "support/client.h"

namespace {

using Cells = std::vector<double>;
using Ints = std::vector<int>;
using Axes = std::vector<std::set<int>>;  // the labels along each dimension
using Symbols = std::vector<zdbSymbol_t>;
using Rows = std::map<Ints, Cells>;  // by label numbers; sets have 1 and the number of a text

// The caller's "not available" in records, and in arrays: values are translated on the way.
constexpr double kRecordNa = -77;
constexpr double kArrayNa = -78;

/// Every key, the last position fastest.
std::vector<Ints> keysOver(const Axes& axes) {
  std::vector<Ints> keys(1);
  for (const auto& axis : axes) {
    std::vector<Ints> longer;
    for (const Ints& key : keys) {
      for (const int label : axis) longer.emplace_back(key).push_back(label);
    }
    keys = std::move(longer);
  }
  return keys;
}

Ints sizesOf(const Axes& axes) {
  Ints sizes;
  for (const auto& axis : axes) sizes.push_back(static_cast<int>(axis.size()));
  return sizes;
}

class DenseArrays : public testing::TestWithParam<unsigned> {
 protected:
  DenseArrays() : random_(GetParam()) {
    for (const char* label : {"c", "a", "b", "d", "f", "e"}) db.label(label);
    zdbSymbol_t universe = nullptr;
    c__zdbfindsymbol(db, "*", &universe);
    sets = {nullptr, universe, db.add("all", 1, ZDB_ALIAS, -1)};
    for (const std::string name : {"i", "j", "k"}) {
      sets.push_back(add(name, {universe}, ZDB_SET));
      const int number = db.info(sets.back(), ZDB_SYMBOL_NUMBER);
      sets.push_back(db.add((name + name).c_str(), 1, ZDB_ALIAS, number));
    }
    for (const char* name : {"s1", "s2", "s3"}) ours.push_back(db.add(name, 1, ZDB_SET));
  }

  int below(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }
  double value() { return below(9) == 0 ? kRecordNa : below(9); }
  Symbols pick(int count) {
    Symbols picked;
    while (count-- > 0) picked.push_back(sets[below(9)]);
    return picked;
  }
  /// With random records, in a random storage. A null domain is a name only.
  zdbSymbol_t add(const std::string& name, const Symbols& over, int type) {
    const std::vector<const char*> names(over.size(), "unknown");
    const int dim = static_cast<int>(over.size());
    zdbSymbol_t added = nullptr;
    c__zdbaddsymbolx(db, name.c_str(), dim, type, below(4), "", over.data(), names.data(), &added);
    EXPECT_EQ(c__zdbselectrecordstorage(db, &added, below(3)), 1) << db.error();
    setNa(kRecordNa);
    for (int n = below(12); n > 0; --n) {
      Ints key;
      for (int d = 0; d < dim; ++d) key.push_back(1 + below(6));
      const Cells row = {value(), value(), value(), value(), value()};
      c__zdbaddrecordraw(db, added, key.data(), row.data(), "text");
      if (dim < 2 || below(9) > 0) continue;
      key[0] = 7 * below(2);  // which no label has
      c__zdbmergerecordint(db, added, key.data(), 0, 0, nullptr, 0, nullptr);
    }
    return added;
  }
  void setNa(double value) {
    double special[ZDB_SV_COUNT];
    c__zdbgetspecialvalues(db, special);
    special[ZDB_SV_NOT_AVAILABLE] = value;
    c__zdbsetspecialvalues(db, special);
  }
  Rows rowsOf(zdbSymbol_t symbol) {
    char name[ZDB_TEXT_SIZE];
    c__zdbsymbolinfo(db, symbol, ZDB_SYMBOL_NAME, nullptr, nullptr, name);
    c__zdbfindsymbol(db, name, &symbol);  // not an alias
    const int type = db.info(symbol, ZDB_SYMBOL_TYPE);
    Rows rows;
    zdbRecord_t record = nullptr;
    setNa(kRecordNa);
    for (int more = c__zdbfindfirstrecord(db, symbol, &record); more == 1;) {
      Ints key(db.info(symbol, ZDB_SYMBOL_DIM));
      Cells row(type >= ZDB_VARIABLE ? ZDB_MAX_VALUES : 1);
      c__zdbgetrecordraw(db, record, ZDB_MAX_DIM, key.data(), row.data());
      rows[key] = type == ZDB_SET ? Cells{1, row[0]} : row;
      more = c__zdbrecordmovenext(db, record);
    }
    c__zdbfreesymboliterator(db, record);
    setNa(kArrayNa);
    return rows;
  }
  Axes axesOf(const Symbols& over) {
    Axes axes;
    for (zdbSymbol_t set : over) {
      auto& axis = axes.emplace_back();
      for (const auto& [key, row] : rowsOf(set == nullptr ? sets[1] : set)) axis.insert(key[0]);
    }
    return axes;
  }

  Database db;
  Symbols sets;  // what a dimension can be over: null, the universe, sets, aliases
  Symbols ours;  // sets for labels that occur, or that fix a position
  std::minstd_rand random_;
};

INSTANTIATE_TEST_SUITE_P(Seeds, DenseArrays, testing::Range(1U, 4U));

TEST_P(DenseArrays, Symbols_ComeOutCellByCell) {
  for (int round = 0; round < 300; ++round) {
    const int dim = below(4);
    const int type = dim == 0 ? ZDB_VARIABLE : below(4);
    const int field = type < ZDB_VARIABLE ? ZDB_LEVEL : below(ZDB_MAX_VALUES);
    const Symbols own = pick(dim);
    const Symbols over = pick(dim);
    zdbSymbol_t p = add("p" + std::to_string(round), own, type);
    const Rows rows = rowsOf(p);
    // Over its own domains, over others, and squeezed; the last cell is not to be touched.
    Axes kinds[] = {axesOf(own), axesOf(over), Axes(dim)};
    int outside[3];
    for (int kind = 0; kind < 3; ++kind) {
      const Axes& axes = kinds[kind];
      Cells cells;
      outside[kind] = static_cast<int>(rows.size());
      for (const Ints& key : keysOver(axes)) {
        const auto found = rows.find(key);
        cells.push_back(found == rows.end() ? 0 : found->second[field]);
        if (cells.back() == kRecordNa) cells.back() = kArrayNa;
        if (found == rows.end()) continue;
        --outside[kind];
        for (int d = 0; d < dim && kind == 1; ++d) kinds[2][d].insert(key[d]);
      }
      cells.push_back(-1);
      Cells array(cells.size(), -1);
      Ints dims = sizesOf(axes);
      int dropped = -1;
      if (kind == 0) {
        EXPECT_EQ(c__zdbdensesymboltodensearray(db, array.data(), dims.data(), p, field),
                  outside[0] == 0 ? 1 : 0)
            << db.error();
        if (outside[0] > 0) continue;
        dropped = 0;
      } else if (kind == 1) {
        c__zdbsparsesymboltodensearray(db, array.data(), dims.data(), p, over.data(), field,
                                       &dropped);
      } else {
        c__zdbsparsesymboltosqzdarray(db, nullptr, (dims = Ints(dim)).data(), p, over.data(),
                                      ours.data(), field, &dropped);
        EXPECT_EQ(dims, sizesOf(axes));
        EXPECT_EQ(axesOf({ours.begin(), ours.begin() + dim}), axes);
        c__zdbsparsesymboltosqzdarray(db, array.data(), dims.data(), p, over.data(), ours.data(),
                                      field, &dropped);
      }
      EXPECT_EQ(array, cells) << round << " " << db.error();
      EXPECT_EQ(dropped, outside[kind]);
    }
  }
}

TEST_P(DenseArrays, Arrays_ReplaceTheRecordsOfTheirSlice) {
  for (int round = 0; round < 300; ++round) {
    const int dim = below(4);
    const int type = dim == 0 ? ZDB_VARIABLE : below(4);
    const bool isWhole = below(3) == 0;
    const Symbols over = pick(dim);
    zdbSymbol_t p = add("p" + std::to_string(round), pick(dim), type);
    if (dim == 1 && type == ZDB_SET) p = sets[3 + below(6)];  // which may be in `over`
    Symbols slices(dim);
    Axes axes = axesOf(over);
    Axes replaced(dim, {0, 1, 2, 3, 4, 5, 6, 7});
    Ints dims;
    for (int d = 0; d < dim; ++d) {
      const int label = 1 + below(6);
      if (isWhole || below(2) == 0) {
        dims.push_back(static_cast<int>(axes[d].size()));
      } else {
        slices[d] = ours[d];
        axes[d] = replaced[d] = {label};
        c__zdbclearsymbol(db, ours[d]);
        c__zdbaddrecordraw(db, ours[d], &label, nullptr, "");
      }
    }
    Rows expected = rowsOf(p);
    for (const Ints& key : keysOver(replaced)) expected.erase(key);
    zdbSymbol_t fresh = db.add(("fresh" + std::to_string(round)).c_str(), 1, type,
                               db.info(p, ZDB_SYMBOL_USER_INFO));
    db.put(fresh, {"a"}, 0);
    Cells row = rowsOf(fresh).begin()->second;
    Cells array;
    for (const Ints& key : keysOver(axes)) {
      const double cell = below(2) == 0 ? value() : -0.0;
      array.push_back(cell != kRecordNa ? cell : below(2) == 0 ? kArrayNa : NAN);
      if (type != ZDB_SET) row[0] = cell;
      if (cell != 0) expected[key] = row;
    }
    array.push_back(1);  // is not part of it
    if (isWhole) {
      c__zdbdensearraytosymbol(db, array.data(), over.data(), p, dims.data());
    } else {
      c__zdbdensearrayslicestosymbol(db, array.data(), over.data(), slices.data(), p, dims.data());
    }
    EXPECT_EQ(rowsOf(p), expected) << round << " " << db.error();
  }
}

}  // namespace
