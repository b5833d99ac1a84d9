// What only users of the tree itself can see; as a container it is tested with the others.

#include "utree/utree.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <variant>
#include <vector>

#include "dmap/dmaputree.h"
#include "support/files.h"

namespace utree {
namespace {

using Key = std::vector<int>;

/// The key number `id` of the 64 with 3 labels below 4.
Key keyOf(int id) {
  return {id / 16, id / 4 % 4, id % 4};
}

Key keyAt(const UTree& tree, const UELNodeIt& it) {
  Key key(3);
  return tree.dereferenceIterator(it, key.data(), nullptr) ? key : Key();
}

/// A tree of every third of these keys.
UTree sparseTree() {
  UTree tree(3, 1);
  for (int id = 0; id < 64; id += 3) {
    const double value = id;
    tree.emplace(keyOf(id).data(), &value);
  }
  return tree;
}

TEST(UTree, Searches_FromAnyStart_FindTheSame) {
  const UTree tree = sparseTree();
  for (UELNodeIt start = tree.begin();; tree.nextInPlace(start)) {
    for (int id = 0; id < 64; ++id) {
      const Key key = keyOf(id);
      const auto found = tree.find(key.data(), &start);
      ASSERT_EQ(found.has_value(), id % 3 == 0) << id << " from " << tree.str(start);
      ASSERT_EQ(tree.contains(key.data()), id % 3 == 0);
      ASSERT_TRUE(!found || *found == *tree.find(key.data()));
      const Key before = keyAt(tree, tree.findPredecessor(key.data()));
      ASSERT_EQ(before, id == 0 ? Key() : keyOf((id + 2) / 3 * 3 - 3));
    }
    if (start.isEnd()) break;
  }
}

TEST(UTree, RecordsErasedByKeyOrCleared_AreGoneButTheirNodesStay) {
  UTree tree = sparseTree();
  const UELNodeIt first = tree.begin();
  EXPECT_FALSE(tree.erase(Key{9, 9, 9}.data()));
  EXPECT_TRUE(tree.erase(Key{0, 2, 1}.data()));
  EXPECT_FALSE(tree.contains(Key{0, 2, 1}.data()));
  tree.clear();
  double value = 7;
  tree.emplace_end(Key{0, 0, 0}.data(), &value);
  tree.erase(first);
  EXPECT_EQ(tree.str(first), "0,0,0: 0.000000");
  EXPECT_EQ(keyAt(tree, tree.next(first)), keyOf(3));
  EXPECT_TRUE(tree.prev(first) == first);
  value = 0;
  EXPECT_TRUE(tree.dereferenceIterator(tree.last(), nullptr, &value) && value == 7);
  EXPECT_FALSE(tree.dereferenceIterator(tree.end(), nullptr, &value));
  EXPECT_THROW(tree.getFirst()->down.values(), std::bad_variant_access);
  EXPECT_THROW(UTree(0, 1), std::invalid_argument);
}

// Lists are as long as a symbol has records: nothing may recurse along them, and without an index
// these searches would take minutes.
TEST(UTree, ALongList_IsCopiedPrintedSearchedAndFreed) {
  constexpr int kLabels = 300000;
  UTree tree(1, 1);
  const double value = 1;
  for (int label = 1; label <= kLabels; ++label) tree.emplace_end(&label, &value);
  const UTree copy(tree);
  std::FILE* nowhere = std::fopen("/dev/null", "w");
  ASSERT_NE(nowhere, nullptr);
  copy.pprint(nowhere);
  std::fclose(nowhere);
  EXPECT_TRUE(copy.toDotFile("/dev/null"));
  for (int label = kLabels; label > 0; label -= 3) ASSERT_TRUE(tree.erase(&label));
  for (auto it = copy.end(); !(it == copy.begin());) it = copy.prev(it);
  EXPECT_EQ(tree.size(), kLabels / 3 * 2U);
}

// ---- as text

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

using zdb::test::readFile;

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
  const zdb::test::TemporaryFolder folder;
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
