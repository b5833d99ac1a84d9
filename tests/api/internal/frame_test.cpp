// The frame that all functions share, seen from inside, and what only stands behind it.
#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <string>

#include "api/guard.h"
#include "api/shortstring.h"
#include "api/zdbcoorg.h"
#include "symbols/symbolfactory.h"

namespace zdb {
namespace {

TEST(Guard, Exceptions_BecomeResultsAndMessages) {
  const std::string memory = "Out of memory in zdbMemory";
  const std::string unexpected = "Unexpected exception in zdbSample: ";
  const struct {
    bool (*body)(Call);
    int result;
    std::string printed;
    std::string message;
    ErrorKind kind;
  } cases[] = {
      {[](Call) { return true; }, 1, "", "before", ErrorState},
      {[](Call) { return false; }, 0, "", "before", ErrorState},
      {[](Call) -> bool { throw std::bad_alloc(); }, 0, memory + "\n", memory, ErrorNoMemory},
      {[](Call) -> bool { throw std::bad_array_new_length(); }, 0, memory + "\n", memory,
       ErrorNoMemory},
      {[](Call) -> bool { throw std::length_error("long"); }, 0, "", unexpected + "long",
       ErrorArgument},
      {[](Call) -> bool { throw std::length_error(std::string(999, 'x')); }, 0, "",
       (unexpected + std::string(999, 'x')).substr(0, 255), ErrorArgument},
      {[](Call) -> bool { throw std::runtime_error("odd"); }, 0, "", unexpected + "odd",
       ErrorOther},
  };
  for (const auto& c : cases) {
    ZDB db{makeSymbol};
    db.setLastError(ErrorState, "before");
    testing::internal::CaptureStdout();
    EXPECT_EQ(guarded("zdbSample", &db, c.body, "zdbMemory"), c.result);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), c.printed);
    EXPECT_EQ(db.lastError(), c.message);
    EXPECT_EQ(db.error().kind, c.kind);
    EXPECT_EQ(guarded("zdbSample", nullptr, c.body), 0);
  }
  ZDB db{makeSymbol};
  EXPECT_THROW(guarded("zdbSample", &db, [](Call) -> bool { throw 42; }), int);
}

// Outputs have 256 bytes on our side, but a matrix is one piece of memory: a text that runs on
// into the next row must still be cut, and its length byte says how long it was.
TEST(ShortString, LongTexts_AreCutAndKeepTheirLengthModulo256) {
  for (const std::size_t length : {0, 1, 255, 256, 300}) {
    const std::string text(length, 'x');
    std::string out(258, '#');
    cToShort(text.c_str(), out.data());
    const std::string expected = static_cast<char>(length % 256) + text.substr(0, 255) + "#";
    EXPECT_EQ(out.substr(0, expected.size()), expected);
  }
}

// ---- the functions that are framed like the exported ones, for hosts that build the library in

class Unexported : public testing::Test {
 protected:
  Unexported() {
    zdbInitFunc();
    EXPECT_EQ(zdbCreate(&db, nullptr, 0), 1);
    EXPECT_EQ(zdbAddSymbol(db, "p", 2, TypeParameter, 0, "", &p), 1);
    const char* labels[] = {"a", "b"};
    EXPECT_EQ(zdbMergeRecord(db, p, labels, &record), 1);
    zdbFreeSymbolIterator(db, record);
  }
  ~Unexported() override {
    zdbFree(&db);
    zdbFiniFunc();
  }

  zdbHandle_t db = nullptr;
  zdbSymbol_t p = nullptr;
  zdbRecord_t record = nullptr;
};

TEST_F(Unexported, FindRecordInt_AcceptsZeroAndNamesWhatIsOutside) {
  const struct {
    zdbSymbol_t symbol;
    int keys[2];
    const char* message;
  } cases[] = {{p, {1, 0}, "Cannot find record (\"a\",\" \") in Symbol p"},
               {p, {1, 3}, "Key 3 for symbol p in position 2 is out of UEL List bounds (<3)"},
               {p, {-1, 2}, "Key -1 for symbol p in position 1 is out of UEL List bounds (<3)"},
               {db->universe(), {3}, "Cannot find UEL 3 in Universe"}};
  for (const auto& c : cases) {
    EXPECT_EQ(zdbFindRecordInt(db, c.symbol, c.keys, &record), 0);
    EXPECT_STREQ(db->lastError(), c.message);
  }
  const int keys[] = {1, 2};
  int status = -1;
  EXPECT_NE(record = zdbFindRecordIntPy(db, p, keys, &status), nullptr);
  EXPECT_EQ(status + zdbFreeSymbolIterator(db, record), 2);
}

TEST_F(Unexported, ResetSymbol_LeavesTheRestToTheSource) {
  EXPECT_EQ(zdbResetSymbol(db, db->universe()), 0);
  EXPECT_STREQ(db->lastError(), "Cannot reset the Universe");
  EXPECT_EQ(zdbResetSymbol(db, p), 1);
  EXPECT_EQ(zdbFindFirstRecord(db, p, &record), 0);
  EXPECT_STREQ(db->lastError(), "Symbol p not initialized from ZXF or ZMI: 3");
}

/// A record that cannot be read for want of memory, which no record of ours needs.
struct LargeRecord : AbstractZDBSymbolIterator {
  explicit LargeRecord(AbstractZDBSymbol* of) : AbstractZDBSymbolIterator(ModeRecords, of) {}
  bool getRecordRaw(int*, double*) override { throw std::bad_alloc(); }
  dmap::IDMapIterator& getIterator() override { throw std::bad_alloc(); }
  double* getValues() const override { return nullptr; }
  bool moveNext(int) override { return false; }
  bool movePrev() override { return false; }
  bool hasNext(const uellist::IUELList&) override { return false; }
  bool hasPrev() override { return false; }
  bool equalValues(const AbstractZDBSymbolIterator*) const override { return false; }
  int getDim() const override { return 0; }
  const int* getKeys() const override { return nullptr; }
  void assignIterator(AbstractZDBSymbolIterator*) override {}
  void catchUp() const override {}
};

/// Hosts look for this name.
TEST_F(Unexported, RecordRawWithoutMemory_NamesGetKeys) {
  LargeRecord large(p);
  testing::internal::CaptureStdout();
  EXPECT_EQ(zdbGetRecordRaw(db, &large, 0, nullptr, nullptr), 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Out of memory in zdbGetKeys\n");
  EXPECT_STREQ(db->lastError(), "Out of memory in zdbGetKeys");
}

TEST_F(Unexported, DataCallbacks_PrintTakesTheLogAsAShortString) {
  std::string log;
  const auto print = [](const char* text, void* user) {
    static_cast<std::string*>(user)->assign(text + 1, static_cast<unsigned char>(text[0]));
    return 0;
  };
  const double special[5] = {1, 2, 3, 4, 5};
  const auto setCallbacks = [&](const double* values) {
    return zdbSetDataCallbacks(db, 1, nullptr, nullptr, nullptr, nullptr, nullptr, print, values,
                               &log);
  };
  EXPECT_EQ(setCallbacks(special), 1);
  EXPECT_EQ(zdbPrintLog(db, std::string(300, 'x').c_str()), 1);
  EXPECT_EQ(log, std::string(255, 'x'));
  EXPECT_EQ(setCallbacks(nullptr), 0);
  EXPECT_STREQ(db->lastError(), "zdbSetDataCallbacks: argument specialValues must not be null");
}

}  // namespace
}  // namespace zdb
