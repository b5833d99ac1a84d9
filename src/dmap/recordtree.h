// The ordered map that implements `DMap`: a B+ tree over records that never move.
//
// The alternatives are std::map, which needs twice the memory (64 bytes for three labels and a
// double, here 32) and twice the time to find a record, and absl::btree_map, which takes 28 bytes
// but moves records whenever its nodes change, while handles need records that stay. Here leaves
// refer to records in a pool, with a byte hashed from each key, so that a search reads few keys;
// idmap.h has all figures. A position is valid as long as its record: if its leaf has been split or
// merged, the record is looked up again.
#pragma once

#include <cstddef>
#include <cstdint>

#include "dmap/recordrun.h"
#include "memory/slabpool.h"

namespace zdb::test {
struct Structure;
}

namespace zdb::dmap {

/// A leaf: up to 47 records in key order. Of its 256 bytes, most searches read the first 64 only.
struct alignas(64) RecordLeaf {
  static constexpr std::uint32_t kCapacity = 47;
  static constexpr std::uint32_t kNone = memory::SlabPool::kNone;
  /// Such that no slot is kNoRun plus a place.
  static constexpr std::uint32_t kNoRun = memory::SlabPool::kMaxElements;

  std::uint32_t next;  ///< index of the next leaf in the pool of leaves, or kNone
  std::uint32_t prev;  ///< index of the previous leaf, or kNone
  std::uint32_t id;    ///< this leaf's own index
  /// The first slot if the records have consecutive slots, as when loaded in order; else kNoRun.
  std::uint32_t run;
  std::uint8_t count;            ///< Records in this leaf; 0 once the leaf has been freed
  std::uint8_t tags[kCapacity];  ///< one byte hashed from each key
  std::uint32_t slots[kCapacity];

  /// The slot at `place`; does not touch the other cache lines if the leaf is a run.
  std::uint32_t slotAt(std::uint32_t place) const {
    return run != kNoRun ? run + place : slots[place];
  }
};
static_assert(sizeof(RecordLeaf) == 256);

/// Where a record is. The key's address identifies the record; leaf, slot and place are where it
/// was last found, and are checked before they are used.
struct RecordPosition {
  int* key = nullptr;          ///< the record, or the tree's own address for the end
  RecordLeaf* leaf = nullptr;  ///< null at the end
  std::uint32_t slot = 0;      ///< index of the record in its pool
  std::uint32_t place = 0;     ///< index of the record in the leaf
};

/// An inner node: up to 32 children with separators between them. Every key under child i is less
/// than separator i, and no key under child i+1 is.
struct RecordInner {
  static constexpr std::uint32_t kFanout = 32;

  std::uint32_t count;      ///< children in this node
  std::uint32_t id;         ///< index in the pool of inner nodes
  void* children[kFanout];  ///< RecordInner, or RecordLeaf on the lowest level
  // Followed by kFanout - 1 separators of wordsPerKey words each; see KeyWords.

  std::uint64_t* separators() { return reinterpret_cast<std::uint64_t*>(this + 1); }
};

/// Maximum number of levels of inner nodes. Neighbours are merged when they fit into three quarters
/// of a node, so nodes have far more than 8 children on average, and 2^32 records need no more than
/// 10 levels.
inline constexpr std::uint32_t kMaxHeight = 16;

/// A record is its key, directly followed by its values. The values must be aligned, hence 4 bytes
/// of padding before a key of odd length.
constexpr std::uint32_t keyOffset(int keyLength) {
  return keyLength % 2 == 0 ? 0 : sizeof(int);
}
constexpr std::uint32_t recordBytes(int keyLength, int doubles) {
  return static_cast<std::uint32_t>(keyOffset(keyLength) + keyLength * sizeof(int) +
                                    doubles * sizeof(double));
}

/// What a record tree does without knowing the length of its keys.
class RecordTreeBase {
 public:
  struct Inserted {
    RecordPosition at;
    bool isNew;
  };

