// Records of a file come to a host in several ways: straight from the file, from the storage that
// they were loaded to many at a time, or one by one where labels have other numbers. All are one.
#include <algorithm>
#include <bit>
#include <cmath>
#include <random>
#include <set>

#include "support/client.h"
#include "support/files.h"

namespace {

using Key = std::vector<std::int32_t>;

constexpr int kLabels = 60;

/// The columns of a symbol, with values by their bits.
struct Records {
  std::vector<Key> keys;
  std::vector<std::vector<std::uint64_t>> values;
  std::vector<std::string> texts;
  bool operator==(const Records&) const = default;
};

/// All records; labels as if the database had not had some before.
Records recordsOf(const zdbcc::Symbol& symbol, int labelsBefore = 0) {
  const zdbcc::Columns columns = symbol.columns();
  Records records{columns.keys, {}, {columns.texts.begin(), columns.texts.end()}};
  for (Key& column : records.keys) {
    for (std::int32_t& label : column) label -= labelsBefore;
  }
  for (const std::vector<double>& column : columns.values) {
    auto& bits = records.values.emplace_back();
    std::ranges::transform(column, std::back_inserter(bits),
                           [](double value) { return std::bit_cast<std::uint64_t>(value); });
  }
  return records;
}

std::string nameOf(int dim, int type) {
  return "s" + std::to_string(dim) + "_" + std::to_string(type);
}

struct FileReading : testing::Test {
  zdb::test::TemporaryFolder folder;
  const std::string file = folder.path("a.zxf");
  std::mt19937_64 random{17};

  /// Makes a file with symbols of all shapes: some fill several blocks, some have domains, some of
  /// their values are special.
  void SetUp() override {
    const Database db;
    for (int n = 0; n < kLabels; ++n) db.label(("l" + std::to_string(n)).c_str());
    db.addSet("set");
    for (int dim = 0; dim <= ZDB_MAX_DIM; ++dim) {
      for (const int type : {ZDB_SET, ZDB_PARAMETER, ZDB_VARIABLE, ZDB_EQUATION}) {
        if (dim == 0 && type == ZDB_SET) continue;
        std::vector<std::string> domains(static_cast<std::size_t>(dim), "*");
        if (dim > 1) domains[random() % domains.size()] = random() % 2 == 0 ? "set" : "gone";
        fill(db.zdbcc::Database::add(nameOf(dim, type), dim, type, {}, domains), type);
      }
    }
    ASSERT_EQ(c__zdbwritezxf(db, file.c_str(), 1), 1) << db.error();
  }

  double value() {
    static constexpr double kSpecials[] = {1e300, 0x1p-1074, INFINITY, -INFINITY, 0.0, -0.0, NAN};
    const auto kind = random() % 8;
    if (kind == 0) return kSpecials[random() % std::size(kSpecials)];
    return kind < 4 ? static_cast<double>(random() % 1000) / 100
                    : std::bit_cast<double>(random() >> 2);
  }

  void fill(const zdbcc::Symbol& symbol, int type) {
    const auto dim = static_cast<std::size_t>(symbol.dim());
    const bool isLarge = dim % 8 == 3 && type <= ZDB_VARIABLE;
    std::set<Key> keys;
    for (std::size_t n = dim == 0 ? 1 : isLarge ? 20000 : 1 + random() % 300; n > 0; --n) {
      Key key(dim);
      for (std::int32_t& label : key) label = static_cast<std::int32_t>(random() % kLabels) + 1;
      keys.insert(std::move(key));
    }
    std::vector<Key> labels(dim);
    std::vector<std::vector<double>> values(type >= ZDB_VARIABLE ? ZDB_MAX_VALUES : 1);
    std::vector<const char*> texts;
    for (const Key& key : keys) {
      for (std::size_t d = 0; d < dim; ++d) labels[d].push_back(key[d]);
      for (auto& column : values) column.push_back(value());
      texts.push_back(random() % 2 == 0 ? "" : random() % 2 == 0 ? "a text" : "another");
    }
    zdbx_columns columns = {};
    columns.size = sizeof columns;
    columns.rows = static_cast<std::int64_t>(keys.size());
    zdbx_texts list = {};
    list.size = sizeof list;
    list.pointers = texts.data();
    for (std::size_t d = 0; d < dim; ++d) columns.keys[d].data = labels[d].data();
    if (type == ZDB_SET) columns.texts = &list;
    for (std::size_t v = 0; v < values.size() && type != ZDB_SET; ++v) {
      columns.values[v].data = values[v].data();
    }
    symbol.put(columns);
  }

