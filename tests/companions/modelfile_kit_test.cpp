// Model files as instances, through the host's interface.
#include <glpk.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "kit/api.h"
#include "modelfile_testing.h"
#include "zkitdclib.h"

namespace {

using namespace modelfiletest;
using Strings = std::vector<std::string>;

// An instance of a text, freed with the object.
class Instance {
 public:
  explicit Instance(const std::string& path) { read(path); }
  Instance(const std::string& name, const std::string& content) {
    const Folder folder;
    read(folder.write(name, content));
    const std::size_t at = message_.find(name);
    if (at != std::string::npos) message_.erase(0, at);
  }
  ~Instance() { zkitFreeInstance(&handle_); }
  Instance(const Instance&) = delete;
  Instance& operator=(const Instance&) = delete;

  operator void*() const { return handle_; }
  int done() const { return done_; }
  const std::string& message() const { return message_; }

  Strings columnNames() const { return names(zkitColumns(handle_), zkitColumnName); }
  Strings rowNames() const { return names(zkitRows(handle_), zkitRowName); }

 private:
  void read(const std::string& path) {
    std::array<char, 1000> message{};
    done_ = zkitReadModel(path.c_str(), nullptr, ZKIT_DIRECTORY, &handle_, message.data(),
                          static_cast<int>(message.size()));
    message_ = message.data();
  }

  Strings names(int count, int (*nameOf)(void*, int, char*, int)) const {
    Strings result;
    std::array<char, ZKIT_TEXT_SIZE> text{};
    for (int i = 0; i < count; ++i) {
      EXPECT_EQ(nameOf(handle_, i, text.data(), static_cast<int>(text.size())), 1);
      result.emplace_back(text.data());
    }
    return result;
  }

