/// Searching and changing lists of siblings.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "utree/uelnode.h"

namespace utree {

/// Where a label belongs in a list of siblings.
struct SiblingPlace {
  UELNode* before;  ///< The last node with a smaller label, or null.
  UELNode* at;      ///< The first node whose label is not smaller, or null.
};

/// The nodes of one long list of siblings in arrays, for binary search.
///
/// The arrays are cut into chunks, so that a change in a list of a million nodes moves hundreds of
/// entries only. A list without nodes has no index.
class SiblingIndex {
 public:
  /// Indexes the list and lets `list` lead to the index. Throws std::bad_alloc.
  explicit SiblingIndex(DownLink& list);
  /// Lets the list lead to its first node again.
  ~SiblingIndex() { list_->setFirst(first_); }
  SiblingIndex(const SiblingIndex&) = delete;
  SiblingIndex& operator=(const SiblingIndex&) = delete;

  UELNode* first() const { return first_; }
  UELNode* last() const { return chunks_.back().nodes.back(); }
  SiblingPlace seek(int label) const;

  /// Enters a node; no other has its label. Throws std::bad_alloc, which leaves the arrays useless.
  void insert(UELNode* node);
  /// Removes the node with this label.
  void erase(int label);
  bool empty() const { return chunks_.empty(); }

  std::size_t slot = 0;  ///< Where the owner keeps this index.

 private:
  /// Most entries of a chunk: moving half of them costs about as much as a cache miss.
  static constexpr std::size_t kChunk = 512;

  struct Chunk {
    int first;  ///< The label in front.
    int last;   ///< The label at the back.
    std::vector<int> labels;
    std::vector<UELNode*> nodes;
  };

  std::size_t chunkOf(int label) const;
  static std::size_t countBelow(const Chunk& chunk, int label);
  void insertIn(Chunk& chunk, UELNode* node);
  void split(std::size_t chunk);

  DownLink* list_;
  UELNode* first_;
  std::vector<Chunk> chunks_;
};

inline UELNode* DownLink::first() const {
  if ((bits_ & kTagMask) == 0) return reinterpret_cast<UELNode*>(bits_);
  return hasValues() ? nullptr : index()->first();
}

/// The operations on the lists of one tree, and the indexes of those lists that need one.
///
/// A list gets its index from the first search that walks far in it; trees that are only filled in
/// order and walked have none. An index that cannot be allocated is done without.
class Siblings {
 public:
  Siblings() = default;
  Siblings(const Siblings&) = delete;
  Siblings& operator=(const Siblings&) = delete;

  /// Looks for a label. `from`, if given, is a node of the list whose label is not larger, where
  /// the search may begin.
  SiblingPlace seek(DownLink& list, int label, UELNode* from = nullptr);
  /// The last node of the list, or null if it is empty.
  UELNode* last(DownLink& list);
  /// Enters a new node behind `before`, or first if that is null.
  void link(DownLink& list, UELNode* before, UELNode* node) noexcept;
  /// Takes out the node behind `before`, or the first one if that is null.
  void unlink(DownLink& list, UELNode* before, UELNode* node) noexcept;
  /// Drops all indexes.
  void clear() noexcept { indexes_.clear(); }

 private:
  SiblingIndex* makeIndex(DownLink& list) noexcept;
  void drop(SiblingIndex* index) noexcept;

  std::vector<std::unique_ptr<SiblingIndex>> indexes_;
};

}  // namespace utree
