// Searching and changing lists of siblings.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "memory/pages.h"
#include "utree/uelnode.h"

namespace utree {

/// Where a label belongs in a list of siblings.
struct SiblingPlace {
  UELNode* before;  ///< the last node with a smaller label, or null
  UELNode* at;      ///< the first node whose label is not smaller, or null
};

/// The nodes of one long list of siblings in arrays, for binary search.
///
/// The arrays are divided into chunks, so that a change in a list of a million nodes moves only
/// hundreds of entries. A list without nodes has no index.
class SiblingIndex {
 public:
  /// Indexes the list and makes `list` point to the index. Throws std::bad_alloc.
  explicit SiblingIndex(DownLink& list);
  /// Makes the list point to its first node again.
  ~SiblingIndex() { list_->setFirst(first_); }
  SiblingIndex(const SiblingIndex&) = delete;
  SiblingIndex& operator=(const SiblingIndex&) = delete;

  UELNode* first() const { return first_; }
  UELNode* last() const { return chunks_.back().nodes.back(); }
  SiblingPlace seek(int label) const;
  /// Prefetch what a search reads first, and what it reads after that.
  void prefetchChunks() const { zdb::memory::prefetch(chunks_.data()); }
  void prefetchNear(int label) const;

  /// Inserts a node. Throws std::bad_alloc, which leaves the arrays unusable.
  /// REQUIRES no other node has its label.
  void insert(UELNode* node);
  /// Removes the node with this label.
  void erase(int label);
  bool empty() const { return chunks_.empty(); }

  std::size_t slot = 0;  ///< where the owner keeps this index

 private:
  /// Maximum number of entries in a chunk: moving half of them costs about as much as a cache miss.
  static constexpr std::size_t kChunk = 512;

  struct Chunk {
    int first;  ///< the label in front
    int last;   ///< the label at the back
    std::vector<int> labels;
    std::vector<UELNode*> nodes;
  };

  std::size_t chunkOf(int label) const;
  static std::size_t countBelow(const Chunk& chunk, int label);
  static std::size_t guess(const Chunk& chunk, int label);
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

/// The operations on the lists of one tree. Owns the indexes of those lists that need one.
///
/// A list gets its index from the first search that walks far in it; trees that are only filled in
/// order and walked have none. If an index cannot be allocated, the list is searched without.
class Siblings {
 public:
  Siblings() = default;
  Siblings(const Siblings&) = delete;
  Siblings& operator=(const Siblings&) = delete;

  /// Searches for a label. The search may start at `from`, if given.
  /// REQUIRES `from` is a node of the list whose label is not greater, or null.
  SiblingPlace seek(DownLink& list, int label, UELNode* from = nullptr);
  /// The last node of the list, or null if it is empty.
  UELNode* last(DownLink& list);
  /// Inserts a new node after `before`, or at the front if that is null.
  void link(DownLink& list, UELNode* before, UELNode* node) noexcept;
  /// Removes the node after `before`, or the first one if that is null.
  void unlink(DownLink& list, UELNode* before, UELNode* node) noexcept;
  /// Frees all indexes.
  void clear() noexcept { indexes_.clear(); }

 private:
  SiblingIndex* makeIndex(DownLink& list) noexcept;
  void drop(SiblingIndex* index) noexcept;

  std::vector<std::unique_ptr<SiblingIndex>> indexes_;
};

}  // namespace utree
