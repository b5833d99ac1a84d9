// From names in files to symbols with labels.
#include "kit/modelfile_names.h"

#include <gtest/gtest.h>

#include "kit/modelfile_plan.h"
#include "modelfile_testing.h"

namespace {

using namespace modelfiletest;
using Strings = std::vector<std::string>;

TEST(ModelFileNames, Parse) {
  const std::string k63(63, 'n');
  std::string twenty = "x[1";
  for (int i = 2; i <= 20; ++i) twenty += "," + std::to_string(i);
  const struct {
    std::string name;
    std::string symbol;
    Strings labels;
  } kCases[] = {
      {"total", "total", {}},
      {"ship[seattle,chicago]", "ship", {"seattle", "chicago"}},
      {"ship(seattle, chicago )", "ship", {"seattle", "chicago"}},
      {"ship['New York',\"O'Hare\"]", "ship", {"New York", "O'Hare"}},
      {"x['O''Hare','say \"no\"']", "x", {"O'Hare", "say \"no\""}},
      {"x['a,b', '(c)' ,d e]", "x", {"a,b", "(c)", "d e"}},
      {"x['a ',-1.5]", "x", {"a", "-1.5"}},
      {"MIN.BF", "MIN_BF", {}},
      {"B/A-1(x)", "B_A_1", {"x"}},
      {"r.12", "r_12", {}},
      {k63, k63, {}},
      {"x[" + k63 + "]", "x", {k63}},
  };
  for (const auto& c : kCases) {
    const SymbolicName name = parseName(c.name);
    EXPECT_EQ(name.symbol, c.symbol);
    EXPECT_EQ(name.labels, c.labels) << c.name;
  }
  EXPECT_EQ(parseName(twenty + "]").labels.size(), 20);
}

TEST(ModelFileNames, Parse_ComplaintsShowTheName) {
  const std::string k64(64, 'n');
  std::string tooMany = "x[0";
  for (int i = 1; i <= 20; ++i) tooMany += ",1";
  const struct {
    std::string name;
    const char* why;
  } kCases[] = {
      {"1A", "a symbol is a letter"},
      {"_a", "a symbol is a letter"},
      {".a", "a symbol is a letter"},
      {"[a]", "a symbol is a letter"},
      {"x{a}", "a symbol is a letter"},
      {"x]", "a symbol is a letter"},
      {"x\xC3\xA4", "a symbol is a letter"},
      {"x[a", "it should end in \"]\""},
      {"x[a)", "it should end in \"]\""},
      {"x(a)b", "it should end in \")\""},
      {"x[]", "the label \"\" is empty"},
      {"x[a,,b]", "the label \"\" is empty"},
      {"x[a,]", "the label \"\" is empty"},
      {"x['']", "the label \"\" is empty"},
      {"x['a]", "a quote is not closed"},
      {"x['a'b]", "a comma is missing"},
      {"x[it's]", "put the label \"it's\" in quotes"},
      {"x[a(1)]", "put the label \"a(1)\" in quotes"},
      {"x['a''\"']", "both kinds of quotes"},
      {"x[a\tb]", "a control character"},
      {"x[" + k64 + "]", "has more than 63 characters"},
      {k64, "a symbol is a letter"},
      {tooMany + "]", "more than 20 labels"},
  };
  for (const auto& c : kCases) {
    try {
      parseName(c.name);
      ADD_FAILURE() << c.name << " was taken";
    } catch (const Complaint& complaint) {
      const std::string text = complaint.what();
      EXPECT_NE(text.find(c.why), std::string::npos) << text;
      EXPECT_NE(text.find("\"" + c.name + "\""), std::string::npos) << text;
    }
  }
  EXPECT_THROW(parseName(""), Complaint);
}

FileModel modelOf(const Strings& columns, const std::vector<FileRow>& rows,
                  const std::string& objective = "", int objectiveRow = 0) {
  FileModel model;
  for (const auto& name : columns) model.columns.push_back({name, 0.0, 1.0, false});
  model.rows = rows;
  model.objectiveName = objective;
  model.objectiveRow = objectiveRow;
  return model;
}

Strings namesOf(const PlannedSymbols& symbols) {
  Strings names;
  for (const auto& symbol : symbols.all()) {
    names.push_back(symbol.name + "/" + std::to_string(symbol.dim));
  }
  return names;
}

FileRow row(const std::string& name) {
  return {name, 0.0, 0.0};
}

FileRow range(const std::string& name) {
  return {name, 1.0, 2.0};
}

TEST(ModelFileNames, Plan_SymbolsOfRowsAndColumns) {
  const struct {
    FileModel file;
    Strings columns;
    Strings rows;
  } kCases[] = {
      {modelOf({}, {}), {}, {}},
      {modelOf({"x[1]", "y", "x[2]"}, {row("c")}), {"x/1", "y/0"}, {"c/0"}},
      // The objective makes a column and an equation.
      {modelOf({"x"}, {row("c")}, "cost"), {"x/0", "cost/0"}, {"c/0", "cost_eqn/0"}},
      {modelOf({"x"}, {row("c"), row("cost[1]"), row("cost[2]")}, "cost[1]", 2),
       {"x/0", "cost/1"},
       {"c/0", "cost_eqn/1"}},
      {modelOf({"cost"}, {}, "cost"), {"cost/0", "cost_obj/0"}, {"cost_obj_eqn/0"}},
      {modelOf({"x"}, {row("obj")}, "obj"), {"x/0", "obj/0"}, {"obj_eqn/0", "obj_obj/0"}},
      {modelOf({"x"}, {}, "p_var"), {"x/0", "p_var_obj/0"}, {"p_var_obj_eqn/0"}},
      // Rows give way to columns, in any case of the letters, and to each other.
      {modelOf({"x", "y_eqn"}, {row("X"), row("y_eqn"), row("y")}),
       {"x/0", "y_eqn/0"},
       {"X_eqn/0", "y_eqn_eqn/0", "y/0"}},
      {modelOf({"x", "x_eqn"}, {row("x")}), {"x/0", "x_eqn/0"}, {"x_eqn2/0"}},
      // One slack symbol for each row symbol with ranges.
      {modelOf({"x"}, {range("c[1]"), row("c[2]"), range("c[3]"), range("d")}),
       {"x/0", "c_range/1", "d_range/0"},
       {"c/1", "d/0"}},
      {modelOf({"c_range", "c"}, {range("c")}), {"c_range/0", "c/0", "c_eqn_range/0"}, {"c_eqn/0"}},
      {modelOf({}, {{"", 0.0, 0.0}, {"", 0.0, 0.0}}), {}, {"r1/0", "r2/0"}},
  };
  for (const auto& c : kCases) {
    const ModelPlan plan = planModel(c.file);
    EXPECT_EQ(namesOf(plan.columnSymbols), c.columns);
    EXPECT_EQ(namesOf(plan.rowSymbols), c.rows);
    EXPECT_EQ(plan.objectiveColumn > 0, !c.file.objectiveName.empty());
    EXPECT_EQ(plan.objectiveRow > 0, !c.file.objectiveName.empty());
  }
}

TEST(ModelFileNames, Plan_PlacesSlacksAndObjectiveAfterTheFilesColumns) {
  const ModelPlan plan =
      planModel(modelOf({"x[a]", "x[b]"}, {row("c[1]"), range("c[2]"), range("d")}, "z[9]"));
  ASSERT_EQ(plan.columns.size(), 5);
  EXPECT_EQ(plan.columns[1].labels, Strings{"b"});
  EXPECT_EQ(plan.rangeRows, (std::vector<int>{2, 3}));
  EXPECT_EQ(plan.columns[2].labels, Strings{"2"});
  EXPECT_EQ(plan.columnSymbols.all()[plan.columns[2].symbol].name, "c_range");
  EXPECT_EQ(plan.objectiveColumn, 5);
  EXPECT_EQ(plan.columns[4].labels, Strings{"9"});
  EXPECT_EQ(plan.objectiveRow, 4);
  EXPECT_EQ(plan.rows[3].labels, Strings{"9"});
}

TEST(ModelFileNames, Plan_ComplaintsShowBothNames) {
  const struct {
    FileModel file;
    const char* expected;
  } kCases[] = {
      {modelOf({"x[1]", "x[1,2]"}, {}), "the names \"x[1]\" and \"x[1,2]\" give the symbol x"},
      {modelOf({"x", "x(1)"}, {}), "the names \"x\" and \"x(1)\" give the symbol x"},
      {modelOf({"x", "X"}, {}), "the names \"x\" and \"X\" are different but become the same"},
      {modelOf({}, {row("a.b"), row("a-b")}), "the names \"a.b\" and \"a-b\" are different"},
      {modelOf({"x(1)"}, {row("ok"), row("9")}), "name \"9\" cannot become"},
      {modelOf({}, {}, "9"), "name \"9\" cannot become"},
      {modelOf({}, {range(std::string(60, 'c'))}), "would have more than 63 characters"},
  };
  for (const auto& c : kCases) {
    try {
      planModel(c.file);
      ADD_FAILURE() << c.expected;
    } catch (const Complaint& complaint) {
      EXPECT_NE(std::string(complaint.what()).find(c.expected), std::string::npos)
          << complaint.what();
    }
  }
}

}  // namespace
