// Thousands of rows in any order, with keys that come twice, against a map that takes them one by
// one: keys that fit one word with the number of their row, and longer ones.
#include <algorithm>
#include <map>
#include <random>
#include <tuple>

#include "support/client.h"

namespace {

using Key = std::vector<std::int32_t>;
using Model = std::map<Key, double>;

constexpr int kLabels = 60;  // 6 bits each: 8 of them fit

struct Rows {
  std::vector<Key> keys;
  std::vector<double> values;

  Rows(int dim, int pool, int count, std::mt19937& random) {
    std::vector<Key> all(static_cast<std::size_t>(pool), Key(static_cast<std::size_t>(dim)));
    for (Key& key : all) {
      for (std::int32_t& label : key) label = static_cast<std::int32_t>(random() % kLabels) + 1;
    }
    for (int row = 0; row < count; ++row) {
      keys.push_back(all[random() % all.size()]);
      values.push_back(row);
    }
  }

  /// What a call tells and does: its result, and how many rows it skips.
  std::tuple<int, std::int64_t> putInto(Model& model, int mode, int onFailure) const {
    const Model before = model;
    if (mode == ZDBX_REPLACE) model.clear();
    std::int64_t skipped = 0;
    for (std::size_t row = 0; row < keys.size(); ++row) {
      if (mode == ZDBX_ADD && model.contains(keys[row])) {
        if (onFailure == ZDBX_UNDO) model = before;
        if (onFailure != ZDBX_SKIP) return {0, 0};
        ++skipped;
        continue;
      }
      model[keys[row]] = values[row];
    }
    return {1, skipped};
  }

  std::tuple<int, std::int64_t> putInto(const zdbcc::Symbol& symbol, int mode,
                                        int onFailure) const {
    zdbx_columns columns = {};
    columns.size = sizeof columns;
    columns.rows = static_cast<std::int64_t>(keys.size());
    std::vector<Key> labels(keys[0].size());
    for (std::size_t i = 0; i < labels.size(); ++i) {
      for (const Key& key : keys) labels[i].push_back(key[i]);
      columns.keys[i].data = labels[i].data();
    }
    columns.values[0].data = values.data();
    zdbx_result result = {};
    result.size = sizeof result;
    const int isDone =
        zdbx_put_records(symbol.database(), symbol.handle(), &columns, mode, onFailure, &result);
    return {isDone, result.skipped};
  }
};

Model recordsOf(const zdbcc::Symbol& symbol) {
  const zdbcc::Columns columns = symbol.columns();
  Model records;
  for (std::size_t row = 0; row < columns.rows(); ++row) {
    Key key;
    for (const auto& column : columns.keys) key.push_back(column[row]);
    EXPECT_TRUE(records.empty() || records.rbegin()->first < key) << "order of keys";
    records.emplace_hint(records.end(), std::move(key), columns.values[0][row]);
  }
  return records;
}

TEST(ManyRows, AnyOrderModeAndStorage_AreTakenAsOneByOne) {
  std::mt19937 random(3);
  for (const int storage : {ZDB_STORAGE_MAP, ZDB_STORAGE_VECTOR, ZDB_STORAGE_TREE}) {
    for (const int dim : {1, 3, 8, 9, 20}) {
      const Database db;
      for (int n = 0; n < kLabels; ++n) db.label(("l" + std::to_string(n)).c_str());
      zdbcc::Symbol symbol = db.zdbcc::Database::add("p", dim, ZDB_PARAMETER);
      symbol.setStorage(storage);
      Model model;
      for (int round = 0; round < 12; ++round) {
        const int mode = round == 0 ? ZDBX_MERGE : static_cast<int>(random() % 3);
        const int onFailure = static_cast<int>(random() % 3);
        const Rows rows(dim, 4000, round % 4 == 0 ? 50 : 3000, random);
        EXPECT_EQ(rows.putInto(symbol, mode, onFailure), rows.putInto(model, mode, onFailure))
            << "mode " << mode << ", " << onFailure;
        ASSERT_TRUE(recordsOf(symbol) == model)
            << "storage " << storage << ", dimension " << dim << ", round " << round;
      }
    }
  }
}

}  // namespace
