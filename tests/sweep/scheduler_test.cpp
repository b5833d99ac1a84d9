// What comes of tasks if workers are slow, die or talk nonsense, with workers on paper.
#include "sweep/scheduler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <set>

#include "fakecrew.h"

namespace zdb::sweep {
namespace {

using enum FakeCrew::Fate;

constexpr auto kNever = [] { return false; };

std::vector<Task> upTo(std::size_t count) {
  std::vector<Task> tasks(count);
  std::iota(tasks.begin(), tasks.end(), 0);
  return tasks;
}

/// An outcome that is not a result at the first try, as "7x3!": task, tries, failed.
std::string unusual(const Outcome& outcome) {
  if (!outcome.isFailed) {
    EXPECT_EQ(outcome.content, "r" + std::to_string(outcome.task));
  }
  if (outcome.tries == 1 && !outcome.isFailed) return "";
  std::string text = ' ' + std::to_string(outcome.task);
  if (outcome.tries > 1) text += 'x' + std::to_string(outcome.tries);
  return outcome.isFailed ? text + '!' : text;
}

struct Swept {
  std::vector<Task> delivered;
  std::string unusual;
  std::set<Task> failed;
  std::string lastFailure;
  Ending ending = Ending::Done;
};

Swept runAll(FakeCrew& crew, std::size_t tasks, const Policy& policy = {},
             const std::function<bool()>& isInterrupted = kNever) {
  Swept run;
  Scheduler scheduler(
      upTo(tasks), crew,
      [&](const Outcome& outcome) {
        run.delivered.push_back(outcome.task);
        run.unusual += unusual(outcome);
        if (!outcome.isFailed) return;
        run.failed.insert(outcome.task);
        run.lastFailure = outcome.content;
      },
      policy);
  run.ending = scheduler.run(isInterrupted);
  return run;
}

struct Case {
  const char* what;
  std::size_t workers;
  std::size_t tasks;
  std::map<Task, std::deque<FakeCrew::Fate>> fates;
  const char* chunks;   ///< that are handed out, in this order
  const char* unusual;  ///< outcomes
};

// One worker gets 0, 1+4, 5+16, 21+9, 30+5, 35+2 and three single ones of forty tasks.
const Case kCases[] = {
    {"nothing to do", 3, 0, {}, "", ""},
    {"more workers than tasks", 3, 2, {}, "0 1", ""},
    {"nobody dies", 1, 40, {}, "0 1+4 5+16 21+9 30+5 35+2 37 38 39", ""},
    {"a chunk loses its worker before its first result",
     1,
     9,
     {{1, {DieBefore}}},
     "0 1+4 1+4 5+2 7 8",
     " 1x2 2x2 3x2 4x2"},
    {"in the middle", 1, 9, {{3, {DieBefore}}}, "0 1+4 3+2 5+2 7 8", " 3x2 4x2"},
    {"after a result", 1, 9, {{3, {DieAfter}}}, "0 1+4 4 5+2 7 8", " 4x2"},
    {"after its last result", 1, 9, {{4, {DieAfter}}}, "0 1+4 5+2 5+2 7 8", " 5x2 6x2"},
    {"twice: what is left is done singly",
     1,
     9,
     {{3, {DieBefore, DieBefore}}},
     "0 1+4 3+2 3 4 5+2 7 8",
     " 3x3 4x3"},
    {"at one task and then at another",
     1,
     9,
     {{2, {DieBefore}}, {4, {DieBefore}}},
     "0 1+4 2+3 4 5+2 7 8",
     " 2x2 3x2 4x3"},
    {"always at one task, which is blamed",
     1,
     9,
     {{3, {DieBefore, DieBefore, DieBefore}}},
     "0 1+4 3+2 3 4 5+2 7 8",
     " 3x3! 4x3"},
    {"a single task is tried again, then blamed",
     1,
     3,
     {{2, {DieBefore, DieBefore}}},
     "0 1 2 2",
     " 2x2!"},
    {"a result that nobody asked for is a death",
     1,
     9,
     {{3, {Babble}}},
     "0 1+4 3+2 5+2 7 8",
     " 3x2 4x2"},
    {"a failure is an outcome, not a death", 1, 9, {{3, {Fail}}}, "0 1+4 5+2 7 8", " 3!"},
    {"two workers, one of which dies",
     2,
     12,
     {{4, {DieBefore}}},
     "0 1 2+2 4+2 4+2 6 7 8 9 10 11",
     " 4x2 5x2"},
};

TEST(Scheduler, WorkersDie_EachTaskIsDeliveredOnceInOrder) {
  for (const Case& c : kCases) {
    FakeCrew crew(c.workers);
    crew.fates = c.fates;
    const Swept run = runAll(crew, c.tasks, {.keepsGoing = true});
    EXPECT_EQ(crew.log, c.chunks) << c.what;
    EXPECT_EQ(run.unusual, c.unusual) << c.what;
    EXPECT_EQ(run.delivered, upTo(c.tasks)) << c.what;
    EXPECT_EQ(run.ending, Ending::Done) << c.what;
  }
}

// Some tasks end any worker, some only one, before or after their result; which of the latter are
// blamed is a matter of luck, but nobody else is.
TEST(Scheduler, EventsInAnyOrder_EachTaskIsDeliveredOnceAndOnlyKillersAreBlamed) {
  for (unsigned seed = 1; seed <= 300; ++seed) {
    std::mt19937 random(seed);
    const std::size_t tasks = random() % 60;
    FakeCrew crew(1 + random() % 5);
    crew.pick = [&](std::size_t busy) { return random() % busy; };
    std::set<Task> always;
    std::set<Task> sometimes;
    for (Task task = 0; task < tasks; ++task) {
      crew.seconds[task] = 1e-4 * static_cast<double>(random() % 1000);
      switch (random() % 24) {
        case 0:
          always.insert(task);
          crew.fates[task] = {DieBefore, DieBefore, DieBefore};
          break;
        case 1:
          sometimes.insert(task);
          crew.fates[task] = {DieBefore};
          break;
        case 2:
          crew.fates[task] = {DieAfter};
          break;
        default:
          break;
      }
    }
    const Swept run = runAll(crew, tasks, {.keepsGoing = true});
    EXPECT_EQ(run.delivered, upTo(tasks)) << seed;
    EXPECT_TRUE(std::ranges::includes(run.failed, always)) << seed;
    always.merge(sometimes);
    EXPECT_TRUE(std::ranges::includes(always, run.failed)) << seed;
  }
}

// Whatever the number of workers and their order, the output ends with the same failure.
TEST(Scheduler, TaskFails_OutcomesEndWithTheFirstFailure) {
  for (unsigned seed = 0; seed < 100; ++seed) {
    std::mt19937 random(seed);
    FakeCrew crew(1 + seed % 4);
    crew.pick = [&](std::size_t busy) { return random() % busy; };
    crew.fates = {{17, {Fail}}, {11, {DieBefore, DieBefore, DieBefore}}, {13, {Fail}}};
    const Swept run = runAll(crew, 30);
    EXPECT_EQ(run.delivered, upTo(12)) << seed;
    EXPECT_EQ(run.ending, Ending::Failed) << seed;
    EXPECT_EQ(run.lastFailure, "its worker ended, also when it was tried alone: signal 9");
  }
}

TEST(Scheduler, Interrupted_DeliversWhatIsDoneWithItsGaps) {
  FakeCrew crew(2);
  crew.slowness = {1, 20};
  int asked = 0;
  const Swept run = runAll(crew, 100, {}, [&] { return ++asked == 12; });
  EXPECT_EQ(run.delivered, (std::vector<Task>{0, 1, 2, 3, 4, 5, 15, 16, 17, 18, 19}));
  EXPECT_EQ(run.ending, Ending::Interrupted);
}

// A failure that is not yet delivered would be one if all before it were done.
TEST(Scheduler, InterruptedAfterAFailure_DeliversNothingFromItOn) {
  FakeCrew crew(2);
  crew.slowness = {1, 20};
  crew.fates = {{17, {Fail}}};
  int asked = 0;
  const Swept run = runAll(crew, 100, {}, [&] { return ++asked == 12; });
  EXPECT_EQ(run.delivered, (std::vector<Task>{0, 1, 2, 3, 4, 5, 15, 16}));
  EXPECT_EQ(run.ending, Ending::Interrupted);
}

TEST(Scheduler, NoWorkerLeft_SaysWhyAfterWhatIsDone) {
  FakeCrew crew(2);
  crew.fills = 3;
  crew.fates = {{0, {DieBefore, DieAfter}}, {1, {DieAfter}}, {2, {DieBefore}}};
  std::vector<Task> delivered;
  Scheduler scheduler(upTo(8), crew,
                      [&](const Outcome& outcome) { delivered.push_back(outcome.task); }, {});
  try {
    scheduler.run(kNever);
    FAIL() << "it ended";
  } catch (const CrewError& failure) {
    EXPECT_STREQ(failure.what(), "no worker is left: no room");
  }
  EXPECT_EQ(delivered, upTo(2));
}

// Tasks of 1 ms to begin with; how long all takes, over the time that cannot be beaten.
TEST(Scheduler, UnevenTasksAndWorkers_AllEndAtAboutTheSameTime) {
  const auto everyHundredth = [](Task task) { return task % 100 == 0 ? 1.0 : 0.001; };
  const auto longAtTheEnd = [](Task task) { return task < 900 ? 0.001 : 0.05; };
  const auto even = [](Task) { return 0.001; };
  const struct {
    const char* what;
    std::function<double(Task)> cost;
    std::vector<double> slowness;
    double limit;
  } cases[] = {
      {"even", even, {1, 1, 1, 1}, 1.02},
      {"a worker that is ten times slower", even, {1, 1, 1, 10}, 1.2},
      {"few long tasks", everyHundredth, {1, 1}, 1.1},
      {"long tasks at the end", longAtTheEnd, {1, 1, 1, 1}, 1.1},
  };
  for (const auto& c : cases) {
    FakeCrew crew(c.slowness.size());
    crew.slowness = c.slowness;
    double work = 0;
    for (Task task = 0; task < 1000; ++task) work += crew.seconds[task] = c.cost(task);
    double speed = 0;
    for (const double slowness : c.slowness) speed += 1 / slowness;
    EXPECT_EQ(runAll(crew, 1000).delivered.size(), 1000);
    EXPECT_LE(crew.end(), c.limit * work / speed) << c.what;
  }
}

// A chunk takes as long as it should, so that a short task costs no message of its own.
TEST(Scheduler, ShortTasks_FewChunks) {
  FakeCrew crew(4);
  EXPECT_EQ(runAll(crew, 100'000).delivered.size(), 100'000);
  EXPECT_LE(std::ranges::count(crew.log, ' '), 1'100);
  FakeCrew instant(4);
  for (Task task = 0; task < 100'000; ++task) instant.seconds[task] = 0;
  runAll(instant, 100'000);
  EXPECT_LE(std::ranges::count(instant.log, ' '), 200);
}

}  // namespace
}  // namespace zdb::sweep
