// What model files say, with GLPK's own reading of them as the peer.
#include "kit/modelfile.h"

#include <glpk.h>
#include <gtest/gtest.h>

#include <cfloat>
#include <limits>
#include <map>
#include <memory>

#include "kit/modelfile_format.h"
#include "modelfile_testing.h"

namespace {

using namespace modelfiletest;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

using Problem = std::unique_ptr<glp_prob, decltype(&glp_delete_prob)>;

// GLPK's reading, in the test's own process; null when it fails.
Problem readPeer(const std::string& path, FileFormat format) {
  glp_term_out(GLP_OFF);
  Problem problem(glp_create_prob(), glp_delete_prob);
  int error = 0;
  if (format == FileFormat::Lp) {
    error = glp_read_lp(problem.get(), nullptr, path.c_str());
  } else if (format == FileFormat::MathProg) {
    glp_tran* translator = glp_mpl_alloc_wksp();
    error = glp_mpl_read_model(translator, path.c_str(), 0);
    if (error == 0) error = glp_mpl_generate(translator, nullptr);
    if (error == 0) glp_mpl_build_prob(translator, problem.get());
    glp_mpl_free_wksp(translator);
  } else {
    const int kind = format == FileFormat::FixedMps ? GLP_MPS_DECK : GLP_MPS_FILE;
    error = glp_read_mps(problem.get(), kind, nullptr, path.c_str());
  }
  if (error != 0) problem.reset();
  return problem;
}

double bound(double value) {
  return value == DBL_MAX ? kInfinity : value == -DBL_MAX ? -kInfinity : value;
}

void expectSame(const FileModel& model, glp_prob* peer) {
  ASSERT_EQ(model.rows.size(), glp_get_num_rows(peer));
  ASSERT_EQ(model.columns.size(), glp_get_num_cols(peer));
  for (int i = 1; i <= glp_get_num_rows(peer); ++i) {
    const FileRow& row = model.rows[i - 1];
    ASSERT_EQ(row.name, glp_get_row_name(peer, i));
    ASSERT_EQ(row.lower, bound(glp_get_row_lb(peer, i))) << row.name;
    ASSERT_EQ(row.upper, bound(glp_get_row_ub(peer, i))) << row.name;
  }
  for (int j = 1; j <= glp_get_num_cols(peer); ++j) {
    const FileColumn& column = model.columns[j - 1];
    ASSERT_EQ(column.name, glp_get_col_name(peer, j));
    ASSERT_EQ(column.lower, bound(glp_get_col_lb(peer, j))) << column.name;
    ASSERT_EQ(column.upper, bound(glp_get_col_ub(peer, j))) << column.name;
    ASSERT_EQ(column.isInteger, glp_get_col_kind(peer, j) != GLP_CV) << column.name;
  }
}

// Coefficients by row and column; row 0 is the objective.
using Terms = std::map<std::pair<int, int>, double>;

Terms termsOf(const FileModel& model) {
  Terms terms;
  for (const auto& [row, column, value] : model.coefficients) {
    EXPECT_TRUE(terms.emplace(std::pair(row, column), value).second);
  }
  return terms;
}

Terms termsOf(glp_prob* peer) {
  Terms terms;
  const int columns = glp_get_num_cols(peer);
  std::vector<int> at(columns + 1);
  std::vector<double> values(columns + 1);
  for (int j = 1; j <= columns; ++j) {
    const double value = glp_get_obj_coef(peer, j);
    if (value != 0.0) terms[{0, j}] = value;
  }
  for (int i = 1; i <= glp_get_num_rows(peer); ++i) {
    for (int k = glp_get_mat_row(peer, i, at.data(), values.data()); k >= 1; --k) {
      terms[{i, at[k]}] = values[k];
    }
  }
  return terms;
}

TEST(ModelFile, ModelsThatComeWithGlpk_ReadAsGlpkReadsThem) {
  const std::filesystem::path folder = "/usr/share/doc/glpk-utils/examples";
  if (!std::filesystem::is_directory(folder)) GTEST_SKIP() << "GLPK's examples are not installed";
  for (const char* name :
       {"alloy.mps", "furnace.mps", "icecream.mps", "murtagh.mps", "plan.mps",
        "samp1.mps", "samp2.mps",   "plan.lp",      "wolfra6d.lp", "assign.mod",
        "cal.mod",   "cf12a.mod",   "diet.mod",     "dist.mod",    "egypt.mod",
        "food.mod",  "jssp.mod",    "plan.mod",     "prod.mod",    "qfit.mod",
        "spp.mod",   "todd.mod",    "transp.mod",   "yacfs.mod",   "zebra.mod"}) {
    SCOPED_TRACE(name);
    const std::string path = (folder / name).string();
    const FileFormat format = path.ends_with(".mps")  ? FileFormat::FixedMps
                              : path.ends_with(".lp") ? FileFormat::Lp
                                                      : FileFormat::MathProg;
    const Problem peer = readPeer(path, format);
    ASSERT_NE(peer, nullptr);
    const FileModel model = readModelFile(path.c_str(), nullptr);
    expectSame(model, peer.get());
    EXPECT_EQ(termsOf(model), termsOf(peer.get()));
    EXPECT_EQ(model.maximize, glp_get_obj_dir(peer.get()) == GLP_MAX);
    EXPECT_EQ(model.objectiveConstant, glp_get_obj_coef(peer.get(), 0));
    const char* objective = glp_get_obj_name(peer.get());
    EXPECT_EQ(model.objectiveName, objective == nullptr ? "" : objective);
    // MathProg alone keeps the objective among the rows.
    const bool isListed = format == FileFormat::MathProg && objective != nullptr;
    ASSERT_EQ(model.objectiveRow > 0, isListed);
    if (isListed) {
      EXPECT_EQ(model.rows[model.objectiveRow - 1].name, objective);
    }
  }
}

TEST(ModelFile, Mps_FixedAndFree_SayTheSame) {
  for (const char* text : {kFixedMps, kFreeMps}) {
    const FileModel model = readText("mix.mps", text);
    EXPECT_EQ(model.name, "MIX");
    const Terms expected = {{{0, 1}, 1.5}, {{0, 2}, 2}, {{1, 1}, 1},    {{1, 2}, 1}, {{1, 3}, -1},
                            {{1, 4}, 1},   {{2, 3}, 1}, {{2, 1}, 0.25}, {{3, 1}, 1}, {{4, 2}, 1}};
    EXPECT_EQ(termsOf(model), expected);
    ASSERT_EQ(model.rows.size(), 4);
    EXPECT_EQ(model.rows[2].name, "CAP(A)");
    EXPECT_EQ(std::pair(model.rows[2].lower, model.rows[2].upper), std::pair(3.0, 8.0));
    ASSERT_EQ(model.columns.size(), 4);
    EXPECT_TRUE(model.columns[1].isInteger);
    EXPECT_EQ(std::pair(model.columns[2].lower, model.columns[2].upper),
              std::pair(-kInfinity, -2.0));
    EXPECT_EQ(std::pair(model.columns[3].lower, model.columns[3].upper), std::pair(3.0, 3.0));
    EXPECT_EQ(model.objectiveName, "COST");
    EXPECT_EQ(model.objectiveConstant, -10.0);  // GLPK takes the sign as it stands
    EXPECT_FALSE(model.maximize);
  }
}

TEST(ModelFile, Format_ByEndingThenByContent) {
  const std::string freeMps = kFreeMps;
  const struct {
    const char* name;
    std::string text;
    FileFormat expected;
  } kCases[] = {
      {"a.mps", kFixedMps, FileFormat::FixedMps},
      {"A.MPS", freeMps, FileFormat::FreeMps},
      {"a.lp", "", FileFormat::Lp},
      {"a.mod", "", FileFormat::MathProg},
      {"a", kFixedMps, FileFormat::FixedMps},
      {"a.txt", freeMps, FileFormat::FreeMps},
      {"a", kLp, FileFormat::Lp},
      {"a", kMathProg, FileFormat::MathProg},
      {"a", "\\ comment\nmin\n x\n", FileFormat::Lp},
      {"a", "# comment\nname;\n", FileFormat::MathProg},
      {"a", "maximize z: x;\n", FileFormat::MathProg},
      {"a", "", FileFormat::MathProg},
  };
  for (const auto& c : kCases) EXPECT_EQ(formatOf(c.name, c.text), c.expected) << c.name << c.text;
}

TEST(ModelFile, MathProg_DataFileTakesThePlaceOfTheDataSection) {
  const Folder folder;
  const std::string model = folder.write("m.mod", kMathProg);
  const std::string data = folder.write("m.dat", "set I := 1 2 3;\nend;\n");
  EXPECT_EQ(readModelFile(model.c_str(), nullptr).rows.size(), 5);
  const FileModel other = readModelFile(model.c_str(), data.c_str());
  EXPECT_EQ(other.name, "m");
  ASSERT_EQ(other.rows.size(), 6);
  EXPECT_EQ(other.columns[0].name, "ship[1,'New York']");
  EXPECT_EQ(other.objectiveConstant, 12.0);
}

// Rows and columns for the matrix sections.
std::string withSections(const std::string& sections) {
  return "NAME Q\nROWS\n N C\n L R1\nCOLUMNS\n x C 1 R1 1\n y C 1 R1 1\n p_var R1 1\nRHS\n RHS R1 "
         "9\n" +
         sections + "ENDATA\n";
}

TEST(ModelFile, MpsMatrices_BecomeProducts) {
  using Products = std::map<std::tuple<int, int, int>, double>;
  const struct {
    const char* sections;
    Products expected;
  } kCases[] = {
      {"QUADOBJ\n p_var x 4\n p_var p_var 6\n", {{{0, 1, 3}, 4}, {{0, 3, 3}, 3}}},
      {"QSECTION\n x p_var 4\n", {{{0, 1, 3}, 4}}},
      {"QSECTION C\n x p_var 4\n", {{{0, 1, 3}, 4}}},
      {"QSECTION R1\n x p_var 4\n", {{{1, 1, 3}, 4}}},
      {"QMATRIX\n p_var x 4\n x p_var 4\n p_var p_var 6\n", {{{0, 1, 3}, 4}, {{0, 3, 3}, 3}}},
      {"QCMATRIX R1\n p_var x 4 y 2\n x p_var 4\n y p_var 2\n p_var p_var 6\n",
       {{{1, 1, 3}, 8}, {{1, 2, 3}, 4}, {{1, 3, 3}, 6}}},
      {"QCMATRIX R1\n p_var p_var 1\nQCMATRIX R1\n p_var p_var 2\nQUADOBJ\n x p_var 1\n",
       {{{1, 3, 3}, 3}, {{0, 1, 3}, 1}}},
  };
  for (const auto& c : kCases) {
    Products products;
    for (const auto& p : readText("q.mps", withSections(c.sections)).products) {
      EXPECT_TRUE(products.emplace(std::tuple(p.row, p.column1, p.column2), p.value).second);
    }
    EXPECT_EQ(products, c.expected) << c.sections;
  }
}

TEST(ModelFile, MpsSense_IsRead) {
  for (const char* sense : {"OBJSENSE\n    MAX\n", "OBJSENSE MAXIMIZE\n", "OBJSENSE\n max\n"}) {
    EXPECT_TRUE(readText("a.mps", sense + std::string(kFreeMps)).maximize) << sense;
  }
  EXPECT_FALSE(readText("a.mps", "OBJSENSE\n    MIN\n" + std::string(kFreeMps)).maximize);
}

TEST(ModelFile, Errors_NameFileLineAndFault) {
  const struct {
    const char* name;
    std::string text;
    const char* expected;
  } kCases[] = {
      {"a.mod", "var x;\nminimize z: x;\ns.t. c: x >= y;\nend;\n", "a.mod:3: y not defined"},
      {"a.mod", "param n := 1/0;\nvar x >= n;\nminimize z: x;\nend;\n", "a.mod:3: 1 / 0; floating"},
      {"a.mod", "var x{i in 1..2} >= 0;\ncheck: 1 > 2;\nend;\n", "a.mod:2: check"},
      {"a.mod", "", "a.mod:0: empty model"},
      {"a.lp", "min\n x\nst\n c: x >=\nend\n", "a.lp:5: "},
      {"a.lp", "", "a.lp:0: 'minimize'"},
      {"a.lp.gz", "\x1f\x8b\x08", "a.lp.gz: is compressed, unpack it first"},
      {"a.mps", "NAME A\nROWS\n N C\nCOLUMNS\n x D 1\nENDATA\n", "a.mps:5: row 'D' not found"},
      {"a.mps", withSections("QUADOBJ\n x z 1\n"), "a.mps:12: no column \"z\""},
      {"a.mps", withSections("QUADOBJ\n x 1\n"), "a.mps:12: two column names and a number"},
      {"a.mps", withSections("QUADOBJ\n x y 1\n y x 1\n"), "a.mps:13: a second entry for \"y\""},
      {"a.mps", withSections("QMATRIX\n x y 1\n y x 2\n"), "a.mps:12: the entries of \"x\" and"},
      {"a.mps", withSections("QCMATRIX R1\n x y 1\n"), "a.mps:12: the entries of \"x\" and"},
      {"a.mps", withSections("QCMATRIX R2\n x x 1\n"), "a.mps:11: no row \"R2\""},
      {"a.mps", withSections("QCMATRIX\n x x 1\n"), "a.mps:11: QCMATRIX without the name"},
      {"a.mps", "OBJSENSE\n least\n" + std::string(kFreeMps), "a.mps:2: OBJSENSE is MAX or MIN"},
  };
  for (const auto& c : kCases) {
    const std::string complaint = complaintOf(c.name, c.text);
    EXPECT_TRUE(complaint.starts_with(c.expected)) << c.text << "\nsays " << complaint;
  }
}

TEST(ModelFile, Paths_ThatAreNoFile_AreNamed) {
  const Folder folder;
  const std::string mps = folder.write("a.mps", kFixedMps);
  const struct {
    std::string path;
    const char* data;
    std::string expected;
  } kCases[] = {
      {"/nowhere/a.mps", nullptr, "/nowhere/a.mps: No such file or directory"},
      {"/dev/zero", nullptr, "/dev/zero: is not a regular file"},
      {"/", nullptr, "/: is not a regular file"},
      {mps, "b.dat", "b.dat: a data file goes with a MathProg model only, and " + mps + " is none"},
      {folder.write("a.mod", kMathProg), "/nowhere/b.dat",
       "/nowhere/b.dat: No such file or directory"},
  };
  for (const auto& c : kCases) {
    try {
      readModelFile(c.path.c_str(), c.data);
      ADD_FAILURE() << c.path << " was read";
    } catch (const FileError& error) {
      EXPECT_EQ(error.what(), c.expected);
    }
  }
}

}  // namespace