  /// The file in a database with this storage for its symbols, and labels that it has before.
  struct Opened : Database {
    Opened(const std::string& file, int storage, int labelsBefore = 0) {
      for (int n = 0; n < labelsBefore; ++n) label(("before" + std::to_string(n)).c_str());
      EXPECT_EQ(c__zdbselectrecordstorage(*this, nullptr, storage), 1);
      EXPECT_EQ(c__zdbinitfromzxf(*this, file.c_str()), 1) << error();
    }
  };
};

TEST_F(FileReading, EveryWay_GivesTheSameRecords) {
  constexpr int kBefore = 3;
  const Opened oneByOne(file, ZDB_STORAGE_MAP, kBefore);
  std::int64_t all = 0;
  for (const int storage : {ZDB_STORAGE_MAP, ZDB_STORAGE_VECTOR, ZDB_STORAGE_TREE}) {
    const Opened db(file, storage);
    for (const zdbcc::Symbol& symbol : db.symbols()) {
      const std::string name = symbol.name();
      const Records expected = recordsOf(oneByOne.symbol(name), kBefore);
      const std::int64_t counted = symbol.size();
      const Records first = recordsOf(symbol);  // straight from the file
      EXPECT_TRUE(first == expected) << name;
      EXPECT_TRUE(recordsOf(symbol) == expected) << name << " loaded to storage " << storage;
      EXPECT_EQ(symbol.size(), counted) << name;
      all += counted;
    }
  }
  EXPECT_GT(all, 3 * 3 * 3 * 17000);
}

TEST_F(FileReading, ColumnsThatAreNoArrays_GetTheSame) {
  struct Row {
    char before;
    std::int32_t keys[3];
    const char* label;
    double level;
  };
  const Opened db(file, ZDB_STORAGE_VECTOR);
  const Opened other(file, ZDB_STORAGE_VECTOR);
  const double specials[ZDB_SV_COUNT] = {-1, -2, -3, -4, -5};
  ASSERT_EQ(c__zdbsetspecialvalues(other, specials), 1);
  for (const int type : {ZDB_PARAMETER, ZDB_VARIABLE}) {
    const zdbcc::Symbol symbol = db.symbol(nameOf(3, type));
    std::vector<Row> rows(static_cast<std::size_t>(symbol.size()));
    zdbx_buffers buffers = {};
    buffers.size = sizeof buffers;
    buffers.rows = static_cast<std::int64_t>(rows.size());
    for (int d = 0; d < 3; ++d) buffers.keys[d] = {&rows[0].keys[d], sizeof(Row)};
    buffers.labels[1] = {&rows[0].label, sizeof(Row)};
    buffers.values[0] = {&rows[0].level, sizeof(Row)};
    ASSERT_EQ(zdbx_get_records(db, symbol.handle(), nullptr, &buffers, nullptr), 1) << db.error();
    const zdbcc::Columns columns = symbol.columns();
    const zdbcc::Columns translated = other.symbol(nameOf(3, type)).columns();
    int special = 0;
    for (std::size_t r = 0; r < rows.size(); ++r) {
      for (std::size_t d = 0; d < 3; ++d) ASSERT_EQ(rows[r].keys[d], columns.keys[d][r]) << r;
      ASSERT_EQ(rows[r].label, "l" + std::to_string(columns.keys[1][r] - 1));
      const double level = columns.values[0][r];
      ASSERT_EQ(std::bit_cast<std::uint64_t>(rows[r].level), std::bit_cast<std::uint64_t>(level));
      const bool isNumber = std::isfinite(level) && level != 1e300 && level != 0x1p-1074;
      ASSERT_EQ(translated.values[0][r] == level, isNumber) << level;
      special += isNumber ? 0 : 1;
    }
    EXPECT_GT(special, 1000);
  }
}

TEST_F(FileReading, WhatWasReadOnce_StaysWhenTheFileIsClosed) {
  const Opened db(file, ZDB_STORAGE_VECTOR);
  const std::string read = nameOf(9, ZDB_PARAMETER);
  const Records records = recordsOf(db.symbol(read));
  ASSERT_EQ(c__zdbclosezxf(db, 0), 1) << db.error();
  EXPECT_TRUE(recordsOf(db.symbol(read)) == records);
  zdbcc::Symbol unread = db.symbol(nameOf(3, ZDB_PARAMETER));
  EXPECT_EQ(zdbx_error_kind(db), ZDBX_NONE);
  EXPECT_THROW(unread.columns(), zdbcc::Error);
}

TEST_F(FileReading, DamagedBlock_IsRefusedHoweverItIsRead) {
  const std::string whole = zdb::test::readFile(file);
  int refused = 0;
  for (int round = 0; round < 12; ++round) {
    std::string damaged = whole;
    damaged[random() % damaged.size()] ^= static_cast<char>(1 << random() % 8);
    folder.write("b.zxf", damaged);
    const Database straight;
    const Database loaded;
    if (c__zdbinitfromzxf(straight, folder.path("b.zxf").c_str()) == 0) continue;
    ASSERT_EQ(c__zdbinitfromzxf(loaded, folder.path("b.zxf").c_str()), 1);
    for (const zdbcc::Symbol& symbol : loaded.symbols()) {
      const zdbcc::Symbol same = straight.symbol(symbol.name());
      const bool isWhole = c__zdbsymbolinfo(loaded, symbol.handle(), ZDB_SYMBOL_RECORDS, nullptr,
                                            nullptr, nullptr) == 1;
      if (isWhole) {
        EXPECT_TRUE(recordsOf(same) == recordsOf(symbol)) << symbol.name();
        continue;
      }
      ++refused;
      EXPECT_THROW(same.columns(), zdbcc::Error) << symbol.name();
      EXPECT_EQ(straight.error(), loaded.error());
      EXPECT_EQ(zdbx_error_kind(straight), ZDBX_DAMAGED);
      EXPECT_THROW(same.size(), zdbcc::Error) << "from then on";
    }
  }
  EXPECT_GT(refused, 6);
}

}  // namespace
