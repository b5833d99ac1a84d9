#include "program.h"

namespace tools_test {
namespace {

// Bread at 2 and milk at 3, which have to give needed amounts of energy and, milk alone, calcium.
constexpr const char* kDiet = R"(set NUTRIENT;
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

// A command after `zdb`, run where a.csv has the content.
struct Row {
  const char* csv;
  std::string command;
  int exitCode;
  const char* text;
};

class ZdbSolve : public Programs {
 protected:
  ZdbSolve() {
    folder_.write("diet.mod", kDiet);
    folder_.write("one.mod", "var need_var, = 4; var x; minimize z: 2 * x; s.t. c: x >= need_var;");
    folder_.write("whole.mod", "var x{1..1} integer; minimize z: x[1]; s.t. c: 2 * x[1] >= 3;");
    folder_.write("constant.mod", "minimize z: 3;");
    folder_.write("two.dat", "set NUTRIENT := calcium energy;\n");
    folder_.write("broken.mod", "var x;\nminimize y: x +;\n");
  }
  void check(const std::vector<Row>& rows) const {
    for (const Row& row : rows) {
      SCOPED_TRACE(row.csv);
      folder_.write("a.csv", row.csv);
      expect("zdb " + row.command, row.exitCode, row.text);
    }
  }
};

TEST_F(ZdbSolve, Solution_IsPrintedAndWritten) {
  check({
      {"", "solve diet.mod -o out.zxf", 0,
       "model       3 rows, 5 columns, 8 non-zeros\nstatus      Optimal\n"
       "solve       Normal completion\nobjective   22\niterations  1\n"},
      {"", "dump out.zxf buy", 0,
       "label,level,marginal,lower,upper,scale\nmilk,2,0,0,100,1\nbread,8,0,0,100,1\n"},
      {"", "dump out.zxf calcium", 0, "level,marginal,lower,upper,scale\n0,0.5,0,+Inf,1\n"},
      {"", "solve diet.mod --model-data two.dat", 0, "objective   22\n"},
      {"", "solve diet.mod --solver clp", 0, "objective   22\n"},
      {"", "solve diet.mod --solver cbc", 0, "objective   22\n"},
      {"", "solve diet.mod --solver glpk", 0, "objective   22\n"},
      {"", "solve whole.mod -o 1.zxf", 0, "1 integer columns\nstatus      Integer solution\n"},
      {"", "info 1.zxf", 0, "1.zxf: 1 label, 4 symbols\n"},
      {"", "solve constant.mod", 0, "solve       Normal completion\nobjective   3\n"},
      {"", "solve none.mod", 1, "none.mod"},
      {"", "solve broken.mod", 1, "broken.mod:2: "},
      {"", "solve diet.mod --solver best", 1, "Invalid solver name: best"},
      {"", "solve diet.mod --set need=none.csv", 1, "cannot read none.csv: No such file"},
      {"", "solve diet.mod --set need", 1, "--set needs SYMBOL=FILE.csv, not need"},
      {"", "solve one.mod --data out.zxf", 1,
       "out.zxf has no parameter that is updatable in the model"},
      {"", "solve one.mod --data " GOLDEN "/sample.zxf", 1, "sample.zxf has no parameter that is"},
      {"", "solve diet.mod -o /nowhere/out.zxf", 1, "/nowhere/out.zxf"},
  });
}

TEST_F(ZdbSolve, ChangedData_ComeFromCsvOrADataFile) {
  const std::string csv = "solve diet.mod --set need=a.csv -o out.zxf";
  const std::string file = "solve diet.mod --data out.zxf";  // has the changed parameter, too
  check({
      {"energy,20\n", csv, 0, "objective   42\n"},
      {"", file, 0, "objective   42\n"},
      {"nutrient,value\nenergy,20\ncalcium,8\n", csv, 0, "objective   44\n"},
      {"", file, 0, "objective   44\n"},
      {"nutrient,unit,value\nenergy,20\n", csv, 0, "objective   42\n"},
      {"calcium,0\n\nenergy,1\n", csv, 0, "objective   2\n"},
      {"energy,20\niron,3\n", csv, 0, "zdb: a.csv: 1 record is not in the model\n"},
      {"salt,0\niron,3\n", csv, 0, "objective   22\n"},
      {"", file, 0, "zdb: out.zxf: need: 2 records are not in the model\n"},
      {"energy,20\ncalcium,much\n", csv, 1, "a.csv: row 2: \"much\" is not a number"},
      {"energy,2o\n", csv, 1, "a.csv: row 1: \"2o\" is not a number"},
      {"energy,Undef\n", csv, 1, "need: Bad value"},
      {"energy,day,20\n", csv, 1, "a.csv: row 1: labels given for need: 2, needed: 1"},
      {"energy,20\n", "solve diet.mod --set prices=a.csv", 1, "no updatable parameter prices"},
      {"energy,1000\n", csv, 1, "no optimal solution: Infeasible"},
      {"energy,20\n\"calcium", csv, 1, "a.csv:2: "},
      // A scalar's row stands alone or below a heading.
      {"5\n", "solve one.mod --set need=a.csv", 0, "objective   10\n"},
      {"value\n6\n", "solve one.mod --set need=a.csv", 0, "objective   12\n"},
      {"5o\n", "solve one.mod --set need=a.csv", 1, "a.csv: row 1: \"5o\" is not a number"},
  });
}

TEST_F(ZdbSolve, Sweep_IsATableOfScenariosOrSaysWhatIsWrong) {
  const std::string sweep = "sweep diet.mod --scenarios a.csv";
  const char* good = "name,need[energy],need( 'calcium' )\nbase,,\nmore,20,\nweak,,0\nall,1e3,\n";
  check({
      {good, sweep + " --show 'buy[milk]' --show cost | cut -d, -f1-3,5-", 0,
       "scenario,status,objective,buy[milk],cost\nbase,Optimal,22,2,22\nmore,Optimal,42,2,42\n"
       "weak,Optimal,20,0,20\nall,Infeasible,,,\n"},
      {good, sweep + " --model-data two.dat", 0, "iterations\nbase,Optimal,22,1\n"},
      {good, sweep + " --show buy", 1, "labels given for buy: 0, needed: 1"},
      {good, sweep + " --show 'buy[tea]'", 1, "tea"},
      {"name,need[energy]\n", sweep, 1, "has no scenario"},
      {"name,need[energy],need[energy]\na,1,2\n", sweep, 1, "need[energy] occurs twice"},
      {"name,need[energy\na,1\n", sweep, 1, "is not an entry: write symbol[label,label]"},
      {"name,need[,]\na,1\n", sweep, 1, "is not an entry"},
      {"name,need['energy' or]\na,1\n", sweep, 1, "is not an entry"},
      {"name,need['energy'x]\na,1\n", sweep, 1, "is not an entry"},
      {"name,need['energy]\na,1\n", sweep, 1, "is not an entry"},
      {"name,need['it''s']\na,1\n", sweep, 1, "labels that are not in the model"},
      {"name,cost\na,1\n", sweep, 1, "no updatable parameter cost"},
      {"name,need[energy]\na,1,2\n", sweep, 1, "a.csv: row 2: 3 fields, but the heading has 2"},
      {"name,need[energy]\na,few\n", sweep, 1, "a.csv: row 2: \"few\" is not a number"},
      {"name,need[energy]\na,1\nb,NA\n", sweep, 1, "row 3: need: Bad value"},
      {"name,need[energy]\na,1\nb,+Inf\n", sweep, 1, "row 3: callsolver failed: A parameter"},
      {"name,need[iron]\na,1\n", sweep, 1, "row 2: need has a value for labels that are not in"},
      {"name,need\na,1\n", sweep, 1, "labels given for need: 0, needed: 1"},
      {"name,\"need\na,1\n", sweep, 1, "a.csv:"},
  });
}

}  // namespace
}  // namespace tools_test
