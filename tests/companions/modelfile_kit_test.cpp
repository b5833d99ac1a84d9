// Model files as instances, through the host's interface.
#include "modelfile_testing.h"

namespace {

using namespace modelfiletest;

TEST(ModelFileKit, Instance_HasTheFilesRowsAndColumns_ThenSlacksAndObjective) {
  const struct {
    Instance instance;
    const char* names;
    std::array<int, 4> numbers;  // non-zeros, integer columns, the objective's column, direction
  } kCases[] = {
      // Non-zeros: 8 in the rows, the slack, and the objective with its 2 terms.
      {{"mix.mps", sample("fixed")},
       "X(A) X(B) Y P_var CAP_range(A) COST | TOTAL FE_MIN CAP(A) CAP(B) COST_eqn",
       {12, 1, 5, 1}},
      {{"mix.lp", sample("lp")}, "x(a) x(b) y profit | cap r_6 link profit_eqn", {10, 1, 3, -1}},
      // MathProg lists the objective among the rows.
      {{"mix.mod", sample("mathprog")},
       "ship(seattle,New York) ship(seattle,7) ship(O'Hare,New York) ship(O'Hare,7) price_var "
       "demand_range(New York) demand_range(7) cost "
       "| cost_eqn supply(seattle) supply(O'Hare) demand(New York) demand(7)",
       {16, 0, 7, 1}},
      {{"a.mod", "var x >= 0;\ns.t. c: x <= 4;\nend;\n"}, "x | c", {1, 0, -1, 1}},
      {{"a.mod", "param a := 1;\nend;\n"}, "|", {0, 0, -1, 1}},
  };
  for (const auto& [instance, names, numbers] : kCases) {
    EXPECT_EQ(instance.names(), names);
    EXPECT_EQ((std::array{zkitNonZeros(instance), zkitIntegerColumns(instance),
                          zkitObjectiveColumn(instance), zkitDirection(instance)}),
              numbers)
        << names;
  }
}

TEST(ModelFileKit, SmallModels_HaveTheObjectiveThatTheyShould) {
  // x + y <= 10, or between 6 and 10; x <= 4; p = 2
  const std::string rows =
      "NAME A\nROWS\n N C\n L R\nCOLUMNS\n x C 1 R 1\n y C 2 R 1\n p_var C 3\nRHS\n B R 10\n";
  const std::string bounds = "BOUNDS\n FX B p_var 2\n UP B x 4\n";
  const std::string range = "RANGES\n R R 4\n";
  const std::string max = "OBJSENSE MAX\n" + rows;
  const struct {
    const char* name;
    std::string text;
    double expected;
  } kCases[] = {
      {"a.mps", rows + bounds + "ENDATA\n", 6},                          // x = y = 0
      {"a.mps", "OBJSENSE minimize\n" + rows + bounds + "ENDATA\n", 6},  // the same
      {"a.mps", "OBJSENSE\n    MIN\n" + rows + bounds + "ENDATA\n", 6},
      {"a.mps", max + bounds + "ENDATA\n", 26},  // y = 10
      {"a.mps", "OBJSENSE\n\tmaximize\n" + rows + bounds + "ENDATA\n", 26},
      {"a.mps", max + range + bounds + "ENDATA\n", 26},
      {"a.mps", rows + range + bounds + "ENDATA\n", 14},  // x = 4, y = 2
      // 3 x + 2 y + 6 + 10: x = 4, y = 6
      {"a.mps", max + bounds + "QUADOBJ\n p_var x 1\n p_var p_var 5\nENDATA\n", 40},
      {"a.mps", max + bounds + "QMATRIX\n p_var x 1\n x p_var 1\n p_var p_var 5\nENDATA\n", 40},
      {"a.mps", max + bounds + "QSECTION\n x p_var 1\n p_var p_var 5\nENDATA\nQMATRIX\n", 40},
      {"a.mps", max + bounds + "QSECTION C\n p_var x 1 y 0\n p_var p_var 5\nENDATA\n", 40},
      // x + y + p y <= 10: x = 4, y = 2
      {"a.mps", max + bounds + "QSECTION \t R \n p_var y 1\nENDATA\n", 14},
      // x + y + 2 p y <= 10: x = 4, y = 6/5
      {"a.mps", max + bounds + "QCMATRIX R\n p_var y 1\n y p_var 1\nENDATA\n", 12.4},
      // x + y + 2 p y + 2 p p <= 10, 3 x + 2 y + 6: x = 2, y = 0
      {"a.mps",
       max + bounds + "QCMATRIX R\n p_var y 1 p_var 1\n y p_var 1\nQCMATRIX R\n p_var p_var +1\n" +
           "QUADOBJ\n* no\n x p_var 1\nENDATA\n",
       12},
      // p begins, and stays, at the bound that is nearest to 0
      {"a.mod", "var p_var >= 3, <= 5; var x >= 0; minimize z: x; s.t. c: x >= p_var; end;", 3},
      {"a.mod", "var p_var <= -3; var x >= -9; minimize z: x; s.t. c: x >= p_var; end;", -3},
      {"a.mod", "var x <= 3; var y, = 2; maximize z: 2 * x - y + 7; end;", 11},
      {"a.mod", "var x >= -5; minimize z: x + 1; s.t. c: -3 <= x <= 8; end;", -2},
  };
  for (const auto& c : kCases) {
    EXPECT_NEAR(Instance(c.name, c.text).solvedBy("glpk"), c.expected, 1e-9) << c.text;
  }
}

// A small MPS model with columns x, y, p_var and a row R1, and sections of its own before the end.
std::string withSections(const std::string& sections) {
  const std::string file = sample("qmatrix");
  return file.substr(0, file.find("QMATRIX")) + sections + "ENDATA\nQMATRIX\n";
}

struct Case {
  const char* name;
  std::string text;
  const char* expected;
};

TEST(ModelFileKit, Format_IsToldByEndingThenByContent) {
  const Case kCases[] = {
      {"A.MPS", sample("free"), "X(A) X(B) Y P_var "},
      {"a", sample("fixed"), "X(A) X(B) Y P_var "},
      {"a.txt", "OBJSENSE MAX\n" + sample("free"), "X(A) X(B) Y P_var "},
      {"a.mps", sample("free_in_columns"), "X(A) X(B) Y P_var "},
      {"a", sample("lp"), "x(a) x(b) y "},
      {"a", "\\ comment\n\nmin\n x\nst\n c: x > 1\nend\n", "x obj | c "},
      {"a", "minimize\n x\nst\n c: x > 1\nend\n", "x obj | c "},
      {"a", sample("mathprog"), "ship("},
      {"a", "# comment\nvar x; minimize z: x;\n", "x z |"},
      {"a", "maximize z: x;\n", "? a:1: x not defined"},
      {"a", " NAME A\n", "? a:1: colon missing"},
      {"a", "", "? a:0: empty model"},
  };
  for (const Case& c : kCases) expectBegin(Instance(c.name, c.text), c.expected);
}

TEST(ModelFileKit, Messages_NameFileLineAndFault) {
  const std::string mps = "NAME A\nROWS\n N C\n";
  const Case kCases[] = {
      {"a.mod", "var x;\nminimize z: x;\ns.t. c: x >= y;\nend;\n", "? a.mod:3: y not defined"},
      {"a.mod", "param n := 1/0;\nvar x >= n;\nminimize z: x;\nend;\n", "? a.mod:3: 1 / 0; float"},
      {"a.mod", "var x{i in 1..2} >= 0;\ncheck: 1 > 2;\nend;\n", "? a.mod:2: check"},
      {"a.lp", "min\n x\nst\n c: x >=\nend\n", "? a.lp:5: "},
      {"a.lp", "", "? a.lp:0: 'minimize'"},
      {"a.lp.gz", "\x1f\x8b\x08", "? a.lp.gz: is compressed: unpack it first"},
      {"a.lp", "min\n x(a,b) + x(c)\nst\n c: x(c) >= 1\nend\n", "? a.lp: the names \"x(a,b)\" and"},
      // The first message counts, of the format that the columns tell.
      {"a.mps", mps + "COLUMNS\n x D 1\nENDATA\n", "? a.mps:5: row 'D' not found"},
      {"a.mps", "NAME          A\nROWS\n N  C\nCOLUMNS\n    x y       D\n",
       "? a.mps:5: row 'D' not found"},
      {"a.mps", mps + " L 1R\nCOLUMNS\n x C 1 1R 1\nENDATA\n", "? a.mps: name \"1R\" cannot"},
      {"a.mps", "OBJSENSE\n least\n" + mps,
       "? a.mps:2: OBJSENSE must be MAX or MIN, not \"least\""},
      {"a.mps", withSections("QUADOBJ\n x y 1\n"), "? a.mps: "},  // neither is a parameter
      {"a.mps", withSections("QUADOBJ\n x z 1\n"), "? a.mps:14: no column \"z\""},
      {"a.mps", withSections("QUADOBJ\n x 1\n"), "? a.mps:14: two column names and a number"},
      {"a.mps", withSections("QUADOBJ\n x y 1 y 1k\n"), "? a.mps:14: two column names and a"},
      {"a.mps", withSections("QUADOBJ\n x y 1\n y x 1\n"), "? a.mps:15: a second entry for \"y\""},
      {"a.mps", withSections("QMATRIX\n x y 1\n x y 1\n"), "? a.mps:15: a second entry for \"x\""},
      {"a.mps", withSections("QMATRIX\n x y 1\n y x 2\n"), "? a.mps:14: the entries of \"x\" and"},
      {"a.mps", withSections("QCMATRIX R1\n x y 1\n"), "? a.mps:14: the entries of \"x\" and"},
      {"a.mps", withSections("QCMATRIX R2\n x x 1\n"), "? a.mps:13: no row \"R2\""},
      {"a.mps", withSections("QCMATRIX\n x x 1\n"), "? a.mps:13: QCMATRIX needs the name"},
  };
  for (const Case& c : kCases) expectBegin(Instance(c.name, c.text), c.expected);
}

TEST(ModelFileKit, DataFile_TakesThePlaceOfTheDataSection) {
  const TemporaryFolder folder;
  const std::string model = folder.write("m.mod", sample("mathprog"));
  const std::string data = folder.write("m.dat", "set I := 1 2 3;\nend;\n");
  EXPECT_EQ(readModelFile(model.c_str(), nullptr).rows.size(), 5);
  const FileModel other = readModelFile(model.c_str(), data.c_str());
  EXPECT_EQ(other.name, "m");
  EXPECT_EQ(other.rows.size(), 6);
  EXPECT_EQ(other.columns[0].name, "ship[1,'New York']");
}

TEST(ModelFileKit, PathsThatAreNoModelFile_AreNamed) {
  const TemporaryFolder folder;
  const std::string mps = folder.write("a.mps", sample("fixed"));
  const std::string mod = folder.write("a.mod", sample("mathprog"));
  const std::string missing = ": No such file or directory";
  const struct {
    const char* path;
    const char* data;
    std::string expected;
  } kCases[] = {
      {nullptr, nullptr, "no model file given"},
      {"/nowhere/a.mps", nullptr, "/nowhere/a.mps" + missing},
      {"/dev/zero", nullptr, "/dev/zero: is not a regular file"},
      {"/", nullptr, "/: is not a regular file"},
      {mod.c_str(), "/nowhere/b.dat", "/nowhere/b.dat" + missing},
      {mps.c_str(), "b.dat",
       "b.dat: only a MathProg model can have a data file, and " + mps + " is not one"},
  };
  std::array<char, 1000> message{};
  void* instance = nullptr;
  for (const auto& c : kCases) {
    instance = &message;
    EXPECT_EQ(zkitReadModel(c.path, c.data, nullptr, &instance, message.data(), 1000), 0);
    EXPECT_EQ(message.data(), c.expected);
    EXPECT_EQ(instance, nullptr);
  }
  // A message fits its place, and may have none.
  EXPECT_EQ(zkitReadModel("/", nullptr, nullptr, nullptr, message.data(), 8), 0);
  EXPECT_STREQ(message.data(), "the out");
  EXPECT_EQ(zkitReadModel("/", nullptr, nullptr, &instance, nullptr, 8), 0);
  EXPECT_EQ(zkitReadModel("/", nullptr, nullptr, &instance, message.data(), 0), 0);
  EXPECT_STREQ(message.data(), "the out");
}

}  // namespace
