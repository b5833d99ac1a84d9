// Model files beside what GLPK itself makes of them.
#include "kit/modelfile/read.h"

#include <glpk.h>

#include <cfloat>
#include <memory>

#include "modelfile_testing.h"

namespace {

using namespace zdb::test::modelfile;

using Problem = std::unique_ptr<glp_prob, decltype(&glp_delete_prob)>;

// GLPK's reading, in the test's own process. MPS is fixed unless the name ends in free.mps.
Problem readPeer(const std::string& path) {
  glp_term_out(GLP_OFF);
  Problem problem(glp_create_prob(), glp_delete_prob);
  if (path.ends_with(".mps")) {
    glp_mpscp control;
    glp_init_mpscp(&control);
    control.blank = '_';
    const int format = path.ends_with("free.mps") ? GLP_MPS_FILE : GLP_MPS_DECK;
    EXPECT_EQ(glp_read_mps(problem.get(), format, &control, path.c_str()), 0);
  } else if (path.ends_with(".lp")) {
    EXPECT_EQ(glp_read_lp(problem.get(), nullptr, path.c_str()), 0);
  } else {
    glp_tran* translator = glp_mpl_alloc_wksp();
    EXPECT_EQ(glp_mpl_read_model(translator, path.c_str(), 0), 0);
    EXPECT_EQ(glp_mpl_generate(translator, nullptr), 0);
    glp_mpl_build_prob(translator, problem.get());
    glp_mpl_free_wksp(translator);
  }
  return problem;
}

double bound(double value) {
  return std::abs(value) == DBL_MAX ? std::copysign(INFINITY, value) : value;
}

void expectReadAsPeer(const std::string& path) {
  SCOPED_TRACE(path);
  const FileModel model = readModelFile(path.c_str(), nullptr);
  const Problem owner = readPeer(path);
  glp_prob* const peer = owner.get();
  ASSERT_EQ(model.rows.size(), glp_get_num_rows(peer));
  int terms = glp_get_num_nz(peer);
  for (int i = 1; const auto& [name, lower, upper] : model.rows) {
    EXPECT_EQ(name, glp_get_row_name(peer, i));
    EXPECT_EQ(lower, bound(glp_get_row_lb(peer, i))) << name;
    EXPECT_EQ(upper, bound(glp_get_row_ub(peer, i++))) << name;
  }
  ASSERT_EQ(model.columns.size(), glp_get_num_cols(peer));
  for (int j = 1; const auto& [name, lower, upper, isInteger] : model.columns) {
    EXPECT_EQ(name, glp_get_col_name(peer, j));
    EXPECT_EQ(isInteger, glp_get_col_kind(peer, j) != GLP_CV) << name;
    EXPECT_EQ(lower, bound(glp_get_col_lb(peer, j))) << name;
    EXPECT_EQ(upper, bound(glp_get_col_ub(peer, j))) << name;
    if (glp_get_obj_coef(peer, j++) != 0.0) ++terms;
  }
  EXPECT_EQ(model.coefficients.size(), terms);
  EXPECT_EQ(model.maximize, glp_get_obj_dir(peer) == GLP_MAX);
  EXPECT_EQ(model.objectiveConstant, glp_get_obj_coef(peer, 0));
  const char* objective = glp_get_obj_name(peer);
  EXPECT_EQ(model.objectiveName, objective == nullptr ? "" : objective);
  // MathProg alone keeps the objective among the rows.
  const bool isListed = path.ends_with(".mod") && objective != nullptr;
  const std::string listed = model.objectiveRow > 0 ? model.rows[model.objectiveRow - 1].name : "";
  EXPECT_EQ(listed, isListed ? objective : "");
}

// The objective of GLPK's own solve.
double objectiveOf(glp_prob* peer) {
  EXPECT_EQ(glp_simplex(peer, nullptr), 0);
  if (glp_get_num_int(peer) == 0) return glp_get_obj_val(peer);
  EXPECT_EQ(glp_intopt(peer, nullptr), 0);
  return glp_mip_obj_val(peer);
}

// An instance of a file, solved.
using Instance = std::unique_ptr<void, void (*)(void*)>;
Instance solved(const std::string& path, const char* solver) {
  void* instance = nullptr;
  char message[ZKIT_TEXT_SIZE];
  zkitReadModel(path.c_str(), nullptr, ZKIT_DIRECTORY, &instance, message, sizeof message);
  EXPECT_EQ(zkitSolve(instance, solver, nullptr, 0), 1) << path << ": " << message;
  return {instance, [](void* handle) { zkitFreeInstance(&handle); }};
}

void expectSolvedAsPeer(const std::string& path) {
  expectReadAsPeer(path);
  const Problem peer = readPeer(path);
  const double expected = objectiveOf(peer.get());
  for (const char* solver : {"clp", "cbc", "glpk"}) {
    if (glp_get_num_int(peer.get()) > 0 && solver == std::string("clp")) continue;
    const double tolerance = 1e-7 * (1 + std::abs(expected));
    EXPECT_NEAR(zkitObjective(solved(path, solver).get()), expected, tolerance)
        << path << " " << solver;
  }
}

TEST(ModelFile, Samples_AreReadAndSolvedAsGlpkDoes) {
  const TemporaryFolder folder;
  for (const auto& [name, corpus] :
       {std::pair("a.mps", "fixed"), {"free.mps", "free"}, {"a.lp", "lp"}, {"a.mod", "mathprog"}}) {
    expectSolvedAsPeer(folder.write(name, sample(corpus)));
  }
  EXPECT_EQ(readText("a.mps", sample("fixed")).name, "MIX");
}

TEST(ModelFile, ModelsThatComeWithGlpk_AreReadAndSolvedAsGlpkDoes) {
  const std::string folder = "/usr/share/doc/glpk-utils/examples/";
  if (!std::filesystem::is_directory(folder)) GTEST_SKIP() << "GLPK's examples are not installed";
  for (const char* name :
       {"alloy.mps", "furnace.mps", "icecream.mps", "plan.mps", "samp1.mps", "plan.lp",
        "wolfra6d.lp", "assign.mod", "cf12a.mod", "diet.mod", "dist.mod", "egypt.mod", "food.mod",
        "plan.mod", "prod.mod", "spp.mod", "stigler.mod", "todd.mod", "transp.mod"}) {
    expectSolvedAsPeer(folder + name);
  }
  // Too large to solve, or without a solution.
  for (const char* name :
       {"murtagh.mps", "samp2.mps", "cal.mod", "jssp.mod", "qfit.mod", "yacfs.mod", "zebra.mod"}) {
    expectReadAsPeer(folder + name);
  }
}

}  // namespace