  RecordTreeBase(int keyLength, int doubles);
  virtual ~RecordTreeBase() = default;
  RecordTreeBase(const RecordTreeBase&) = delete;
  RecordTreeBase& operator=(const RecordTreeBase&) = delete;

  virtual RecordPosition find(const int* key) = 0;
  virtual RecordPosition lowerBound(const int* key) = 0;
  /// Adds a record, trying the end first; an existing key is left as it is.
  virtual Inserted insert(const int* key, const double* values) = 0;
  /// The same, trying `hint`, a position in this tree, first.
  virtual Inserted insertNear(const int* key, const double* values, RecordPosition hint) = 0;
  /// Adds records with adjacent keys and rows, counting each in `done`. An existing key is left as
  /// it is. Throws std::bad_alloc, after which the first `done` are there.
  virtual void insertMany(const int* keys, const double* values, int count, int& done) = 0;
  /// The same for records in order that come after all others.
  virtual void appendMany(const int* keys, const double* values, int count, int& done) = 0;
  /// Finds the values of records with adjacent keys, null where there is none. The searches run in
  /// groups, so that their memory accesses overlap.
  virtual void findMany(const int* keys, int count, double** rows) = 0;

  std::uint64_t size() const { return size_; }
  RecordPosition first() const { return first_ == nullptr ? end() : positionIn(first_, 0); }
  RecordPosition end() const {
    return {reinterpret_cast<int*>(const_cast<RecordTreeBase*>(this)), nullptr, 0, 0};
  }
  int* keyAt(std::uint32_t slot) const { return reinterpret_cast<int*>(records_.at(slot)); }

  /// Moves to the next record if the same leaf holds it; otherwise returns false and does not move.
  bool nextInLeaf(RecordPosition& at) const {
    const RecordLeaf* leaf = at.leaf;
    if (leaf == nullptr || at.place + 1 >= leaf->count) return false;
    if (leaf->run + at.place == at.slot) [[likely]] {
      ++at.place;
      ++at.slot;
      at.key += recordInts_;
      return true;
    }
    if (leaf->slots[at.place] != at.slot) return false;
    at = positionIn(at.leaf, at.place + 1);
    return true;
  }
  /// Moves to the next record; a position at an erased record moves to the end.
  void next(RecordPosition& at) const {
    if (!nextInLeaf(at)) at = nextInChain(at);
  }
  /// Moves to the previous record, from the end to the last one; a position at the first
  /// record stays.
  void prev(RecordPosition& at) const;

  /// The records from `at` to the end of its leaf, in place or in `buffer`; moves `at` past them.
  RecordRun takeRun(RecordPosition& at, RunBuffer& buffer) const;

  void erase(RecordPosition at);
  void clear() noexcept;
  /// Rank of a record, or -1 for the end or an erased record. Linear in the number of leaves.
  std::int64_t rank(RecordPosition at) const;
  RecordPosition atRank(std::uint64_t rank) const;

 protected:
  /// The inner nodes from the root down to the lowest, each with the child taken.
  struct Path {
    RecordInner* nodes[kMaxHeight];
    std::uint32_t children[kMaxHeight];
  };

