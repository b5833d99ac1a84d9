// The N-th allocation fails, for N = 1, 2, 3, ... until the call succeeds.

#include <cstdlib>
#include <functional>
#include <new>
#include <string>

#include "client.h"

namespace {

long allocationsUntilFailure = -1;  // negative: never

void* allocate(std::size_t bytes) {
  if (allocationsUntilFailure >= 0 && allocationsUntilFailure-- == 0) return nullptr;
  return std::malloc(bytes == 0 ? 1 : bytes);
}

}  // namespace

// Inlined into a caller, these look to g++ like memory from one operator freed by another function.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
#endif

// The library's allocations come here too.
#define ZDB_REPLACED [[gnu::visibility("default")]] void
ZDB_REPLACED* operator new(std::size_t bytes) {
  if (void* memory = allocate(bytes)) return memory;
  throw std::bad_alloc();
}
ZDB_REPLACED* operator new[](std::size_t bytes) {
  return operator new(bytes);
}
ZDB_REPLACED operator delete(void* memory) noexcept {
  std::free(memory);
}
ZDB_REPLACED operator delete[](void* memory) noexcept {
  std::free(memory);
}
ZDB_REPLACED operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}
ZDB_REPLACED operator delete[](void* memory, std::size_t) noexcept {
  std::free(memory);
}

namespace {

struct Case {
  const char* name;
  int result;  ///< of the call with enough memory
  std::function<int(const Database&, zdbSymbol_t)> call;
};

// Enough labels or records that stores and indices have to grow. What a test allocates itself would
// count, so texts are made in place.
int mergeLabels(const Database& db, zdbSymbol_t symbol, bool asRecords) {
  for (int i = 0; i < 3000; ++i) {
    char text[] = {static_cast<char>('a' + i % 10), static_cast<char>('a' + i / 10 % 10),
                   static_cast<char>('a' + i / 100 % 10), static_cast<char>('a' + i / 1000), '\0'};
    const char* const key[] = {text};
    int number;
    zdbRecord_t record = nullptr;
    const int merged =
        asRecords ? c__zdbmergerecord(db, symbol, key, &record) : c__zdbmergeuel(db, text, &number);
    if (record != nullptr) c__zdbfreesymboliterator(db, record);
    if (merged == 0) return 0;
  }
  return 1;
}

const Case kCases[] = {
    {"zdbAddSymbol", 1,
     [](const Database& db, zdbSymbol_t) {
       zdbSymbol_t added;
       return c__zdbaddsymbol(db, "added", 3, ZDB_SET, 0, "a text that is not short", &added);
     }},
    {"zdbMergeUel", 1,
     [](const Database& db, zdbSymbol_t symbol) { return mergeLabels(db, symbol, false); }},
    {"zdbMergeRecord", 1,
     [](const Database& db, zdbSymbol_t symbol) { return mergeLabels(db, symbol, true); }},
    {"zdbRecordMoveNext", 0,  // from the only record, with a message to allocate
     [](const Database& db, zdbSymbol_t symbol) {
       zdbRecord_t record = nullptr;
       if (!c__zdbfindlastrecord(db, symbol, &record)) return 0;
       const int moved = c__zdbrecordmovenext(db, record);
       c__zdbfreesymboliterator(db, record);
       return moved;
     }},
};

/// Runs the call with its allocation number `failing` (from 0) failing; false if it makes fewer.
bool failsAt(const Case& c, int failing) {
  Database db;
  zdbSymbol_t symbol = db.add("p", 1);
  db.merge(symbol, {"first"});
  testing::internal::CaptureStdout();
  allocationsUntilFailure = failing;
  const int result = c.call(db, symbol);
  const bool failed = allocationsUntilFailure < 0;
  allocationsUntilFailure = -1;
  const std::string output = testing::internal::GetCapturedStdout();
  if (failed) {
    EXPECT_EQ(result, 0);
    EXPECT_EQ(output.find("Out of memory in "), 0U) << output;
    EXPECT_EQ(output, db.error() + "\n");
    EXPECT_EQ(c.call(db, symbol), c.result) << db.error();
  } else {
    EXPECT_EQ(result, c.result);
  }
  db.merge(symbol, {"second"});
  db.add("later", 2, ZDB_SET);
  return failed;
}

TEST(OutOfMemory, EachAllocation_FailsWithAMessageAndCanBeTriedAgain) {
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.name);
    int failing = 0;
    while (failing < 200 && failsAt(c, failing)) ++failing;
    EXPECT_GT(failing, 0) << "nothing was allocated";
    EXPECT_LT(failing, 200);
  }
}

}  // namespace
