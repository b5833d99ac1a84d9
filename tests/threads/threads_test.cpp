// One database, one thread at a time; anything else may run at once. Each test is the first use of
// the library in its process, so that the companions are loaded in several threads at once, too.
// Records, files and copies are left to the storages driver, which runs in several threads as well.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "support/allocations.h"
#include "support/files.h"
#include "zdbcclib.h"
#include "zkitdclib.h"

namespace {

/// Runs the same in eight threads, each with its number; what they return is what went wrong.
void inThreads(const std::function<std::string(int)>& body) {
  std::vector<std::string> wrong(8);
  std::vector<std::thread> threads;
  for (int n = 0; n < 8; ++n) {
    threads.emplace_back([&wrong, &body, n] { wrong[static_cast<std::size_t>(n)] = body(n); });
  }
  for (std::thread& thread : threads) thread.join();
  for (const std::string& text : wrong) EXPECT_EQ(text, "");
}

constexpr char kModel[] =
    "var x{i in 1..3} >= 0; var need_var; var cost; minimize total: cost;"
    "s.t. costs: cost = sum{i in 1..3} i * x[i]; s.t. needs: sum{i in 1..3} x[i] >= need_var; end;";

struct Solving {
  zdbHandle_t db = nullptr;
  void* instance = nullptr;
  ~Solving() {
    zdbfree(&db);
    zkitFreeInstance(&instance);
  }
};

/// Reads the model, ties a database to it and solves it for each need up to 20, which is the cost.
std::string solveInSteps(const char* file, const char* solver) {
  Solving s;
  char text[ZKIT_TEXT_SIZE] = "";
  if (zkitReadModel(file, nullptr, nullptr, &s.instance, text, sizeof text) != 1) return text;
  if (zdbcreate(&s.db, text, sizeof text) != 1) return text;
  const auto failed = [&] {
    c__zdbgetlasterror(s.db, text);
    return std::string(text);
  };
  zdbSymbol_t need = nullptr;
  zdbSymbol_t cost = nullptr;
  if (c__zdbinitfromdict(s.db, s.instance) != 1 || c__zdbinitupdate(s.db, s.instance) != 1 ||
      c__zdbaddsymbol(s.db, "need", 0, ZDB_PARAMETER, 0, "", &need) != 1 ||
      c__zdbfindsymbol(s.db, "cost", &cost) != 1) {
    return failed();
  }
  for (int wanted = 1; wanted <= 20; ++wanted) {
    int noMatch = 0;
    double level = wanted;
    zdbRecord_t record = nullptr;
    if (c__zdbaddrecordraw(s.db, need, nullptr, &level, nullptr) != 1 ||
        c__zdbupdatemodelsymbol(s.db, need, ZDB_UPDATE_FIX, need, ZDB_MISSING_BASE, &noMatch) !=
            1 ||
        c__zdbcallsolver(s.db, solver) != 1 || c__zdbfindfirstrecord(s.db, cost, &record) != 1 ||
        c__zdbgetlevel(s.db, record, &level) != 1 || c__zdbfreesymboliterator(s.db, record) != 1) {
      return failed();
    }
    if (std::abs(level - wanted) > 1e-9) return std::string(solver) + ": " + std::to_string(level);
  }
  return "";
}

TEST(Threads, ModelsOfTheirOwn_AreReadTiedAndSolved) {
  const testsupport::TemporaryFolder folder;
  const std::string file = folder.write("small.mod", kModel);
  const char* const solvers[] = {"clp", "glpk", "cbc"};
  inThreads([&](int n) { return solveInSteps(file.c_str(), solvers[n % 3]); });
}

// A thread's first handle is where its memory for handles begins.
TEST(Threads, OutOfMemoryAtTheFirstHandle_AddsNoRecord) {
  for (std::uint64_t first = 1;; ++first) {
    bool isDone = false;
    std::thread([&] {
      Solving s;
      zdbSymbol_t p = nullptr;
      zdbRecord_t record = nullptr;
      int count = -1;
      EXPECT_EQ(zdbcreate(&s.db, nullptr, 0), 1);
      EXPECT_EQ(c__zdbaddsymbol(s.db, "p", 0, ZDB_PARAMETER, 0, "", &p), 1);
      {
        const zdb::test::Allocations failing(first);
        isDone = c__zdbaddrecord(s.db, p, nullptr, &record) == 1;
      }
      EXPECT_EQ(c__zdbsymbolinfo(s.db, p, ZDB_SYMBOL_RECORDS, &count, nullptr, nullptr), 1);
      EXPECT_EQ(count, isDone ? 1 : 0);
      if (isDone) c__zdbfreesymboliterator(s.db, record);
    }).join();
    if (isDone) {
      EXPECT_GT(first, 1U) << "nothing was made to fail";
      return;
    }
  }
}

}  // namespace
