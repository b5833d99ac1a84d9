// What is particular to DMapUTree; the behaviour of all containers is in containers_test.cpp.

#include "dmap/dmaputree.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

#include "dmap/container_model.h"
#include "dmap/dmap.h"

namespace zdb::dmap {
namespace {

using test::Key;

TreeIterator add(DMapUTree& records, const Key& key, double value) {
  const double values[5] = {value, value + 0.1, value + 0.2, value + 0.3, value + 0.4};
  return records.emplace(key.data(), values);
}

std::string textOf(DMapUTree& records) {
  std::string text;
  for (TreeIterator it = records.begin(); it != records.end(); ++it) {
    const VirtualPair record = *it;
    if (!text.empty()) text += ' ';
    for (int i = 0; i < records.getDim(); ++i) {
      text += (i > 0 ? "," : "") + std::to_string(record.first[i]);
    }
    text += ':' + std::to_string(static_cast<int>(*record.second));
  }
  return text;
}

TEST(DMapUTree, KeepsTheCommonFieldsAsGiven) {
  DMapUTree records(3, 2);
  EXPECT_EQ(records.getStorageType(), StorageTypes::Tree);
  EXPECT_EQ(records.getDim(), 3);
  EXPECT_EQ(records.getValueWidth(), 2);
  EXPECT_EQ(records.getTree()->getNumValues(), 5);
  EXPECT_EQ(DMapUTree(0, 1).getTree(), nullptr);
  for (const int dim : {-1, 21, 1000}) {
    EXPECT_THROW(DMapUTree(dim, 1), std::invalid_argument) << dim;
  }
}

// Of the keys that are there only the largest gets the new values, whichever insertion it is.
TEST(DMapUTree, Insertion_OverwritesTheLargestKeyOnly) {
  DMapUTree records(2, 1);
  add(records, {1, 2}, 1);
  add(records, {1, 1}, 2);
  const auto insertAll = [&records](const Key& key, double value) {
    TreeIterator hint = records.begin();
    records.emplace(key.data(), &value);
    records.emplace_end(key.data(), &(value += 1));
    records.emplace_hint(key.data(), &(value += 1), hint);
  };
  insertAll({1, 1}, 10);
  insertAll({1, 2}, 20);
  EXPECT_EQ(textOf(records), "1,1:2 1,2:22");
}

// The contract of insert_or_assign is to overwrite the bound, whatever its key.
TEST(DMapUTree, Assign_OverwritesTheBoundOrAdds) {
  const struct {
    Key key;
    const char* after;
  } cases[] = {
      {{1, 1}, "1,1:99 2,2:2"}, {{2, 2}, "1,1:1 2,2:99"},       {{0, 5}, "1,1:99 2,2:2"},
      {{1, 2}, "1,1:1 2,2:99"}, {{2, 3}, "1,1:1 2,2:2 2,3:99"}, {{3, 0}, "1,1:1 2,2:2 3,0:99"},
  };
  for (const auto& c : cases) {
    DMapUTree records(2, 1);
    add(records, {1, 1}, 1);
    add(records, {2, 2}, 2);
    TreeIterator hint;
    const double value = 99;
    const TreeIterator it = records.insert_or_assign(hint, c.key.data(), &value);
    EXPECT_EQ(textOf(records), c.after);
    EXPECT_EQ(*(*it).second, 99);
  }
}

TEST(DMapUTree, LowerBound_AboveAll_PointsNowhere) {
  DMapUTree records(2, 1);
  for (const bool isEmpty : {true, false}) {
    if (!isEmpty) add(records, {1, 1}, 1);
    const TreeIterator nowhere = records.lower_bound(Key{1, 2}.data());
    EXPECT_TRUE(nowhere != records.end());
    EXPECT_TRUE(nowhere.isNullPtr());
    EXPECT_EQ(nowhere.tree(), nullptr);
    EXPECT_EQ((*nowhere).second, nullptr);
    EXPECT_TRUE(records.exactLowerBound(Key{1, 2}.data()) == records.end());
    records.erase(nowhere);
    EXPECT_EQ(records.index(nowhere), -1);
  }
  EXPECT_EQ(records.size(), 1U);
  EXPECT_EQ(records.index(records.end()), 1);
}

TEST(TreeIterator, AllShareOneKey) {
  DMapUTree records(2, 5);
  DMapUTree other(1, 1);
  add(records, {1, 2}, 1);
  add(other, {9}, 2);
  const TreeIterator at = records.begin();
  const VirtualPair first = *at;
  EXPECT_EQ(first.first[0], 1);
  const VirtualPair second = *other.begin();
  EXPECT_EQ(first.first, second.first);
  EXPECT_EQ(first.first[0], 9);
  EXPECT_EQ(first.second[4], 1.4);  // values stay where they are
  add(records, {0, 7}, 3);
  EXPECT_EQ((*at).second, first.second);
}

TEST(TreeIterator, OfAnotherContainer_ErasesNothing) {
  DMapUTree records(1, 1);
  DMapUTree other(1, 1);
  add(records, {1}, 1);
  add(other, {1}, 1);
  records.erase(other.begin());
  EXPECT_EQ(records.size(), 1U);
  EXPECT_EQ(records.index(other.begin()), -1);
  EXPECT_TRUE(records.begin() != other.begin());
  const IDMapIterator& interface = records.begin();
  EXPECT_TRUE(interface == static_cast<const IDMapIterator&>(records.begin()));
  EXPECT_TRUE(interface != static_cast<const IDMapIterator&>(records.end()));
  EXPECT_TRUE(interface != static_cast<const IDMapIterator&>(DMapIterator()));
  // The same node means nothing in another value width.
  EXPECT_TRUE(records.begin() != TreeIterator(records.begin().position(), 5, records.getTree()));
}

TEST(TreeIterator, TheOtherKindOfPosition_IsRefused) {
  DMapUTree records(1, 1);
  DMapUTree scalar(0, 1);
  const double value = 1;
  scalar.emplace(nullptr, &value);
  EXPECT_THROW(records.begin().scalar(), std::bad_variant_access);
  EXPECT_THROW(scalar.begin().position(), std::bad_variant_access);
  EXPECT_THROW(scalar.index(records.begin()), std::bad_variant_access);
}

TEST(PairForIterator, IsEmptyWithoutAllNodes_AndRefusedWithoutValues) {
  utree::UTree tree(2, 1);
  const int key[] = {4, 5};
  const double value = 6;
  utree::UELNodeIt at = tree.emplace_end(key, &value);
  const VirtualPair record = constructPairForIterator(2, at);
  EXPECT_EQ(Key(record.first, record.first + 2), (Key{4, 5}));
  EXPECT_EQ(*record.second, 6);
  EXPECT_EQ(constructPairForIterator(3, at).first, nullptr);
  EXPECT_EQ(constructPairForIterator(2, tree.end()).second, nullptr);
  at.setLeaf(at[0]);
  EXPECT_THROW(constructPairForIterator(2, at), std::bad_variant_access);
}

TEST(DMapUTree, ACopy_LeadsALifeOfItsOwn) {
  DMapUTree records(2, 1);
  add(records, {1, 1}, 1);
  add(records, {1, 2}, 2);
  DMapUTree copy(records);
  DMapUTree assigned(2, 1);
  add(assigned, {7, 7}, 7);
  assigned.assign(records);
  records = *&records;
  *(*records.begin()).second = 9;
  records.erase(records.find(Key{1, 2}.data()));
  EXPECT_EQ(textOf(records), "1,1:9");
  for (DMapUTree* other : {&copy, &assigned}) {
    EXPECT_EQ(textOf(*other), "1,1:1 1,2:2");
    TreeIterator it = other->end();
    EXPECT_EQ(*(*--it).second, 2);
    EXPECT_EQ(other->verify(), "");
  }
  for (const auto& [dim, width] : {std::pair{1, 1}, {2, 5}, {0, 1}}) {
    DMapUTree different(dim, width);
    EXPECT_THROW(copy = different, std::invalid_argument);
  }
  EXPECT_EQ(textOf(copy), "1,1:1 1,2:2");

  DMapUTree scalar(0, 1);
  const double value = 3;
  scalar.emplace(nullptr, &value);
  DMapUTree scalarCopy(scalar);
  scalar.clear();
  EXPECT_EQ(*(*scalarCopy.begin()).second, 3);
  scalarCopy = scalar;
  EXPECT_TRUE(scalarCopy.begin() == scalarCopy.end());
}

TEST(DMapUTree, Reserve_CutsBlocksForSoMany) {
  DMapUTree records(1, 5);
  records.reserve(100);
  for (int i = 1; i <= 100; ++i) add(records, {i}, i);
  EXPECT_EQ(records.getTree()->nodeBlocks(), 1);
  EXPECT_EQ(records.getTree()->valueBlocks(), 1);
}

TEST(DMapUTree, Cleared_IsAsGoodAsNew) {
  DMapUTree records(2, 1);
  for (int round = 0; round < 3; ++round) {
    for (int i = 0; i < 500; ++i) add(records, {i % 50, i}, i);
    EXPECT_EQ(records.size(), 500U);
    records.clear();
    EXPECT_TRUE(records.begin() == records.end());
    EXPECT_EQ(records.verify(), "");
  }
}

TEST(ScalarDMapUTree, CountsDoubles) {
  for (const int width : {1, 5}) {
    DMapUTree scalar(0, width);
    EXPECT_TRUE(scalar.lower_bound(nullptr) == scalar.end());
    EXPECT_TRUE(scalar.exactLowerBound(nullptr) == scalar.end());
    TreeIterator it = add(scalar, {}, 1);
    EXPECT_TRUE(scalar.lower_bound(nullptr).isNullPtr());  // as with DMap
    EXPECT_TRUE(scalar.find(nullptr) == it);
    EXPECT_TRUE(scalar.exactLowerBound(nullptr) == it);
    EXPECT_FALSE(it.isNullPtr());
    EXPECT_EQ(static_cast<const void*>((*it).first), (*it).second);
    EXPECT_EQ(scalar.index(it), 0);
    EXPECT_TRUE(++it == scalar.end());
    EXPECT_EQ(scalar.index(it), 1);
    EXPECT_EQ(scalar.index(scalar.withIndex(-3)), -3);
    EXPECT_EQ((*scalar.withIndex(2)).second, (*scalar.begin()).second + 2);
    EXPECT_TRUE(--it == scalar.begin());
    scalar.reserve(10);
    scalar.toPDF("nothing to draw");
    scalar.erase(it);
    EXPECT_TRUE(scalar.empty());
    EXPECT_TRUE(scalar.find(nullptr) == scalar.end());
  }
}

/// A directory of its own as working directory, with a program `dot` that only makes its file.
class DMapUTreePicture : public testing::Test {
 protected:
  void SetUp() override {
    std::string name = testing::TempDir() + "dmaputreeXXXXXX";
    ASSERT_NE(mkdtemp(name.data()), nullptr);
    folder_ = name;
    path_ = std::getenv("PATH");
    setenv("PATH", name.c_str(), 1);
    before_ = std::filesystem::current_path();
    std::filesystem::current_path(folder_);
    std::ofstream("dot") << "#!/bin/sh\n: > \"$4\"\n";
    chmod("dot", 0700);
  }
  void TearDown() override {
    std::filesystem::current_path(before_);
    setenv("PATH", path_.c_str(), 1);
    std::filesystem::remove_all(folder_);
  }

  std::filesystem::path folder_;
  std::filesystem::path before_;
  std::string path_;
};

TEST_F(DMapUTreePicture, IsNamedAfterTheSymbol) {
  DMapUTree records(1, 1);
  add(records, {1}, 1);
  records.toPDF("demand");
  EXPECT_TRUE(std::filesystem::exists("demand_dmap.pdf"));
}

}  // namespace
}  // namespace zdb::dmap
