#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cfloat>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "utree/utree.h"
#include "utree/utree_testing.h"

namespace zdb::test {
namespace {

using utree::UTree;

std::string contentsOf(const std::filesystem::path& path) {
  std::ifstream file(path);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

UTree sample() {
  return treeOf(2, {{{1, 1}, 1.5}, {{1, 3}, -2}, {{2, 1}, 3}});
}

constexpr const char* kSampleGraph =
    "digraph { rankdir=\"LR\"\n"
    "0 [label=\"1\"]\n"
    "1 [label=\"1: 1.500000\"]\n"
    "2 [label=\"3: -2.000000\"]\n"
    "3 [label=\"2\"]\n"
    "4 [label=\"1: 3.000000\"]\n"
    "0 -> 3 [label=\"\u2192\"]\n"
    "0 -> 1 [label=\"\u2193\"]\n"
    "1 -> 2 [label=\"\u2192\"]\n"
    "3 -> 4 [label=\"\u2193\"]\n"
    "}\n";

/// A directory of its own as working directory, and its bin folder as the only place of programs.
class UTreePicture : public testing::Test {
 protected:
  void SetUp() override {
    std::string name = testing::TempDir() + "utreeXXXXXX";
    ASSERT_NE(mkdtemp(name.data()), nullptr);
    folder_ = name;
    std::filesystem::create_directory(folder_ / "bin");
    path_ = std::getenv("PATH");
    setenv("PATH", (folder_ / "bin").c_str(), 1);
    before_ = std::filesystem::current_path();
    std::filesystem::current_path(folder_);
  }
  void TearDown() override {
    std::filesystem::current_path(before_);
    setenv("PATH", path_.c_str(), 1);
    std::filesystem::remove_all(folder_);
  }

  // A program that copies the graph to where the picture goes.
  void installDot() {
    std::ofstream("bin/dot") << "#!/bin/sh\n[ \"$1 $2 $3\" = '-Tpdf tmp.dot -o' ] || exit 1\n"
                                "while read -r line; do echo \"$line\"; done < $2 > \"$4\"\n";
    chmod("bin/dot", 0700);
  }

  std::filesystem::path folder_;
  std::filesystem::path before_;
  std::string path_;
};

TEST(UTreeText, Values_AreSeparatedByCommas) {
  const double values[] = {1, -0.25, 1e20, 0, 4};
  EXPECT_EQ(UTree::valuesToStr(5, values),
            "1.000000,-0.250000,100000000000000000000.000000,0.000000,4.000000");
  EXPECT_EQ(UTree::valuesToStr(1, values), "1.000000");
  EXPECT_EQ(UTree::valuesToStr(0, nullptr), "");
  const double largest = -DBL_MAX;
  EXPECT_EQ(UTree::valuesToStr(1, &largest).size(), 317u);
}

TEST(UTreeText, Record_IsKeyAndValues) {
  UTree tree(3, 2);
  const int key[] = {1, -2, 3};
  const double values[] = {1, 2, 3, 4, 5};
  tree.emplace_end(key, values);
  EXPECT_EQ(tree.str(tree.begin()), "1,-2,3: 1.000000,2.000000,3.000000,4.000000,5.000000");
  EXPECT_EQ(tree.str(tree.end()), "end");
}

TEST(UTreeText, Print_NestsNeighboursInEachNode) {
  testing::internal::CaptureStdout();
  sample().pprint();
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "{uel=1,value=,right="
            "{uel=2,value=,right=,down={uel=1,value=3.000000,right=,down=}}"
            ",down={uel=1,value=1.500000,right={uel=3,value=-2.000000,right=,down=},down=}}");
}

TEST_F(UTreePicture, Graph_HasALineForEachNodeAndLink) {
  EXPECT_TRUE(sample().toDotFile("graph"));
  EXPECT_EQ(contentsOf("graph"), kSampleGraph);
  EXPECT_TRUE(UTree(1, 1).toDotFile("graph"));
  EXPECT_EQ(contentsOf("graph"), "digraph { rankdir=\"LR\"\n}\n");
  EXPECT_FALSE(sample().toDotFile("missing/graph"));
}

TEST_F(UTreePicture, WithoutDot_ThereIsNoneAndNothingFails) {
  testing::internal::CaptureStderr();
  sample().toPDF("picture");
  EXPECT_NE(testing::internal::GetCapturedStderr(), "");  // the shell's
  EXPECT_FALSE(std::filesystem::exists("picture"));
  EXPECT_FALSE(std::filesystem::exists("tmp.dot"));
}

TEST_F(UTreePicture, WithDot_IsDrawnUnderTheNameGiven) {
  installDot();
  for (const char* name : {"x1_dmap.pdf", "a b.pdf", "it's; echo > trap", "$HOME"}) {
    sample().toPDF(name);
    EXPECT_EQ(contentsOf(name), kSampleGraph) << name;
  }
  EXPECT_FALSE(std::filesystem::exists("trap"));
  EXPECT_FALSE(std::filesystem::exists("tmp.dot"));
}

}  // namespace
}  // namespace zdb::test