  void* handle_ = nullptr;
  int done_ = 0;
  std::string message_;
};

TEST(ModelFileKit, Instance_HasTheFilesRowsAndColumns_ThenSlacksAndObjective) {
  const Instance mps("mix.mps", kFixedMps);
  ASSERT_EQ(mps.done(), 1) << mps.message();
  EXPECT_EQ(mps.message(), "");
  EXPECT_EQ(mps.columnNames(), (Strings{"X(A)", "X(B)", "Y", "P_var", "CAP_range(A)", "COST"}));
  EXPECT_EQ(mps.rowNames(), (Strings{"TOTAL", "FE_MIN", "CAP(A)", "CAP(B)", "COST_eqn"}));
  // 8 in the rows, the slack, the objective with its 2 terms
  EXPECT_EQ(zkitNonZeros(mps), 12);
  EXPECT_EQ(zkitIntegerColumns(mps), 1);
  EXPECT_EQ(zkitObjectiveColumn(mps), 5);
  EXPECT_EQ(zkitDirection(mps), 1);

  const Instance lp("mix.lp", kLp);
  ASSERT_EQ(lp.done(), 1) << lp.message();
  EXPECT_EQ(lp.columnNames(), (Strings{"x(a)", "x(b)", "y", "profit"}));
  EXPECT_EQ(lp.rowNames(), (Strings{"cap", "r_6", "link", "profit_eqn"}));
  EXPECT_EQ(zkitDirection(lp), -1);

  // MathProg lists the objective among the rows.
  const Instance mod("mix.mod", kMathProg);
  ASSERT_EQ(mod.done(), 1) << mod.message();
  EXPECT_EQ(mod.columnNames(), (Strings{"ship(seattle,New York)", "ship(seattle,7)",
                                        "ship(O'Hare,New York)", "ship(O'Hare,7)", "price_var",
                                        "demand_range(New York)", "demand_range(7)", "cost"}));
  EXPECT_EQ(mod.rowNames(), (Strings{"cost_eqn", "supply(seattle)", "supply(O'Hare)",
                                     "demand(New York)", "demand(7)"}));
  EXPECT_EQ(zkitObjectiveColumn(mod), 7);
}

// What GLPK itself makes of a file: the objective, or NaN if there is no optimum.
double solveWithGlpk(glp_prob* problem) {
  glp_term_out(GLP_OFF);
  if (glp_simplex(problem, nullptr) != 0 || glp_get_status(problem) != GLP_OPT) return NAN;
  if (glp_get_num_int(problem) == 0) return glp_get_obj_val(problem);
  if (glp_intopt(problem, nullptr) != 0 || glp_mip_status(problem) != GLP_OPT) return NAN;
  return glp_mip_obj_val(problem);
}

void readMathProg(const std::string& path, glp_prob* problem) {
  glp_term_out(GLP_OFF);
  glp_tran* translator = glp_mpl_alloc_wksp();
  glp_mpl_read_model(translator, path.c_str(), 0);
  glp_mpl_generate(translator, nullptr);
  glp_mpl_build_prob(translator, problem);
  glp_mpl_free_wksp(translator);
}

double peerObjective(const std::string& path) {
  glp_term_out(GLP_OFF);
  glp_prob* problem = glp_create_prob();
  if (path.ends_with(".mps")) {
    glp_read_mps(problem, GLP_MPS_DECK, nullptr, path.c_str());
  } else if (path.ends_with(".lp")) {
    glp_read_lp(problem, nullptr, path.c_str());
  } else {
    readMathProg(path, problem);
  }
  const double objective = solveWithGlpk(problem);
  glp_delete_prob(problem);
  return objective;
}

TEST(ModelFileKit, ModelsThatComeWithGlpk_HaveGlpksObjective) {
  const std::string folder = "/usr/share/doc/glpk-utils/examples/";
  if (!std::filesystem::is_directory(folder)) GTEST_SKIP() << "GLPK's examples are not installed";
  for (const char* name :
       {"alloy.mps", "furnace.mps", "icecream.mps", "plan.mps", "samp1.mps", "plan.lp",
        "wolfra6d.lp", "assign.mod", "cf12a.mod", "diet.mod", "dist.mod", "egypt.mod", "food.mod",
        "plan.mod", "prod.mod", "spp.mod", "stigler.mod", "todd.mod", "transp.mod"}) {
    SCOPED_TRACE(name);
    const double expected = peerObjective(folder + name);
    ASSERT_TRUE(std::isfinite(expected));
    const Instance instance(folder + name);
    ASSERT_EQ(instance.done(), 1) << instance.message();
    for (const char* solver : {"clp", "cbc", "glpk"}) {
      if (zkitIntegerColumns(instance) > 0 && std::string(solver) == "clp") continue;
      std::array<char, ZKIT_TEXT_SIZE> message{};
      ASSERT_EQ(zkitSolve(instance, solver, message.data(), ZKIT_TEXT_SIZE), 1) << message.data();
      EXPECT_NEAR(zkitObjective(instance), expected, 1e-7 * (1 + std::abs(expected))) << solver;
    }
  }
}

// One solve of a small model that is easily checked by hand.
double objectiveOf(const std::string& name, const std::string& text) {
  const Instance instance(name, text);
  EXPECT_EQ(instance.done(), 1) << instance.message();
  std::array<char, ZKIT_TEXT_SIZE> message{};
  EXPECT_EQ(zkitSolve(instance, "glpk", message.data(), ZKIT_TEXT_SIZE), 1) << message.data();
  return zkitObjective(instance);
}

TEST(ModelFileKit, SmallModels_HaveTheObjectiveThatTheyShould) {
  // x + y <= 10, or between 6 and 10; x <= 4; p = 2
  const std::string rows =
      "ROWS\n N C\n L R\nCOLUMNS\n x C 1 R 1\n y C 2 R 1\n p_var C 3\nRHS\n B R 10\n";
  const std::string bounds = "BOUNDS\n FX B p_var 2\n UP B x 4\n";
  const std::string range = "RANGES\n R R 4\n";
  const std::string min = "NAME A\n" + rows;
  const std::string max = "OBJSENSE MAX\nNAME A\n" + rows;
  const struct {
    const char* name;
    std::string text;
    double expected;
  } kCases[] = {
      {"a.mps", min + bounds + "ENDATA\n", 6},           // x = y = 0
      {"a.mps", max + bounds + "ENDATA\n", 26},          // y = 10
      {"a.mps", max + range + bounds + "ENDATA\n", 26},  // the same
      {"a.mps", min + range + bounds + "ENDATA\n", 14},  // x = 4, y = 2
      // 3 x + 2 y + 6 + 10: x = 4, y = 6
      {"a.mps", max + bounds + "QUADOBJ\n p_var x 1\n p_var p_var 5\nENDATA\n", 40},
      // x + y + 2 p y <= 10: x = 4, y = 6/5
      {"a.mps", max + bounds + "QCMATRIX R\n p_var y 1\n y p_var 1\nENDATA\n", 12.4},
      {"a.mod", "var x <= 3; var y, = 2; maximize z: 2 * x - y + 7; end;", 11},
      {"a.mod", "var x >= -5; minimize z: x + 1; s.t. c: -3 <= x <= 8; end;", -2},
  };
  for (const auto& c : kCases) EXPECT_NEAR(objectiveOf(c.name, c.text), c.expected, 1e-9) << c.text;
}

// What one unit more of the bound that holds is worth, as GLPK says for its own row with two
// bounds.
TEST(ModelFileKit, RangeRows_KeepTheirMarginals) {
  const std::string text = "y; s.t. low: 6 <= x + y <= 10; s.t. up: 1 <= x <= 4; end;";
  for (const char* objective : {"minimize z: x + 2 * ", "maximize z: x + 2 * "}) {
    const Folder folder;
    const std::string path =
        folder.write("a.mod", "var x >= 0; var y >= 0; " + std::string(objective) + text);
    glp_prob* peer = glp_create_prob();
    readMathProg(path, peer);
    ASSERT_TRUE(std::isfinite(solveWithGlpk(peer)));
    const Instance instance(path);
    for (const char* solver : {"clp", "cbc", "glpk"}) {
      ASSERT_EQ(zkitSolve(instance, solver, nullptr, 0), 1);
      std::array<double, 3> marginals{};
      ASSERT_NE(CzmiGetEquM(instance, marginals.data()), 0);
      for (int row = 1; row < 3; ++row) {
        EXPECT_NEAR(marginals[row], glp_get_row_dual(peer, row + 1), 1e-9) << solver << row;
      }
    }
    glp_delete_prob(peer);
  }
}

TEST(ModelFileKit, ModelWithoutObjective_HasNone) {
  const Instance mod("a.mod", "var x >= 0;\ns.t. c: x <= 4;\nend;\n");
  ASSERT_EQ(mod.done(), 1) << mod.message();
  EXPECT_EQ(mod.columnNames(), Strings{"x"});
  EXPECT_EQ(zkitObjectiveColumn(mod), -1);
  const Instance empty("a.mod", "param a := 1;\nend;\n");
  ASSERT_EQ(empty.done(), 1) << empty.message();
  EXPECT_EQ(zkitColumns(empty) + zkitRows(empty), 0);
}

TEST(ModelFileKit, Messages_NameTheFileAndTheName) {
  const struct {
    const char* name;
    std::string text;
    Strings parts;
  } kCases[] = {
      {"a.mps",
       "NAME A\nROWS\n N C\n L 1R\nCOLUMNS\n x C 1 1R 1\nENDATA\n",
       {"a.mps: name \"1R\" cannot become a symbol"}},
      {"a.mps",
       "NAME A\nROWS\n N C\n L R\nCOLUMNS\n x C 1 R 1\n y C 1\nQUADOBJ\n x y 1\nENDATA\n",
       {"a.mps: ", "x", "y"}},
      {"a.mps",
       "NAME A\nROWS\n N C\nCOLUMNS\n x(a) C 1\n x(A) C 1\nENDATA\n",
       {"a.mps: name \"x(A)\""}},
      {"a.lp",
       "min\n 2 x(a,b) + x(c)\nst\n c: x(c) >= 1\nend\n",
       {"a.lp: the names \"x(a,b)\" and \"x(c)\""}},
      {"a.mod", "var x;\nminimize z: x\nend;\n", {"a.mod:3: "}},
  };
  for (const auto& c : kCases) {
    const Instance instance(c.name, c.text);
    EXPECT_EQ(instance.done(), 0) << c.text;
    EXPECT_EQ(static_cast<void*>(instance), nullptr);
    for (const std::string& part : c.parts) {
      EXPECT_NE(instance.message().find(part), std::string::npos) << instance.message();
    }
  }
}

TEST(ModelFileKit, Arguments_ThatAreMissing_GiveAMessageIfThereIsAPlace) {
  void* instance = nullptr;
  std::array<char, 8> message{};
  EXPECT_EQ(zkitReadModel(nullptr, nullptr, nullptr, &instance, message.data(), 8), 0);
  EXPECT_STREQ(message.data(), "no mode");
  EXPECT_EQ(zkitReadModel("a.mps", nullptr, nullptr, nullptr, message.data(), 8), 0);
  EXPECT_STREQ(message.data(), "no plac");
  EXPECT_EQ(zkitReadModel("/nowhere.mps", nullptr, nullptr, &instance, nullptr, 8), 0);
  EXPECT_EQ(zkitReadModel("/nowhere.mps", nullptr, nullptr, &instance, message.data(), 0), 0);
  EXPECT_STREQ(message.data(), "no plac");
}

}  // namespace
