// The functions that are framed like the exported ones, for hosts that build the library in.

#include <gtest/gtest.h>

#include <string>

#include "api/zdbcoorg.h"

namespace zdb {
namespace {

class Unexported : public testing::Test {
 protected:
  Unexported() {
    EXPECT_EQ(zdbCreate(&db, nullptr, 0), 1);
    EXPECT_EQ(zdbAddSymbol(db, "p", 2, TypeParameter, 0, "", &symbol), 1);
    const char* keys[] = {"a", "b"};
    zdbRecord_t record;
    EXPECT_EQ(zdbMergeRecord(db, symbol, keys, &record), 1);
    zdbFreeSymbolIterator(db, record);
  }
  ~Unexported() override { zdbFree(&db); }

  zdbHandle_t db = nullptr;
  zdbSymbol_t symbol = nullptr;
};

TEST_F(Unexported, FindRecordInt_AcceptsZeroAndNamesWhatIsOutside) {
  const struct {
    int keys[2];
    std::string message;  // empty: found
  } cases[] = {{{1, 2}, ""},
               {{1, 0}, "Cannot find record (\"a\",\" \") in Symbol p"},
               {{1, 3}, "Key 3 for symbol p in position 2 is out of UEL List bounds (<3)"},
               {{-1, 2}, "Key -1 for symbol p in position 1 is out of UEL List bounds (<3)"}};
  for (const auto& c : cases) {
    int status = -1;
    zdbRecord_t record = zdbFindRecordIntPy(db, symbol, c.keys, &status);
    EXPECT_EQ(status, c.message.empty() ? 1 : 0);
    if (record != nullptr) zdbFreeSymbolIterator(db, record);
    if (c.message.empty()) continue;
    EXPECT_EQ(db->lastError(), c.message);
  }
  zdbRecord_t record = nullptr;
  const int outside[] = {3};
  EXPECT_EQ(zdbFindRecordInt(db, db->universe(), outside, &record), 0);
  EXPECT_STREQ(db->lastError(), "Cannot find UEL 3 in Universe");
}

TEST_F(Unexported, ResetSymbol_LeavesTheRestToTheSource) {
  EXPECT_EQ(zdbResetSymbol(db, db->universe()), 0);
  EXPECT_STREQ(db->lastError(), "Cannot reset the Universe");
  EXPECT_EQ(zdbResetSymbol(db, symbol), 1);
  zdbRecord_t record;
  EXPECT_EQ(zdbFindFirstRecord(db, symbol, &record), 0);
  EXPECT_STREQ(db->lastError(), "Symbol p not initialized from ZXF or ZMI: 3");
}

TEST_F(Unexported, DataCallbacks_PrintTakesTheLogAsAShortString) {
  std::string log;
  const auto print = [](const char* text, void* user) {
    static_cast<std::string*>(user)->assign(text + 1, static_cast<unsigned char>(text[0]));
    return 0;
  };
  const double special[5] = {1, 2, 3, 4, 5};
  EXPECT_EQ(
      zdbSetDataCallbacks(db, 1, nullptr, nullptr, nullptr, nullptr, nullptr, print, special, &log),
      1);
  EXPECT_EQ(zdbPrintLog(db, std::string(300, 'x').c_str()), 1);
  EXPECT_EQ(log, std::string(255, 'x'));
  EXPECT_EQ(db->GetInitFrom(), FROM_DATACALLBACKS);
  EXPECT_EQ(
      zdbSetDataCallbacks(db, 1, nullptr, nullptr, nullptr, nullptr, nullptr, print, nullptr, &log),
      0);
  EXPECT_STREQ(db->lastError(), "zdbSetDataCallbacks: argument specialValues must not be null");
}

TEST_F(Unexported, LoaderMutexes_CanBeMadeAndDestroyed) {
  zdbInitFunc();
  zdbHandle_t other = nullptr;
  EXPECT_EQ(zdbCreate(&other, nullptr, 0), 1);
  zdbFree(&other);
  zdbFiniFunc();
}

}  // namespace
}  // namespace zdb
