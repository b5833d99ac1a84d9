// One database, one thread at a time; anything else may run at once. Each test is the first use of
// the library in its process, so that the companions are loaded in several threads at once, too.
// Records, files and copies are left to the storages driver, which runs in several threads as well.
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "support/allocations.h"
#include "support/client.h"
#include "support/files.h"
#include "zkitdclib.h"

namespace {

/// Runs the same in eight threads, each with its number; what they return is what went wrong.
void inThreads(const std::function<std::string(int)>& body) {
  std::vector<std::string> wrong(8);
  std::vector<std::thread> threads;
  threads.reserve(8);
  for (int n = 0; n < 8; ++n) {
    threads.emplace_back([&wrong, &body, n] { wrong[static_cast<std::size_t>(n)] = body(n); });
  }
  for (std::thread& thread : threads) thread.join();
  for (const std::string& text : wrong) EXPECT_EQ(text, "");
}

constexpr char kModel[] =
    "var x{i in 1..3} >= 0; var need_var; var cost; minimize total: cost;"
    "s.t. costs: cost = sum{i in 1..3} i * x[i]; s.t. needs: sum{i in 1..3} x[i] >= need_var; end;";

struct ModelInstance {
  void* handle = nullptr;
  ~ModelInstance() { zkitFreeInstance(&handle); }
};

/// Reads the model, ties a database to it and solves it for each need up to 20, which is the cost.
std::string solveInSteps(const char* file, const char* solver) {
  ModelInstance model;
  const Database db;
  char text[ZKIT_TEXT_SIZE] = "";
  if (zkitReadModel(file, nullptr, nullptr, &model.handle, text, sizeof text) != 1) return text;
  if (c__zdbinitfromdict(db, model.handle) != 1) return db.error();
  if (c__zdbinitupdate(db, model.handle) != 1) return db.error();
  zdbSymbol_t need = db.add("need", 0);
  zdbSymbol_t cost = nullptr;
  c__zdbfindsymbol(db, "cost", &cost);
  for (int wanted = 1; wanted <= 20; ++wanted) {
    int noMatch = 0;
    double level = 0;
    zdbRecord_t record = nullptr;
    db.put(need, {}, wanted);
    c__zdbupdatemodelsymbol(db, need, ZDB_UPDATE_FIX, need, ZDB_MISSING_BASE, &noMatch);
    if (c__zdbcallsolver(db, solver) != 1) return db.error();
    c__zdbfindfirstrecord(db, cost, &record);
    c__zdbgetlevel(db, record, &level);
    c__zdbfreesymboliterator(db, record);
    if (std::abs(level - wanted) > 1e-9) return std::string(solver) + ": " + std::to_string(level);
  }
  return "";
}

TEST(Threads, ModelsOfTheirOwn_AreReadTiedAndSolved) {
  const zdb::test::TemporaryFolder folder;
  const std::string file = folder.write("small.mod", kModel);
  const char* const solvers[] = {"clp", "glpk", "cbc"};
  inThreads([&](int n) { return solveInSteps(file.c_str(), solvers[n % 3]); });
}

// A thread's first handle is where its memory for handles begins.
TEST(Threads, OutOfMemoryAtTheFirstHandle_AddsNoRecord) {
  for (std::uint64_t first = 1;; ++first) {
    bool isDone = false;
    std::thread([&] {
      const Database db;
      zdbSymbol_t p = db.add("p", 0);
      zdbRecord_t record = nullptr;
      {
        const zdb::test::Allocations failing(first);
        isDone = c__zdbaddrecord(db, p, nullptr, &record) == 1;
      }
      EXPECT_EQ(db.info(p, ZDB_SYMBOL_RECORDS), isDone ? 1 : 0);
      if (isDone) c__zdbfreesymboliterator(db, record);
    }).join();
    if (isDone) {
      EXPECT_GT(first, 1U) << "nothing was made to fail";
      return;
    }
  }
}

}  // namespace
