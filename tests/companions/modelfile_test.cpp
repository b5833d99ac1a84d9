// Model files beside what GLPK itself makes of them.
#include "kit/modelfile/read.h"

#include <glpk.h>

#include <algorithm>
#include <map>
#include <memory>
#include <utility>
#include <vector>

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
  return std::abs(value) >= 1e300 ? std::copysign(INFINITY, value) : value;
}

using Coefficients = std::map<std::pair<int, int>, double>;  // by row, 0: the objective, and column

Coefficients coefficientsOf(glp_prob* peer) {
  Coefficients all;
  std::vector<int> rows(glp_get_num_rows(peer) + 1);
  std::vector<double> values(rows.size());
  for (int j = 1; j <= glp_get_num_cols(peer); ++j) {
    if (glp_get_obj_coef(peer, j) != 0.0) all[{0, j}] = glp_get_obj_coef(peer, j);
    const int count = glp_get_mat_col(peer, j, rows.data(), values.data());
    for (int k = 1; k <= count; ++k) all[{rows[k], j}] = values[k];
  }
  return all;
}

Coefficients coefficientsOf(const FileModel& model) {
  Coefficients all;
  for (const auto& [row, column, value] : model.coefficients) all[{row, column}] = value;
  EXPECT_EQ(all.size(), model.coefficients.size());
  return all;
}

bool isBefore(const FileCoefficient& a, const FileCoefficient& b) {
  return std::pair(a.row, a.column) < std::pair(b.row, b.column);
}

void expectReadAsPeer(const std::string& path) {
  SCOPED_TRACE(path);
  const FileModel model = readModelFile(path.c_str(), nullptr);
  const Problem owner = readPeer(path);
  glp_prob* const peer = owner.get();
  ASSERT_EQ(model.rows.size(), glp_get_num_rows(peer));
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
    ++j;
  }
  EXPECT_EQ(coefficientsOf(model), coefficientsOf(peer));
  if (path.ends_with(".mps")) {
    EXPECT_TRUE(std::is_sorted(model.coefficients.begin(), model.coefficients.end(), isBefore));
  }
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

const std::string examples = "/usr/share/doc/glpk-utils/examples/";

TEST(ModelFile, ModelsThatComeWithGlpk_AreReadAndSolvedAsGlpkDoes) {
  const std::string& folder = examples;
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

// Every kind of bound, with and without the upper one before it, every kind of range, free rows,
// integer columns of all kinds, comments, numbers in all spellings and a constant.
TEST(ModelFile, AllThatMpsFilesHave_IsReadAsGlpkDoes) {
  const std::string text = R"(* every kind
NAME all
ROWS
 N other
 N cost $ the second one is left out
 G g
 G g2
 L l
 E e
 E e2
 E e3
 N last
COLUMNS
 x other 1 cost 4
 x g 1 g2 1.
 x l +.5 e 1E1
 y other -2.5e-1 e2 1e-13
 M1 'MARKER' 'INTORG'
 i1 other 1
 i2 g 1
 i3 l 1
 i4 last 1 e3 1
 M2 'MARKER' 'INTEND'
 c1 g 1
 c2 g 1
 c3 g 1
 c4 g 1
 c5 g 1
 c6 g 1 $ comment
 c7 g 0 $ empty column
RHS
 B other -12 g 2
 B l 7 e -3 $ more
 B e2 4 last 9
RANGES
 R g -5 l 3
 R e 2 e2 -2
 R e3 0 g2 0
 R other 1
BOUNDS
 UP V x 1e300
 LO V x -1e300
 UP V y -2
 UP V i1 7.5
 LI V i2 1.2
 UP V i3 9
 LI V i3 -3.7
 FX V c1 3
 FR V c2
 MI V c3
 UP V c3 -1
 PL V c4
 LO V c4 2
 BV V c5
 UI V c6 4.8
 FX V c7 0 
ENDATA
after the end
)";
  const TemporaryFolder folder;
  expectReadAsPeer(folder.write("all.free.mps", text));
}

// What GLPK writes of models, which come in all formats, is read as the model that it was.
TEST(ModelFile, MpsFilesThatGlpkWrites_AreReadAsGlpkDoes) {
  if (!std::filesystem::is_directory(examples)) GTEST_SKIP() << "GLPK's examples are not installed";
  const TemporaryFolder folder;
  int count = 0;
  for (const auto& entry : std::filesystem::directory_iterator(examples)) {
    const std::string name = entry.path().filename().string();
    const bool isModel = name.ends_with(".mps") || name.ends_with(".lp");
    const bool isSmall = std::string(
                             "assign.mod cf12a.mod diet.mod dist.mod egypt.mod food.mod "
                             "plan.mod prod.mod spp.mod todd.mod yacfs.mod zebra.mod")
                             .find(name) != std::string::npos;
    if (!isModel && !isSmall) continue;
    const Problem peer = readPeer(entry.path());
    for (const auto& [format, ending] :
         {std::pair(GLP_MPS_DECK, ".mps"), {GLP_MPS_FILE, "free.mps"}}) {
      const std::string path = folder.path(name + ending);
      ASSERT_EQ(glp_write_mps(peer.get(), format, nullptr, path.c_str()), 0);
      expectReadAsPeer(path);
      ++count;
    }
  }
  EXPECT_GT(count, 40);
}

}  // namespace
