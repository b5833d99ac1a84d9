// The label tree: records in a prefix tree over their labels.
//
// Labels that keys have in common at their front are stored once, in nodes of 20 bytes; the
// alternative is to store every key in full, as the ordered map and the sorted vector do. Records
// of three labels and a double take about 32 bytes each if six share their first two labels, and 33
// if they share no more than by chance.
#pragma once

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <unordered_map>

#include "memory/blockchain.h"
#include "utree/siblings.h"
#include "utree/uelnode.h"

namespace utree {

/// A map from keys of `dim` labels to one or five doubles, in which records whose keys share a
/// prefix share the nodes of that prefix.
///
/// Level 0 is a list of the distinct first labels; each points down to a list of the labels that
/// follow it, and those of the last level point to the values of a record. Lists are in ascending
/// order, so iteration is in key order. Labels are compared exactly.
///
/// 1. A node above the last level points to a list with at least one node.
/// 2. The last position is that of the largest key; it is the end if there are no records.
/// 3. The tree owns all nodes and values. They never move and are freed with the tree only, even if
///    they were erased. So a position is valid as long as its record exists, and one whose record
///    was erased can still be read and moved, though where it moves to may have been erased too.
///
/// Keys have `dim` labels, and the caller's arrays are copied. The only failure is std::bad_alloc,
/// which leaves the records as they were. A search is logarithmic in the lengths of the lists that
/// it passes through.
class UTree {
 public:
  /// An empty tree. Throws std::invalid_argument unless 1 <= dim <= 20.
  UTree(int dim, int valueWidth);
  /// A copy of all nodes and values, in blocks of its own.
  UTree(const UTree& other);
  UTree& operator=(const UTree&) = delete;
  ~UTree() = default;

  /// Makes later blocks large enough for `n` nodes, or the values of `n` records; allocates
  /// nothing. No effect if n < 1.
  void reserve(int n);
  /// A node that is not yet part of the tree.
  UELNode* allocateNode(int uel) { return new (nodes_.allocate(sizeof(UELNode))) UELNode(uel); }
  /// Room for `count` doubles.
  double* allocateValues(int count) {
    return static_cast<double*>(
        valueBlocks_.allocate(static_cast<std::size_t>(count) * sizeof(double)));
  }

  /// Adds a record that is expected to be the last one, in constant time if it is. If the largest
  /// key is given again, it gets the new values; any other existing key keeps its values.
  UELNodeIt emplace_end(const int* key, const double* values);
  /// The same anywhere. `hint`, if given, saves part of the search: the more, the longer the prefix
  /// that its key shares with `key`.
  /// REQUIRES `hint` is a position of this tree, or null.
  UELNodeIt emplace(const int* key, const double* values, const UELNodeIt* hint = nullptr);

  /// The record with this key, if there is one. `start` is used like the hint of `emplace`.
  std::optional<UELNodeIt> find(const int* key, const UELNodeIt* start = nullptr) const;
  /// The last record whose key is less than `key`, or the end.
  UELNodeIt findPredecessor(const int* key) const;
  /// The first record whose key is not less than `key`, if there is one.
  std::optional<UELNodeIt> lower_bound(const int* key) const;
  bool contains(const int* key) const;
  /// The values of records with adjacent keys, null where there is none. The searches go down the
  /// tree in groups, so that their memory accesses overlap.
  void findMany(const int* keys, int count, double** rows) const;
  /// Whether the key is greater than that of every record. Constant time.
  bool isAboveAll(const int* key) const { return empty() || isAboveLast(key); }

  UELNodeIt begin() const;
  UELNodeIt last() const;
  UELNodeIt end() const { return UELNodeIt(dim_); }
  /// The record after `it`; the end for the last record and for the end.
  UELNodeIt next(UELNodeIt it) const {
    nextInPlace(it);
    return it;
  }
  void nextInPlace(UELNodeIt& it) const {
    if (!stepRight(it) && !it.isEnd()) climb(it, 1);
  }
  /// Moves to the next record if that is in the same list or in the list of the parent's next
  /// sibling; otherwise changes nothing and returns false.
  static bool stepRight(UELNodeIt& it) {
    const UELNode* leaf = it.leaf();
    if (leaf == nullptr) return false;
    UELNode* next = leaf->right;
    if (it.dim() > 1) {
      // The end of a short list cannot be predicted, so both ways on are tried at once.
      UELNode* parent = it.atHeight(1);
      if (UELNode* aunt = parent->right; aunt != nullptr) {
        UELNode* cousin = aunt->down.first();
        it.setAtHeight(1, next == nullptr && cousin != nullptr ? aunt : parent);
        next = next == nullptr ? cousin : next;
      }
    }
    if (next == nullptr) return false;
    it.setLeaf(next);
    return true;
  }
  /// The record before `it`: for the end, the last one; for the first record, itself.
  UELNodeIt prev(const UELNodeIt& it) const;
  /// Number of records before `it`; size() for the end, -1 for an erased record. Linear.
  int index(const UELNodeIt& it) const;
  /// The record at a rank; the first for a negative rank, the end for one that is too
  /// large. Linear.
  UELNodeIt withIndex(int i) const;

