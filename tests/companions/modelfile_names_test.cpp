// From names in files to symbols with labels.
#include <sstream>

#include "modelfile_testing.h"

namespace {

using namespace modelfiletest;

const std::string k63(63, 'n');
const std::string kTwenty = "1,2,3,4,5,6,7,8,9,10,11,12,13,14,15,16,17,18,19,20";

struct Case {
  std::string file;
  std::string expected;  // the names of the instance, or after "? " a part of the message
};

void check(const FileModel& model, const Case& c) {
  const std::string names = Instance(model).names();
  if (c.expected.starts_with("? ")) {
    EXPECT_TRUE(names.starts_with("? ")) << c.file << " was taken: " << names;
    EXPECT_NE(names.find(c.expected.substr(2)), std::string::npos) << names;
  } else {
    EXPECT_EQ(names, c.expected) << c.file;
  }
}

TEST(ModelFileNames, Name_IsTakenApartOrShown) {
  const char* const symbol = "? a symbol is a letter";
  const char* const empty = "? the label \"\" is empty";
  const Case kCases[] = {
      {"total", "total |"},
      {"ship[seattle,chicago]", "ship(seattle,chicago) |"},
      {"ship(seattle, chicago )", "ship(seattle,chicago) |"},
      {"ship['New York',\"O'Hare\"]", "ship(New York,O'Hare) |"},
      {"x['O''Hare','say \"no\"']", "x(O'Hare,say \"no\") |"},
      {"x['a ',-1.5]", "x(a,-1.5) |"},
      {"MIN.BF", "MIN_BF |"},
      {"B/A-1(x)", "B_A_1(x) |"},
      {"a+b:c&d$e%f#g@h!i~j|k?l;m=n<o>p*q^r`s t", "a_b_c_d_e_f_g_h_i_j_k_l_m_n_o_p_q_r_s_t |"},
      {k63, k63 + " |"},
      {"x[" + k63 + "]", "x(" + k63 + ") |"},
      {"x[" + kTwenty + "]", "x(" + kTwenty + ") |"},
      {"", "? a row or column without a name"},
      {"1A", symbol},
      {"_a", symbol},
      {".a", symbol},
      {"[a]", symbol},
      {"x{a}", symbol},
      {"x]", symbol},
      {"x\xC3\xA4", symbol},
      {k63 + "n", symbol},
      {"x[a", "? it should end in \"]\""},
      {"x[a)", "? it should end in \"]\""},
      {"x(a)b", "? it should end in \")\""},
      {"x[]", empty},
      {"x[a,,b]", empty},
      {"x[a,]", empty},
      {"x['']", empty},
      {"x['a]", "? a quote is not closed"},
      {"x['a'b]", "? a comma is missing"},
      {"x[it's]", "? put the label \"it's\" in quotes"},
      {"x[a(1)]", "? put the label \"a(1)\" in quotes"},
      {"x['a''\"']", "? both kinds of quotes"},
      {"x[a\tb]", "? a control character"},
      {"x[n" + k63 + "]", "? has more than 63 characters"},
      {"x[" + kTwenty + ",21]", "? more than 20 labels"},
  };
  for (const Case& c : kCases) {
    FileModel model;
    model.columns.push_back({c.file, 0.0, 1.0, false});
    check(model, c);
    if (c.expected[0] == '?' && !c.file.empty()) check(model, {c.file, "? \"" + c.file + "\""});
  }
  FileModel model;
  for (const char* name : {"x['a,b', '(c)' ,d e]", "x[1,2,3]"}) {
    model.columns.push_back({name, 0.0, 1.0, false});
  }
  check(model, {"labels with commas", "x(a,b,(c),d e) x(1,2,3) |"});
}

// "x y : c d~ r > z" has columns x, y and rows c, d, r, of which d has two bounds; z is the
// objective, and * stands before the row that is its own. A dot alone is a row without a name.
FileModel modelOf(const std::string& text) {
  FileModel model;
  std::istringstream words(text);
  char part = ' ';
  for (std::string word; words >> word;) {
    if (word == ":" || word == ">") {
      part = word[0];
    } else if (part == ' ') {
      model.columns.push_back({word, 0.0, 1.0, false});
    } else if (part == '>') {
      model.objectiveName = word;
    } else {
      const bool isRange = word.back() == '~';
      if (isRange) word.pop_back();
      if (word[0] == '*') model.objectiveRow = static_cast<int>(model.rows.size()) + 1;
      if (word[0] == '*' || word == ".") word.erase(0, 1);
      model.rows.push_back({word, isRange ? 1.0 : 2.0, 2.0});
    }
  }
  return model;
}

TEST(ModelFileNames, ColumnsRowsSlacksAndObjective_GetSymbolsOfTheirOwn) {
  const Case kCases[] = {
      {"", "|"},
      {"x[1] y x[2] : c", "x(1) y x(2) | c"},
      {"x : c > cost", "x cost | c cost_eqn"},
      {"x : c *cost[1] cost[2] > cost[1]", "x cost(1) | c cost_eqn(1) cost_eqn(2)"},
      {"cost > cost", "cost cost_obj | cost_obj_eqn"},
      {"x : obj > obj", "x obj | obj_eqn obj_obj"},
      {"x > p_var", "x p_var_obj | p_var_obj_eqn"},
      // Rows give way to columns, in any case of the letters, and to each other.
      {"x y_eqn : X y_eqn y", "x y_eqn | X_eqn y_eqn_eqn y"},
      {"x x_eqn x_eqn2 : x", "x x_eqn x_eqn2 | x_eqn3"},
      // One slack symbol for each row symbol with ranges.
      {"x : c[1] c[2]~ c[3]~ d~ > z[9]",
       "x c_range(2) c_range(3) d_range z(9) | c(1) c(2) c(3) d "
       "z_eqn(9)"},
      {"c_range c : c~", "c_range c c_eqn_range | c_eqn"},
      {": . .", "| r1 r2"},
      {"x[1] x[1,2]", "? the names \"x[1]\" and \"x[1,2]\" give the symbol x"},
      {"x x(1)", "? the names \"x\" and \"x(1)\" give the symbol x"},
      {"x X", "? the names \"x\" and \"X\" are different but become the same"},
      {": a.b a-b", "? the names \"a.b\" and \"a-b\" are different"},
      {"x(1) : ok 9", "? name \"9\" cannot become"},
      {"> 9", "? name \"9\" cannot become"},
      {": " + k63.substr(6) + "~", k63.substr(6) + "_range | " + k63.substr(6)},
      {": " + k63.substr(5) + "~", "? would have more than 63 characters"},
      {"x(a) x(A)", "? name \"x(A)\": "},
  };
  for (const Case& c : kCases) check(modelOf(c.file), c);
}

}  // namespace
