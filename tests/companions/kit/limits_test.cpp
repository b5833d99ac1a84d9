// Solves that must end early.
#include <atomic>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "companions/kit/testing.h"

namespace {

using namespace zdb::test::kit;

// " + 117 x(0) + 104 x(1) ...", with coefficients from `least` to 99 more.
std::string sum(int columns, int least, std::mt19937& random) {
  std::ostringstream text;
  for (int j = 0; j < columns; ++j) text << " + " << least + random() % 100 << " x(" << j << ")";
  return text.str();
}

// Covers each of some rows by columns, which takes some iterations.
std::string cover(int rows, int columns, int need) {
  std::mt19937 random(3);
  std::ostringstream text;
  text << "z -inf inf ; min z ; cost: - z" << sum(columns, 100, random) << " = 0";
  for (int i = 0; i < rows; ++i) {
    text << " ; e(" << i << "):" << sum(columns, 10, random) << " >= " << need;
  }
  return text.str();
}

std::string cover(int size) {
  return cover(size, 2 * size, size);
}

// Of it, whole numbers: quickly satisfied, and hard to decide.
std::string wholeCover() {
  std::string text;
  for (int j = 0; j < 100; ++j) text += "int x(" + std::to_string(j) + ") 0 9 ; ";
  return text + cover(20, 100, 2000);
}

// Pays six sums exactly with some of 50 items: hard to decide for trees.
std::string sums() {
  std::mt19937 random(11);
  std::ostringstream text;
  for (int j = 0; j < 50; ++j) text << "int x(" << j << ") 0 1 ; ";
  for (int i = 0; i < 6; ++i) {
    text << "e(" << i << "): under(" << i << ") - over(" << i << ")" << sum(50, 0, random)
         << " = 1250 ; ";
  }
  text << "min z -inf inf ; cost: - z";
  for (int i = 0; i < 6; ++i) text << " + over(" << i << ") + under(" << i << ")";
  return text.str() + " = 0";
}

void expectStopped(const Instance& instance, int solveStatus) {
  EXPECT_EQ(zkitSolveStatus(instance), solveStatus);
  if (zkitModelStatus(instance) == ZKIT_INTERMEDIATE) return;
  EXPECT_EQ(zkitModelStatus(instance), ZKIT_FEASIBLE);
  EXPECT_EQ(entryOf(CzmiGetSolutionVarRec, instance, 1).status, ZKIT_LEVEL_NOT_OPTIMAL);
}

// Levels of rows are those of the algebra, and satisfy a model of >= rows.
void expectFeasible(const Model& model, const Instance& instance) {
  std::vector<double> levels(CzmiN(instance));
  CzmiGetVarL(instance, levels.data());
  for (int i = 0; i < CzmiM(instance); ++i) {
    const double level = CzmiGetEquLOne(instance, i);
    EXPECT_NEAR(activity(model.terms(i), levels), level, 1e-6) << i;
    EXPECT_GE(level, CzmiGetRhsOne(instance, i) - 1e-6) << i;
  }
}

TEST(KitLimits, Linear_StopAndGoOnFromThere) {
  const Silence silence;
  const Model model(cover(60));
  for (const char* solver : solvers()) {
    SCOPED_TRACE(solver);
    const Instance instance(model);
    const Hot hot(solver);
    zkitSetLimits(instance, 0, 5);
    EXPECT_EQ(hot.solve(instance), 0);
    expectStopped(instance, ZKIT_ITERATION_LIMIT);
    EXPECT_LE(zkitIterations(instance), 10);
    zkitSetLimits(instance, 1e-9, 0);
    EXPECT_EQ(hot.solve(instance), 0);
    expectStopped(instance, ZKIT_TIME_LIMIT);
    zkitSetLimits(instance, 0, 0);
    zkitTerminate(instance);
    for (int k = 0; k < 2; ++k) {
      EXPECT_EQ(hot.solve(instance), 0);
      expectStopped(instance, ZKIT_INTERRUPTED);
    }
    EXPECT_EQ(CzrtTerminateClear(CzmiEnvironment(instance)), 1);
    EXPECT_EQ(hot.solve(instance), 0);
    EXPECT_EQ(zkitModelStatus(instance), ZKIT_OPTIMAL);
    expectOptimal(model, instance);
    zkitTerminate(instance);
    for (const int status : {ZKIT_INTERRUPTED, ZKIT_COMPLETED}) {  // which it forgets by itself
      EXPECT_EQ(zkitSolve(instance, solver, nullptr, 0), 1);
      EXPECT_EQ(zkitSolveStatus(instance), status);
    }
  }
}

// What a host does with a line, even if that fails, is nothing to a solve.
TEST(KitLimits, WhatSolversSay_GoesToTheLogLineByLine) {
  const Silence silence;
  using Lines = std::vector<std::string>;
  const auto keep = [](const char* line, void* lines) {
    static_cast<Lines*>(lines)->emplace_back(line);
  };
  const auto fail = [](const char* line, void* /*user*/) { throw std::runtime_error(line); };
  for (const bool isWhole : {false, true}) {
    const Model model(isWhole ? "int x 0 9 ; int y 0 9 ; e: 3 x + 7 y >= 12 ; z -inf inf ; min z ; "
                                "c: z - 2 x - 5 y = 0"
                              : cover(20));
    for (const char* solver : isWhole ? mipSolvers() : solvers()) {
      SCOPED_TRACE(solver);
      const Instance instance(model);
      const Hot hot(solver);
      Lines lines;
      zkitSetLog(instance, keep, &lines);
      EXPECT_EQ(hot.solve(instance), 0);
      EXPECT_GT(lines.size(), 2U);
      for (const std::string& line : lines) EXPECT_EQ(line.find('\n'), line.npos) << line;
      const double objective = zkitObjective(instance);
      lines.clear();
      for (const zkitLogCallback_t log : {zkitLogCallback_t(nullptr), zkitLogCallback_t(fail)}) {
        const Instance other(model);
        zkitSetLog(other, log, &lines);
        EXPECT_EQ(Hot(solver).solve(other), 0);
        EXPECT_NEAR(zkitObjective(other), objective, 1e-6);
        EXPECT_TRUE(lines.empty());
      }
    }
  }
}

TEST(KitLimits, OfOneCall_CountWhereTheyAreTighter) {
  const Model model(cover(60));
  const struct {
    double seconds, callSeconds;
    int iterations, callIterations, status;
  } limits[] = {
      {0, 0, 0, 0, ZKIT_COMPLETED},
      {1e4, 2e300, 0, 2100000000, ZKIT_COMPLETED},
      {0, 0, 0, 1, ZKIT_ITERATION_LIMIT},
      {0, 0, 1, 100000, ZKIT_ITERATION_LIMIT},
      {0, 0, 100000, 1, ZKIT_ITERATION_LIMIT},
      {0, 1e-9, 0, 0, ZKIT_TIME_LIMIT},
      {1e-9, 1e4, 0, 0, ZKIT_TIME_LIMIT},
      {1e4, 1e-9, 0, 0, ZKIT_TIME_LIMIT},
      {-1, -1, -1, -1, ZKIT_COMPLETED},
  };
  for (const char* solver : solvers()) {
    const Instance instance(model);
    for (const auto& each : limits) {
      EXPECT_EQ(zkitSetLimits(instance, each.seconds, each.iterations), 1);
      EXPECT_EQ(instance.solve(solver, each.callSeconds, each.callIterations), "");
      EXPECT_EQ(zkitSolveStatus(instance), each.status)
          << solver << " case " << &each - limits << " " << zkitIterations(instance);
    }
  }
}

// glpk's simplex is asked to come back now and then, and goes on where it was.
TEST(KitLimits, LongSolvesOfGlpk_LookAtTheirLimitsOnTheWay) {
  const Model model(cover(250));
  const Instance instance(model);
  EXPECT_EQ(instance.solve("glpk", 0.02), "");
  expectStopped(instance, ZKIT_TIME_LIMIT);
  EXPECT_EQ(instance.solve("glpk"), "");
  EXPECT_EQ(zkitModelStatus(instance), ZKIT_OPTIMAL);
  expectOptimal(model, instance);
}

// Before the first node as well, where cbc spends thousands of iterations and has levels that it
// would call optimal.
TEST(KitLimits, Searches_Stop) {
  const Silence silence;
  for (const std::string& text : {sums(), wholeCover()}) {
    const Model model(text);
    for (const char* solver : mipSolvers()) {
      const Instance instance(model);
      for (const int limit : {1, 500}) {
        SCOPED_TRACE(testing::Message() << solver << ", " << limit << " iterations");
        EXPECT_EQ(instance.solve(solver, 0, limit), "");
        expectStopped(instance, ZKIT_ITERATION_LIMIT);
        EXPECT_GE(zkitIterations(instance), limit);
        const bool isCoarse = solver == std::string("highs");  // and looks after rounds of many
        EXPECT_LE(zkitIterations(instance), limit + (isCoarse ? 1000 : 100));
      }
      for (const double limit : {0.01, 0.1}) {
        SCOPED_TRACE(testing::Message() << solver << ", " << limit << " seconds");
        EXPECT_EQ(instance.solve(solver, limit), "");
        expectStopped(instance, ZKIT_TIME_LIMIT);
      }
      if (zkitModelStatus(instance) == ZKIT_FEASIBLE) expectFeasible(model, instance);
    }
  }
}

// Searches that would take very long end when they are close enough, and tell how close.
TEST(KitLimits, Searches_EndWithinTheirGap) {
  const Silence silence;
  const Model model(wholeCover());
  const Model positive(
      "max z -inf inf ; cost: 1000 - 10 x - 14 y - z = 0 ; int x 0 9 ; int y 0 9 ; "
      "e: 5 x + 8 y >= 31");
  for (const char* solver : mipSolvers()) {
    SCOPED_TRACE(solver);
    const Instance instance(model);
    const Hot hot(solver);
    EXPECT_EQ(zkitSetLimits(instance, 20, 0), 1);
    for (const double relative : {0.2, 0.0}) {
      const double absolute = relative > 0 ? 0 : 0.2 * zkitObjective(instance);
      EXPECT_EQ(zkitSetGap(instance, relative, absolute), 1);
      EXPECT_EQ(hot.solve(instance), 0);
      EXPECT_EQ(zkitSolveStatus(instance), ZKIT_COMPLETED);
      EXPECT_EQ(zkitModelStatus(instance), ZKIT_INTEGER_SOLUTION);
      expectFeasible(model, instance);
      EXPECT_GT(zkitGap(instance), 0);
      EXPECT_LE(zkitGap(instance), 0.2);
      EXPECT_NEAR(zkitBound(instance), zkitObjective(instance) * (1 - zkitGap(instance)), 1e-6);
    }
    EXPECT_EQ(zkitSetGap(instance, 1e-9, 0), 1);
    EXPECT_EQ(instance.solve(solver, 0.3), "");
    expectStopped(instance, ZKIT_TIME_LIMIT);
    EXPECT_GT(zkitBound(instance), 0);
    EXPECT_EQ(zkitModelStatus(instance) == ZKIT_FEASIBLE, zkitGap(instance) > 0);
    // Of what is proven to be best, and relative to an objective with its constant.
    const Instance other(positive);
    EXPECT_EQ(other.solve(solver), "");
    EXPECT_EQ(zkitObjective(other), 944);
    EXPECT_EQ(zkitBound(other), 944);
    EXPECT_EQ(zkitGap(other), 0);
    EXPECT_EQ(zkitSetGap(other, 0.1, 0), 1);
    EXPECT_EQ(other.solve(solver), "");
    EXPECT_EQ(zkitModelStatus(other), ZKIT_INTEGER_SOLUTION);
    EXPECT_GE(zkitBound(other), 944);
    EXPECT_LE(zkitBound(other), 1000);
    EXPECT_LE(zkitObjective(other), 944);
  }
}

// cbc runs one search at a time; a solve that waits for it respects its limit and stop requests.
TEST(KitLimits, SearchesThatWaitForAnother_StopByThemselves) {
  const Model model(sums());
  for (const char* solver : mipSolvers()) {
    SCOPED_TRACE(solver);
    const Instance first(model);
    const Instance second(model);
    std::atomic<bool> isSearching = true;
    std::thread other([&] {
      EXPECT_EQ(first.solve(solver), "");
      isSearching = false;
    });
    EXPECT_EQ(second.solve(solver, 0.3), "");
    expectStopped(second, ZKIT_TIME_LIMIT);
    zkitTerminate(second);
    EXPECT_EQ(second.solve(solver), "");
    expectStopped(second, ZKIT_INTERRUPTED);
    EXPECT_TRUE(isSearching);
    zkitTerminate(first);
    other.join();
    expectStopped(first, ZKIT_INTERRUPTED);
  }
}

}  // namespace