  /// Removes a record and the nodes that it shares with no other. A position at an erased record or
  /// of another tree is ignored.
  void erase(const UELNodeIt& it);
  /// The same by key. Returns whether there was such a record.
  bool erase(const int* key);
  /// Removes all records. The blocks are kept but not reused.
  void clear();

  std::uint64_t size() const { return size_; }
  bool empty() const { return size_ == 0; }
  /// The first node of level 0, or null.
  UELNode* getFirst() const { return root_.first(); }
  int getDim() const { return dim_; }
  /// Doubles per record, 1 or 5.
  int getNumValues() const { return numValues_; }
  /// Copies key and values, each unless null. Returns false, copying nothing, for the end.
  bool dereferenceIterator(const UELNodeIt& it, int* key, double* values) const;

  /// Copies up to `most` records from `it` on, and moves `it` past them; returns how many. Each
  /// position of the keys, and each value, has an array of length `most`; these are adjacent.
  int copyRecords(UELNodeIt& it, int most, int* keys, double* values) const;

  /// The record as "1,2,3: 4.500000", or "end".
  std::string str(const UELNodeIt& it) const;
  /// Doubles with six decimals, separated by commas.
  static std::string valuesToStr(int count, const double* values);
  /// Prints all nodes, each with its right and then its lower neighbours nested in it.
  void pprint(std::FILE* out = stdout) const;
  /// Numbers all nodes from 0, each before those below it and those after it.
  std::unordered_map<const UELNode*, int> collectNodeIds() const;
  /// Writes the nodes and their links as a graph for `dot`. Returns whether the file could
  /// be written.
  bool toDotFile(const std::string& fileName) const;
  /// Draws the graph with `dot`, by way of the file tmp.dot in the working directory. Without `dot`
  /// there is no picture and no error.
  void toPDF(const std::string& fileName) const;

 private:
  /// How far down the tree a key matches.
  struct Descent {
    int level;           ///< levels on which the label was found
    SiblingPlace place;  ///< where it belongs on the next level, if that is one of the tree
  };

  /// Searches at a time: more than the processor has memory accesses under way.
  static constexpr int kGroup = 16;
  void findLevel(const int* labels, int group, DownLink** lists) const;
  Descent descend(const int* key, const UELNodeIt* start, UELNodeIt& path) const;
  int firstDifference(const int* key) const;
  DownLink& listAt(const UELNodeIt& path, int level) const {
    return level == 0 ? root_ : path[level - 1]->down;
  }
  bool isAboveLast(const int* key) const;
  /// Adds the first record of an empty tree.
  UELNodeIt seedFirstRecord(const int* key, const double* values);
  UELNode* newBranch(const int* key, const double* values, int level);
  void enter(UELNode* branch, UELNode* before, int level, UELNodeIt& path);
  double* storeValues(const double* values);
  void assign(double* stored, const double* values) const;
  static bool firstBelow(UELNodeIt& path, int height);
  bool lastBelow(UELNodeIt& path, int height) const;
  void climb(UELNodeIt& it, int height) const;
  void traverseCopy(const DownLink& from, DownLink& to, int level);

  zdb::memory::BlockChain nodes_;
  zdb::memory::BlockChain valueBlocks_;
  int dim_;
  int valueWidth_;
  int numValues_;
  std::uint64_t size_ = 0;
  mutable DownLink root_;  ///< The list of level 0. Searches may give any list its index.
  UELNodeIt last_;
  mutable Siblings siblings_;  ///< declared after the blocks, since its destructor needs the nodes
};

}  // namespace utree
