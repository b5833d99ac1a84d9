#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "dmap/dmaputree.h"
#include "utree/utree.h"

namespace utree {
namespace {

namespace fs = std::filesystem;

constexpr const char* kGraph =
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

/// A tree, and a directory of its own as working directory and only place of programs.
class UTreeText : public testing::Test {
 protected:
  void SetUp() override {
    std::string name = testing::TempDir() + "utreeXXXXXX";
    ASSERT_NE(mkdtemp(name.data()), nullptr);
    fs::current_path(name);
    setenv("PATH", name.c_str(), 1);
    const int keys[3][2] = {{1, 1}, {1, 3}, {2, 1}};
    const double values[3] = {1.5, -2, 3};
    for (int i = 0; i < 3; ++i) records_.emplace(keys[i], values + i);
  }
  void TearDown() override {
    const fs::path folder = fs::current_path();
    fs::current_path(before_);
    setenv("PATH", path_.c_str(), 1);
    fs::remove_all(folder);
  }
  static std::string contentsOf(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  const fs::path before_ = fs::current_path();
  const std::string path_ = std::getenv("PATH");
  zdb::dmap::DMapUTree records_{2, 1};
  UTree& tree_ = *records_.getTree();
};

TEST_F(UTreeText, Record_IsKeyAndValues) {
  UTree wide(3, 2);
  const int key[] = {1, -2, 3};
  const double values[] = {1, -0.25, 1e20, 0, 4};
  wide.emplace_end(key, values);
  EXPECT_EQ(wide.str(wide.begin()),
            "1,-2,3: 1.000000,-0.250000,100000000000000000000.000000,0.000000,4.000000");
  EXPECT_EQ(wide.str(wide.end()), "end");
  const double largest = -1.7976931348623157e308;
  EXPECT_EQ(UTree::valuesToStr(1, &largest).size(), 317U);
  EXPECT_EQ(UTree::valuesToStr(0, nullptr), "");
}

TEST_F(UTreeText, Print_NestsNeighboursInEachNode) {
  testing::internal::CaptureStdout();
  tree_.pprint();
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "{uel=1,value=,right="
            "{uel=2,value=,right=,down={uel=1,value=3.000000,right=,down=}}"
            ",down={uel=1,value=1.500000,right={uel=3,value=-2.000000,right=,down=},down=}}");
}

TEST_F(UTreeText, Graph_HasALineForEachNodeAndLink) {
  EXPECT_TRUE(tree_.toDotFile("graph"));
  EXPECT_EQ(contentsOf("graph"), kGraph);
  EXPECT_TRUE(UTree(1, 1).toDotFile("graph"));
  EXPECT_EQ(contentsOf("graph"), "digraph { rankdir=\"LR\"\n}\n");
  EXPECT_FALSE(tree_.toDotFile("missing/graph"));
  EXPECT_FALSE(tree_.toDotFile("/dev/full"));
}

TEST_F(UTreeText, Picture_IsDrawnUnderTheNameGivenIfThereIsDot) {
  testing::internal::CaptureStderr();
  tree_.toPDF("picture");
  EXPECT_NE(testing::internal::GetCapturedStderr(), "");  // the shell's
  EXPECT_FALSE(fs::exists("picture"));
  // A program that copies the graph to where the picture goes.
  std::ofstream("dot") << "#!/bin/sh\n[ \"$1 $2 $3\" = '-Tpdf tmp.dot -o' ] || exit 1\n"
                          "while read -r line; do echo \"$line\"; done < $2 > \"$4\"\n";
  chmod("dot", 0700);
  records_.toPDF("x1");
  for (const char* name : {"a b.pdf", "it's; echo > trap", "$HOME"}) tree_.toPDF(name);
  for (const char* name : {"x1_dmap.pdf", "a b.pdf", "it's; echo > trap", "$HOME"}) {
    EXPECT_EQ(contentsOf(name), kGraph) << name;
  }
  EXPECT_FALSE(fs::exists("trap"));
  EXPECT_FALSE(fs::exists("tmp.dot"));
}

}  // namespace
}  // namespace utree
