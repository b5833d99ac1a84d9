#include <algorithm>

#include "dmap/keywords.h"
#include "dmap/recordtree.h"

namespace zdb::dmap {

namespace {

/// A node below the first limit is merged with a neighbour if both fit into the second, so that a
/// merged node neither splits nor merges again soon.
constexpr std::uint32_t kSmallLeaf = RecordLeaf::kCapacity / 4;
constexpr std::uint32_t kMergedLeaf = RecordLeaf::kCapacity * 3 / 4;
constexpr std::uint32_t kSmallInner = RecordInner::kFanout / 4;
constexpr std::uint32_t kMergedInner = RecordInner::kFanout * 3 / 4;

}  // namespace

void RecordTreeBase::erase(RecordPosition at) {
  if (!locate(at)) return;
  isInOrder_ = false;
  removeFromLeaf(at);
  if (at.leaf->count < kSmallLeaf) {
    std::uint64_t words[kMaxKeyWords];
    packKey(at.key, keyLength_, words);
    rebalance(at.leaf, words);
  }
  records_.free(at.slot);
  if (last_ == nullptr) {
    lastKey_ = nullptr;
  } else if (at.key == lastKey_) {
    lastKey_ = keyAt(last_->slots[last_->count - 1]);
  }
}

void RecordTreeBase::removeFromLeaf(const RecordPosition& at) noexcept {
  RecordLeaf& leaf = *at.leaf;
  if (leaf.run != RecordLeaf::kNoRun && at.place + 1 != leaf.count) {
    leaf.run = at.place == 0 ? leaf.run + 1 : RecordLeaf::kNoRun;
  }
  std::copy(leaf.tags + at.place + 1, leaf.tags + leaf.count, leaf.tags + at.place);
  std::copy(leaf.slots + at.place + 1, leaf.slots + leaf.count, leaf.slots + at.place);
  --leaf.count;
  --size_;
}

/// Frees a leaf that has become empty, or merges one that has become small with a sibling. `words`
/// is a key in the leaf's range.
void RecordTreeBase::rebalance(RecordLeaf* leaf, const std::uint64_t* words) noexcept {
  RecordLeaf* found = nullptr;
  const Path path = pathTo(words, found);
  if (leaf->count == 0) {
    dropLeaf(leaf);
    removeChild(path, height_, height_ == 0 ? 0 : path.children[height_ - 1]);
  } else if (height_ > 0) {
    const RecordInner* parent = path.nodes[height_ - 1];
    const std::uint32_t place = path.children[height_ - 1];
    if (place + 1 < parent->count && mergeLeaves(leaf, leafAt(leaf->next))) {
      removeChild(path, height_, place + 1);
    } else if (place > 0 && mergeLeaves(leafAt(leaf->prev), leaf)) {
      removeChild(path, height_, place);
    }
  }
  collapseRoot();
}

/// Unlinks and frees a leaf. Its count becomes 0, by which positions that still refer to it notice.
void RecordTreeBase::dropLeaf(RecordLeaf* leaf) noexcept {
  RecordLeaf* before = leafAt(leaf->prev);
  RecordLeaf* after = leafAt(leaf->next);
  if (before != nullptr) before->next = leaf->next;
  if (after != nullptr) after->prev = leaf->prev;
  if (leaf == first_) first_ = after;
  if (leaf == last_) last_ = before;
  leaf->count = 0;
  leaves_.free(leaf->id);
}

bool RecordTreeBase::mergeLeaves(RecordLeaf* left, RecordLeaf* right) noexcept {
  if (left->count + right->count > static_cast<int>(kMergedLeaf)) return false;
  std::copy_n(right->tags, right->count, left->tags + left->count);
  std::copy_n(right->slots, right->count, left->slots + left->count);
  left->run = RecordLeaf::kNoRun;
  left->count = static_cast<std::uint8_t>(left->count + right->count);
  dropLeaf(right);
  return true;
}

/// Removes child `place` from the node above `depth`, and that node too if it was its last child.
void RecordTreeBase::removeChild(const Path& path, std::uint32_t depth,
                                 std::uint32_t place) noexcept {
  if (depth == 0) {
    root_ = nullptr;
    return;
  }
  RecordInner* node = path.nodes[depth - 1];
  std::copy(node->children + place + 1, node->children + node->count, node->children + place);
  if (node->count > 1) {
    // The first child's range begins where the node's begins, any other's at the separator
    // before it.
    const std::uint32_t gone = place == 0 ? 0 : place - 1;
    std::copy(separator(node, gone + 1), separator(node, node->count - 1), separator(node, gone));
  }
  --node->count;
  if (node->count == 0) {
    inners_.free(node->id);
    removeChild(path, depth - 1, depth == 1 ? 0 : path.children[depth - 2]);
  } else if (node->count < kSmallInner && depth > 1) {
    mergeInner(path, depth - 1);
  }
}

/// Merges the node at `depth` with a sibling if both fit into one node.
void RecordTreeBase::mergeInner(const Path& path, std::uint32_t depth) noexcept {
  RecordInner* parent = path.nodes[depth - 1];
  const std::uint32_t place = path.children[depth - 1];
  if (parent->count == 1) return;
  const std::uint32_t rightPlace = place + 1 < parent->count ? place + 1 : place;
  auto* left = static_cast<RecordInner*>(parent->children[rightPlace - 1]);
  auto* right = static_cast<RecordInner*>(parent->children[rightPlace]);
  if (left->count + right->count > kMergedInner) return;
  std::copy_n(separator(parent, rightPlace - 1), keyWords_, separator(left, left->count - 1));
  std::copy(right->separators(), separator(right, right->count - 1), separator(left, left->count));
  std::copy_n(right->children, right->count, left->children + left->count);
  left->count += right->count;
  inners_.free(right->id);
  removeChild(path, depth, rightPlace);
}

/// Removes levels that no longer branch.
void RecordTreeBase::collapseRoot() noexcept {
  if (root_ == nullptr) height_ = 0;
  while (height_ > 0) {
    auto* inner = static_cast<RecordInner*>(root_);
    if (inner->count > 1) return;
    root_ = inner->children[0];
    inners_.free(inner->id);
    --height_;
  }
}

}  // namespace zdb::dmap
