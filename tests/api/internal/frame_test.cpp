// The frame that all functions share, seen from inside.
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
  std::unique_ptr<AbstractZDBSymbolIterator> copy() override { return nullptr; }
  void catchUp() const override {}
};

/// Hosts look for this name.
TEST(Frame, RecordRawWithoutMemory_NamesGetKeys) {
  ZDB db{makeSymbol};
  LargeRecord large(db.universe());
  testing::internal::CaptureStdout();
  EXPECT_EQ(zdbGetRecordRaw(&db, &large, 0, nullptr, nullptr), 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "Out of memory in zdbGetKeys\n");
  EXPECT_STREQ(db.lastError(), "Out of memory in zdbGetKeys");
}

}  // namespace
}  // namespace zdb
