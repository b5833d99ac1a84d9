#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "program.h"

namespace tools_test {
namespace {

using ::testing::HasSubstr;

// Bread at 2 and milk at 3, which have to give needed amounts of energy and, milk alone, calcium.
constexpr const char* kModel = R"(set NUTRIENT;
var buy{f in {'bread', 'milk'}} >= 0, <= 100;
var need_var{n in NUTRIENT}, = if n = 'energy' then 10 else 4;
minimize cost: 2 * buy['bread'] + 3 * buy['milk'];
s.t. energy: buy['bread'] + buy['milk'] - need_var['energy'] >= 0;
s.t. calcium: 2 * buy['milk'] - need_var['calcium'] >= 0;
solve;
data;
set NUTRIENT := energy calcium;
end;
)";

class ZdbSolve : public ::testing::Test {
 protected:
  ZdbSolve() { writeFile(model_, kModel); }

  static Outcome zdb(const std::vector<std::string>& arguments) {
    return run(ZDB_PROGRAM, arguments);
  }
  std::string file(const char* name, const std::string& content) const {
    std::string path = folder_.path(name);
    writeFile(path, content);
    return path;
  }

  TemporaryFolder folder_;
  std::string model_ = folder_.path("diet.mod");
};

TEST_F(ZdbSolve, Solution_IsPrintedAndWritten) {
  const std::string output = folder_.path("out.zxf");
  const Outcome outcome = zdb({"solve", model_, "-o", output});
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  EXPECT_EQ(outcome.err, "");
  EXPECT_THAT(outcome.out, HasSubstr("status      Optimal\n"));
  EXPECT_THAT(outcome.out, HasSubstr("objective   22\n"));
  EXPECT_EQ(zdb({"dump", output, "buy"}).out,
            "label,level,marginal,lower,upper,scale\nmilk,2,0,0,100,1\nbread,8,0,0,100,1\n");
  EXPECT_EQ(zdb({"dump", output, "calcium"}).out,
            "level,marginal,lower,upper,scale\n0,0.5,0,+Inf,1\n");
}

TEST_F(ZdbSolve, EverySolver_FindsTheSame) {
  for (const char* solver : {"clp", "cbc", "glpk"}) {
    const Outcome outcome = zdb({"solve", model_, "--solver", solver});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_THAT(outcome.out, HasSubstr("objective   22\n")) << solver;
  }
}

TEST_F(ZdbSolve, ChangedData_ComeFromCsvOrADataFile) {
  const struct {
    const char* csv;
    const char* objective;
    const char* error;
  } cases[] = {
      {"energy,20\n", "objective   42\n", ""},
      {"nutrient,value\nenergy,20\ncalcium,8\n", "objective   44\n", ""},
      {"calcium,0\n\nenergy,1\n", "objective   2\n", ""},
      {"energy,20\niron,3\n", "objective   42\n", "1 record is not in the model"},
  };
  for (const auto& c : cases) {
    const std::string csv = file("need.csv", c.csv);
    const std::string output = folder_.path("out.zxf");
    const Outcome outcome = zdb({"solve", model_, "--set", "need=" + csv, "-o", output});
    EXPECT_EQ(outcome.exitCode, 0) << c.csv;
    EXPECT_THAT(outcome.out, HasSubstr(c.objective)) << c.csv << outcome.err;
    EXPECT_THAT(outcome.err, HasSubstr(c.error)) << c.csv;
    // The changed parameter is in the solution's file, which can be the data of the next solve.
    EXPECT_THAT(zdb({"solve", model_, "--data", output}).out, HasSubstr(c.objective)) << c.csv;
  }
}

TEST_F(ZdbSolve, Scalar_IsARowBelowAHeadingOrAlone) {
  const std::string model = folder_.path("scalar.mod");
  writeFile(model,
            "var need_var, = 4; var x >= 0; minimize cost: 2 * x; s.t. c: x - need_var >= 0;");
  const struct {
    const char* csv;
    int exitCode;
    const char* output;
  } cases[] = {
      {"5\n", 0, "objective   10\n"},
      {"value\n6\n", 0, "objective   12\n"},
      {"5o\n", 1, "need.csv: row 1: \"5o\" is no number"},
  };
  for (const auto& c : cases) {
    const Outcome outcome = zdb({"solve", model, "--set", "need=" + file("need.csv", c.csv)});
    EXPECT_EQ(outcome.exitCode, c.exitCode) << c.csv << outcome.err;
    EXPECT_THAT(outcome.out + outcome.err, HasSubstr(c.output)) << c.csv;
  }
}

TEST_F(ZdbSolve, WhatIsWrong_IsSaid) {
  const std::string bad = file("bad.csv", "energy,20\ncalcium,much\n");
  const std::string badFirst = file("first.csv", "energy,2o\n");
  const std::string noValue = file("undefined.csv", "energy,Undef\n");
  const std::string tooMany = file("wide.csv", "energy,day,20\n");
  const std::string broken = file("broken.mod", "var x;\nminimize y: x +;\n");
  const std::string impossible = file("need.csv", "energy,1000\n");
  const std::string empty = folder_.path("empty.zxf");
  ASSERT_EQ(zdb({"solve", model_, "-o", empty}).exitCode, 0);
  const struct {
    std::vector<std::string> arguments;
    std::string error;
  } cases[] = {
      {{"solve", folder_.path("none.mod")}, "none.mod"},
      {{"solve", broken}, "broken.mod:2: "},
      {{"solve", model_, "--solver", "best"}, "Invalid solver name: best"},
      {{"solve", model_, "--set", "need=" + bad}, "bad.csv: row 2: \"much\" is no number"},
      {{"solve", model_, "--set", "need=" + badFirst}, "first.csv: row 1: \"2o\" is no number"},
      {{"solve", model_, "--set", "need=" + noValue}, "need: Bad value"},
      {{"solve", model_, "--set", "need=" + tooMany}, "wide.csv: row 1: need has 1 labels, not 2"},
      {{"solve", model_, "--set", "need=" + folder_.path("none.csv")}, "cannot read"},
      {{"solve", model_, "--set", "prices=" + bad}, "no updatable parameter prices"},
      {{"solve", model_, "--set", "need"}, "--set wants SYMBOL=FILE.csv"},
      {{"solve", model_, "--data", empty}, "has no parameter that the model can change"},
      {{"solve", model_, "--set", "need=" + impossible}, "no optimal solution: Infeasible"},
  };
  for (const auto& c : cases) {
    const Outcome outcome = zdb(c.arguments);
    EXPECT_EQ(outcome.exitCode, 1) << c.error;
    EXPECT_THAT(outcome.err, HasSubstr(c.error));
  }
}

TEST_F(ZdbSolve, Sweep_IsATableOfScenarios) {
  const std::string scenarios =
      file("scenarios.csv",
           "name,need[energy],need('calcium')\nbase,,\nhungry,20,\nweak,,0\nall,1e3,\n");
  const Outcome outcome =
      zdb({"sweep", model_, "--scenarios", scenarios, "--show", "buy[milk]", "--show", "cost"});
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  EXPECT_EQ(outcome.err, "");
  EXPECT_THAT(outcome.out, HasSubstr("scenario,status,objective,iterations,buy[milk],cost\n"));
  EXPECT_THAT(outcome.out, ::testing::ContainsRegex("base,Optimal,22,[0-9]+,2,22\n"));
  EXPECT_THAT(outcome.out, ::testing::ContainsRegex("hungry,Optimal,42,[0-9]+,2,42\n"));
  EXPECT_THAT(outcome.out, ::testing::ContainsRegex("weak,Optimal,20,[0-9]+,0,20\n"));
  EXPECT_THAT(outcome.out, ::testing::ContainsRegex("all,Infeasible,,[0-9]+,,\n"));
}

TEST_F(ZdbSolve, SweepOfAFaultyTable_SaysWhatIsWrong) {
  const struct {
    const char* csv;
    const char* error;
  } cases[] = {
      {"name,need[energy]\n", "has no scenario"},
      {"name,need[energy],need[energy]\na,1,2\n", "need[energy] comes twice"},
      {"name,need[energy\na,1\n", "names no entry: write symbol[label,label]"},
      {"name,need[,]\na,1\n", "names no entry"},
      {"name,cost\na,1\n", "no updatable parameter cost"},
      {"name,need[energy]\na,1,2\n", "row 2: 3 fields, not 2"},
      {"name,need[energy]\na,few\n", "row 2: \"few\" is no number"},
      {"name,need[energy]\na,1\nb,NA\n", "row 3: need: Bad value"},
      {"name,need[energy]\na,1\nb,+Inf\n", "row 3: callsolver failed: A parameter"},
      {"name,need[iron]\na,1\n", "row 2: a value of need is for labels that the model has not"},
      {"name,need\na,1\n", "need has 1 labels, not 0"},
      {"name,\"need\na,1\n", "scenarios.csv:"},
  };
  for (const auto& c : cases) {
    const Outcome outcome = zdb({"sweep", model_, "--scenarios", file("scenarios.csv", c.csv)});
    EXPECT_EQ(outcome.exitCode, 1) << c.csv;
    EXPECT_THAT(outcome.err, HasSubstr(c.error)) << c.csv;
  }
}

}  // namespace
}  // namespace tools_test
