// The three record storages seen by a host: everything but speed and size is the same.

#include <cstdint>
#include <deque>
#include <random>
#include <string>
#include <vector>

#include "client.h"
#include "fuzz/storages/storagereplay.h"

namespace {

// Few keys, so that operations meet: records are found again, deleted under each other's
// neighbours' handles and added back.
TEST(Storages, AnyOperations_LookTheSame) {
  std::mt19937 random(20261125);
  for (int list = 0; list < 300; ++list) {
    std::vector<std::uint8_t> bytes(zdb::test::kHeaderBytes + 120 * zdb::test::kOperationBytes);
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(random());
    bytes[0] = static_cast<std::uint8_t>(list % 5);
    bytes[1] = static_cast<std::uint8_t>(list / 5 % 4);
    ASSERT_EQ(zdb::test::replayOnAllStorages(bytes.data(), bytes.size()), "") << "list " << list;
  }
}

class Storage : public testing::TestWithParam<int> {
 protected:
  Storage() { EXPECT_EQ(c__zdbselectrecordstorage(db, nullptr, GetParam()), 1); }

  std::string walk(zdbSymbol_t symbol, int dim) {
    std::string visited;
    Record record(db);
    if (c__zdbfindfirstrecord(db, symbol, &record) != 1) return visited;
    do visited += record.key(dim) + "=" + std::to_string(static_cast<int>(record.level())) + " ";
    while (c__zdbrecordmovenext(db, record) == 1);
    return visited;
  }

  Database db;
};

INSTANTIATE_TEST_SUITE_P(All, Storage,
                         testing::Values(ZDB_STORAGE_MAP, ZDB_STORAGE_VECTOR, ZDB_STORAGE_TREE));

TEST_P(Storage, AnAddedRecord_ChangesNoOther) {
  zdbSymbol_t p = db.add("p", 1);
  EXPECT_EQ(db.info(p, ZDB_SYMBOL_STORAGE), GetParam());
  for (const char* label : {"a", "b", "c", "d", "e"}) db.label(label);
  const struct {
    int label;
    const char* records;
  } added[] = {{2, "b=2 "},
               {4, "b=2 d=4 "},
               {3, "b=2 c=3 d=4 "},
               {1, "a=1 b=2 c=3 d=4 "},
               {5, "a=1 b=2 c=3 d=4 e=5 "}};
  for (const auto& step : added) {
    const double value = step.label;
    ASSERT_EQ(c__zdbaddrecordraw(db, p, &step.label, &value, nullptr), 1) << db.error();
    EXPECT_EQ(walk(p, 1), step.records);
  }
}

// A symbol that is loaded out of order, and handles that were made on the way.
TEST_P(Storage, Handles_StayOnTheirRecordThroughEveryChangeAroundIt) {
  constexpr int kRecords = 60;
  zdbSymbol_t p = db.add("p", 1);
  for (int i = 1; i <= kRecords; ++i) db.label(("l" + std::to_string(i)).c_str());
  std::deque<Record> handles;
  for (int i = 0; i < kRecords; ++i) {
    const int label = 1 + i * 7 % kRecords;  // each label once
    const double value = label;
    handles.emplace_back(db.handle);
    ASSERT_EQ(c__zdbmergerecordint(db, p, &label, 1, 1, &handles.back(), 1, &value), 1);
  }
  for (int i = 0; i < kRecords; i += 3) ASSERT_EQ(c__zdbdeleterecord(db, handles[i]), 1);
  for (int i = 0; i < kRecords; ++i) {
    const int label = 1 + i * 7 % kRecords;
    if (i % 3 == 0) {
      double value;
      EXPECT_EQ(c__zdbgetlevel(db, handles[i], &value), 0) << i;
    } else {
      EXPECT_EQ(handles[i].key(1), "l" + std::to_string(label)) << i;
      EXPECT_EQ(handles[i].level(), label) << i;
    }
  }
}

TEST_P(Storage, Switching_KeepsRecordsFieldsAndReferences) {
  zdbSymbol_t set = db.add("set", 1, ZDB_SET);
  zdbSymbol_t domains[] = {set, nullptr};
  const char* names[] = {"*", "*"};
  zdbSymbol_t x = nullptr;
  ASSERT_EQ(c__zdbaddsymbolx(db, "x", 2, ZDB_VARIABLE, 3, "text", domains, names, &x), 1);
  for (const Labels& key : std::vector<Labels>{{"b", "a"}, {"a", "b"}, {"a", "a"}}) {
    Record record(db, x, key);
    ASSERT_EQ(c__zdbsetlevel(db, record, key[0][0] * 2 + key[1][0]), 1);
    ASSERT_EQ(c__zdbsetmarginal(db, record, 0.5), 1);
  }
  const std::string before = walk(x, 2);
  const int storages[] = {ZDB_STORAGE_TREE, ZDB_STORAGE_VECTOR, ZDB_STORAGE_MAP, GetParam()};
  for (const int storage : storages) {
    ASSERT_EQ(c__zdbselectrecordstorage(db, &x, storage), 1) << db.error();
    ASSERT_EQ(c__zdbselectrecordstorage(db, &set, storage), 1) << db.error();
    EXPECT_EQ(db.info(x, ZDB_SYMBOL_STORAGE), storage);
    EXPECT_EQ(walk(x, 2), before);
    EXPECT_EQ(db.infoText(x, ZDB_SYMBOL_TEXT), "text");
    zdbSymbol_t found = nullptr;
    ASSERT_EQ(c__zdbfindsymbol(db, "x", &found), 1);
    EXPECT_EQ(found, x);
    zdbSymbol_t current[2];
    char domainTexts[2][ZDB_TEXT_SIZE];
    char* const texts[] = {domainTexts[0], domainTexts[1]};
    ASSERT_EQ(c__zdbgetdomain(db, x, 2, current, texts), 1);
    EXPECT_EQ(current[0], set);
    Record record(db);
    const char* key[] = {"a", "b"};
    ASSERT_EQ(c__zdbfindrecord(db, x, key, &record), 1) << db.error();
    double marginal;
    ASSERT_EQ(c__zdbgetmarginal(db, record, &marginal), 1);
    EXPECT_EQ(marginal, 0.5);
  }
}

TEST_P(Storage, UnknownOnes_AreRefusedAndChangeNothing) {
  zdbSymbol_t p = db.add("p", 1);
  db.merge(p, {"a"});
  for (const int storage : {-1, 3, 1000}) {
    zdbSymbol_t symbol = p;
    EXPECT_EQ(c__zdbselectrecordstorage(db, &symbol, storage), 0);
    EXPECT_NE(db.error().find(std::to_string(storage)), std::string::npos) << db.error();
    EXPECT_EQ(symbol, p);
    EXPECT_EQ(c__zdbselectrecordstorage(db, nullptr, storage), 0);
  }
  EXPECT_EQ(walk(p, 1), "a=0 ");
  EXPECT_EQ(db.info(p, ZDB_SYMBOL_STORAGE), GetParam());
  EXPECT_EQ(db.info(db.add("q", 1), ZDB_SYMBOL_STORAGE), GetParam());
}

}  // namespace
