#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "dmap/dmaputree.h"
#include "support/files.h"
#include "utree/utree.h"

namespace utree {
namespace {

namespace fs = std::filesystem;

constexpr const char* kPrinted =
    "{uel=1,value=,right="
    "{uel=2,value=,right=,down={uel=1,value=3.000000,right=,down=}}"
    ",down={uel=1,value=1.500000,right={uel=3,value=-2.000000,right=,down=},down=}}";
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

using testsupport::readFile;

TEST(UTreeText, Record_IsKeyAndValues) {
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

// In a directory of its own, which is also the only place of programs.
TEST(UTreeText, Tree_IsPrintedAndDrawnUnderTheNameGivenIfThereIsDot) {
  const testsupport::TemporaryFolder folder;
  fs::current_path(folder.path());
  setenv("PATH", folder.path().c_str(), 1);
  zdb::dmap::DMapUTree records(2, 1);
  const UTree& tree = *records.getTree();
  EXPECT_TRUE(tree.toDotFile("graph"));
  EXPECT_EQ(readFile("graph"), "digraph { rankdir=\"LR\"\n}\n");
  const int keys[3][2] = {{1, 1}, {1, 3}, {2, 1}};
  const double values[3] = {1.5, -2, 3};
  for (int i = 0; i < 3; ++i) records.emplace(keys[i], values + i);
  EXPECT_TRUE(tree.toDotFile("graph"));
  EXPECT_EQ(readFile("graph"), kGraph);
  EXPECT_FALSE(tree.toDotFile("missing/graph"));
  EXPECT_FALSE(tree.toDotFile("/dev/full"));

  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  tree.pprint();
  tree.toPDF("picture");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), kPrinted);
  EXPECT_NE(testing::internal::GetCapturedStderr(), "");  // the shell's
  EXPECT_FALSE(fs::exists("picture"));
  // A program that copies the graph to where the picture goes.
  std::ofstream("dot") << "#!/bin/sh\n[ \"$1 $2 $3\" = '-Tpdf tmp.dot -o' ] || exit 1\n"
                          "while read -r line; do echo \"$line\"; done < $2 > \"$4\"\n";
  chmod("dot", 0700);
  records.toPDF("x1");
  for (const char* name : {"a b.pdf", "it's; echo > trap", "$HOME"}) tree.toPDF(name);
  for (const char* name : {"x1_dmap.pdf", "a b.pdf", "it's; echo > trap", "$HOME"}) {
    EXPECT_EQ(readFile(name), kGraph) << name;
  }
  EXPECT_FALSE(fs::exists("trap"));
  EXPECT_FALSE(fs::exists("tmp.dot"));
  fs::current_path("/");
}

}  // namespace
}  // namespace utree