  /// Brings leaf and place of `at` up to date. If it is not at a record, moves it to the end and
  /// returns false.
  bool locate(RecordPosition& at) const;
  /// The last leaf, with room for a record whose key `words` is greater than all others; also makes
  /// sure that there is an unused slot. Throws std::bad_alloc before anything has changed.
  RecordLeaf* lastLeafWithRoom(const std::uint64_t* words) {
    records_.ensure(1);
    if (last_ != nullptr && last_->count < RecordLeaf::kCapacity) return last_;
    return addLastLeaf(words);
  }
  /// Splits a full leaf so that the key `words` can be inserted at `place`, and sets `leaf` and
  /// `place` to where it belongs. Throws std::bad_alloc before anything has changed.
  void splitLeaf(RecordLeaf*& leaf, std::uint32_t& place, const std::uint64_t* words);
  /// Appends a record to the last leaf.
  RecordPosition enterLast(std::uint32_t slot, int* record, std::uint8_t tag) {
    RecordLeaf* leaf = last_;
    const std::uint32_t place = leaf->count;
    if (place == 0) {
      leaf->run = slot;
    } else if (slot != leaf->run + place || record != lastKey_ + recordInts_) {
      leaf->run = RecordLeaf::kNoRun;
    }
    leaf->tags[place] = tag;
    leaf->slots[place] = slot;
    leaf->count = static_cast<std::uint8_t>(place + 1);
    ++size_;
    lastKey_ = record;
    return {record, leaf, slot, place};
  }
  /// Appends `count` records that lie one after the other, whose tags and slots have been written
  /// to the last leaf.
  void enterRun(std::uint32_t slot, int* record, std::uint32_t count) {
    RecordLeaf* leaf = last_;
    if (leaf->count == 0) {
      leaf->run = slot;
    } else if (slot != leaf->run + leaf->count || record != lastKey_ + recordInts_) {
      leaf->run = RecordLeaf::kNoRun;
    }
    leaf->count = static_cast<std::uint8_t>(leaf->count + count);
    size_ += count;
    lastKey_ = record + static_cast<std::ptrdiff_t>(count - 1) * recordInts_;
  }
  /// Inserts a record before another one.
  /// REQUIRES `leaf` has room.
  RecordPosition enterBefore(RecordLeaf* leaf, std::uint32_t place, std::uint32_t slot, int* record,
                             std::uint8_t tag);

  RecordLeaf* leafAt(std::uint32_t id) const {
    return id == RecordLeaf::kNone ? nullptr : reinterpret_cast<RecordLeaf*>(leaves_.at(id));
  }
  RecordPosition positionIn(RecordLeaf* leaf, std::uint32_t place) const {
    return {keyAt(leaf->slots[place]), leaf, leaf->slots[place], place};
  }

  memory::SlabPool records_;
  memory::SlabPool leaves_;
  void* root_ = nullptr;      ///< a leaf if height_ is 0, else an inner node; null when empty
  std::uint32_t height_ = 0;  ///< levels of inner nodes
  RecordLeaf* first_ = nullptr;
  RecordLeaf* last_ = nullptr;
  int* lastKey_ = nullptr;  ///< the last record, to recognise appends
  std::uint64_t size_ = 0;
  bool isInOrder_ = true;  ///< Records have only been appended so far: every leaf is a run

 private:
  friend struct test::Structure;

  RecordLeaf* addLastLeaf(const std::uint64_t* words);
  RecordPosition nextInChain(RecordPosition at) const;
  void prefetchAhead(const RecordLeaf& leaf) const;
  Path pathTo(const std::uint64_t* words, RecordLeaf*& leaf) const;
  std::uint32_t childFor(RecordInner* node, const std::uint64_t* words) const;
  RecordLeaf* newLeaf() noexcept;
  RecordInner* newInner() noexcept;
  void insertChild(const Path& path, std::uint32_t depth, const std::uint64_t* separator,
                   void* child) noexcept;
  RecordInner* splitInner(RecordInner* node, std::uint32_t from, std::uint64_t* between) noexcept;
  void addChildTo(RecordInner* node, std::uint32_t place, const std::uint64_t* words,
                  void* child) noexcept;

  void removeFromLeaf(const RecordPosition& at) noexcept;
  void rebalance(RecordLeaf* leaf, const std::uint64_t* words) noexcept;
  void dropLeaf(RecordLeaf* leaf) noexcept;
  bool mergeLeaves(RecordLeaf* left, RecordLeaf* right) noexcept;
  void removeChild(const Path& path, std::uint32_t depth, std::uint32_t place) noexcept;
  void mergeInner(const Path& path, std::uint32_t depth) noexcept;
  void collapseRoot() noexcept;

  std::uint64_t* separator(RecordInner* node, std::uint32_t i) const {
    return node->separators() + std::size_t{i} * keyWords_;
  }

  memory::SlabPool inners_;
  int recordInts_;  ///< size of a record in ints
  int keyLength_;
  std::uint32_t keyWords_;
};

}  // namespace zdb::dmap
