#include "dmap/recordtree.h"

#include <algorithm>

#include "dmap/keywords.h"
#include "dmap/tagmatch.h"

namespace zdb::dmap {

namespace {

/// Most symbols have few records.
constexpr std::uint32_t kFirstRecords = 8;
constexpr std::uint32_t kFirstNodes = 1;

constexpr std::uint32_t innerBytes(int keyLength) {
  return static_cast<std::uint32_t>(sizeof(RecordInner) + (RecordInner::kFanout - 1) *
                                                              wordsPerKey(keyLength) *
                                                              sizeof(std::uint64_t));
}

}  // namespace

RecordTreeBase::RecordTreeBase(int keyLength, int doubles)
    : records_(recordBytes(keyLength, doubles), kFirstRecords, keyOffset(keyLength)),
      leaves_(sizeof(RecordLeaf), kFirstNodes),
      inners_(innerBytes(keyLength), kFirstNodes),
      recordInts_(static_cast<int>(recordBytes(keyLength, doubles) / sizeof(int))),
      keyLength_(keyLength),
      keyWords_(static_cast<std::uint32_t>(wordsPerKey(keyLength))) {}

void RecordTreeBase::clear() noexcept {
  records_.clear();
  leaves_.clear();
  inners_.clear();
  root_ = nullptr;
  height_ = 0;
  first_ = last_ = nullptr;
  lastKey_ = nullptr;
  size_ = 0;
  isInOrder_ = true;
}

// Walking.

RecordPosition RecordTreeBase::nextInChain(RecordPosition at) const {
  if (!locate(at)) return end();
  if (at.place + 1 < at.leaf->count) return positionIn(at.leaf, at.place + 1);
  RecordLeaf* leaf = leafAt(at.leaf->next);
  if (leaf == nullptr) return end();
  if (!isInOrder_) prefetchAhead(*leaf);
  return positionIn(leaf, 0);
}

/// Called when a walk enters a leaf: prefetches the records of the next leaf, which may be
/// anywhere, and the leaf after that, so that the walk does not wait for either.
void RecordTreeBase::prefetchAhead(const RecordLeaf& leaf) const {
  const RecordLeaf* next = leafAt(leaf.next);
  if (next == nullptr) return;
  if (const RecordLeaf* after = leafAt(next->next); after != nullptr) prefetchLeaf(after);
  if (next->run != RecordLeaf::kNoRun) return;
  for (std::uint32_t i = 0; i < next->count; ++i) memory::prefetch(keyAt(next->slots[i]));
}

void RecordTreeBase::prev(RecordPosition& at) const {
  const bool isEnd = at.leaf == nullptr;
  if (isEnd && last_ != nullptr) {
    at = positionIn(last_, last_->count - 1U);
  } else if (locate(at)) {
    if (at.place > 0) {
      at = positionIn(at.leaf, at.place - 1);
    } else if (RecordLeaf* leaf = leafAt(at.leaf->prev); leaf != nullptr) {
      at = positionIn(leaf, leaf->count - 1U);
    }
  }
}

RecordRun RecordTreeBase::takeRun(RecordPosition& at, RunBuffer& buffer) const {
  RecordRun run;
  if (!locate(at)) return run;
  const RecordLeaf& leaf = *at.leaf;
  const int* keys = at.key;
  run.count = static_cast<int>(leaf.count - at.place);
  if (leaf.run == RecordLeaf::kNoRun) {
    static_assert(sizeof(RunBuffer) >=
                  RecordLeaf::kCapacity * recordBytes(kMaxDim, 5) + sizeof(double));
    // As the records lie elsewhere: keys such that the values after them are aligned.
    auto* copies = reinterpret_cast<std::byte*>(&buffer) + keyOffset(keyLength_);
    keys = reinterpret_cast<const int*>(copies);
    for (std::uint32_t place = at.place; place < leaf.count; ++place) {
      std::copy_n(keyAt(leaf.slots[place]),
                  recordInts_ - static_cast<int>(keyOffset(keyLength_)) / 4,
                  reinterpret_cast<int*>(copies));
      copies += static_cast<std::size_t>(recordInts_) * sizeof(int);
    }
  }
  run.keys = keys;
  run.keyStep = recordInts_;
  run.values = reinterpret_cast<const double*>(keys + keyLength_);
  run.valueStep = recordInts_ / 2;
  RecordLeaf* next = leafAt(leaf.next);
  at = next == nullptr ? end() : positionIn(next, 0);
  if (next != nullptr && !isInOrder_) prefetchAhead(*next);
  return run;
}

bool RecordTreeBase::locate(RecordPosition& at) const {
  if (at.leaf == nullptr) return false;
  if (at.place < at.leaf->count && at.leaf->slots[at.place] == at.slot) return true;
  const auto findIn = [&at](RecordLeaf* leaf) {
    const std::uint32_t* slots = leaf->slots;
    const std::uint32_t* found = std::find(slots, slots + leaf->count, at.slot);
    at.leaf = leaf;
    at.place = static_cast<std::uint32_t>(found - slots);
    return at.place < leaf->count;
  };
  if (findIn(at.leaf)) return true;
  if (root_ != nullptr) {
    // The memory of an erased record is still readable. Whatever it holds, no leaf refers to
    // its slot.
    std::uint64_t words[kMaxKeyWords];
    packKey(at.key, keyLength_, words);
    RecordLeaf* leaf = nullptr;
    pathTo(words, leaf);
    if (findIn(leaf)) return true;
  }
  at = end();
  return false;
}

std::int64_t RecordTreeBase::rank(RecordPosition at) const {
  if (!locate(at)) return -1;
  std::int64_t before = at.place;
  for (const RecordLeaf* leaf = leafAt(at.leaf->prev); leaf != nullptr; leaf = leafAt(leaf->prev)) {
    before += leaf->count;
  }
  return before;
}

RecordPosition RecordTreeBase::atRank(std::uint64_t rank) const {
  RecordLeaf* leaf = first_;
  while (leaf != nullptr && rank >= leaf->count) {
    rank -= leaf->count;
    leaf = leafAt(leaf->next);
  }
  return leaf == nullptr ? end() : positionIn(leaf, static_cast<std::uint32_t>(rank));
}

RecordTreeBase::Path RecordTreeBase::pathTo(const std::uint64_t* words, RecordLeaf*& leaf) const {
  Path path;
  void* node = root_;
  for (std::uint32_t depth = 0; depth < height_; ++depth) {
    auto* inner = static_cast<RecordInner*>(node);
    path.nodes[depth] = inner;
    path.children[depth] = childFor(inner, words);
    node = inner->children[path.children[depth]];
  }
  leaf = static_cast<RecordLeaf*>(node);
  return path;
}

std::uint32_t RecordTreeBase::childFor(RecordInner* node, const std::uint64_t* words) const {
  std::uint32_t place = 0;
  const int count = static_cast<int>(keyWords_);
  while (place + 1 < node->count && !wordsLess(words, separator(node, place), count)) ++place;
  return place;
}

// Growing.

RecordLeaf* RecordTreeBase::newLeaf() noexcept {
  const std::uint32_t id = leaves_.allocate();
  auto* leaf = reinterpret_cast<RecordLeaf*>(leaves_.at(id));
  leaf->next = leaf->prev = RecordLeaf::kNone;
  leaf->run = RecordLeaf::kNoRun;
  leaf->count = 0;
  leaf->id = id;
  return leaf;
}

RecordInner* RecordTreeBase::newInner() noexcept {
  const std::uint32_t id = inners_.allocate();
  auto* inner = reinterpret_cast<RecordInner*>(inners_.at(id));
  inner->count = 0;
  inner->id = id;
  return inner;
}

RecordLeaf* RecordTreeBase::addLastLeaf(const std::uint64_t* words) {
  if (last_ == nullptr) {
    leaves_.ensure(1);
    first_ = last_ = newLeaf();
    root_ = first_;
  } else {
    RecordLeaf* leaf = last_;
    std::uint32_t place = leaf->count;
    splitLeaf(leaf, place, words);
  }
  return last_;
}

RecordPosition RecordTreeBase::enterBefore(RecordLeaf* leaf, std::uint32_t place,
                                           std::uint32_t slot, int* record, std::uint8_t tag) {
  const std::uint32_t count = leaf->count;
  std::copy_backward(leaf->tags + place, leaf->tags + count, leaf->tags + count + 1);
  std::copy_backward(leaf->slots + place, leaf->slots + count, leaf->slots + count + 1);
  leaf->tags[place] = tag;
  leaf->slots[place] = slot;
  leaf->run = count == 0 ? slot : RecordLeaf::kNoRun;
  leaf->count = static_cast<std::uint8_t>(count + 1);
  ++size_;
  isInOrder_ = false;
  return {record, leaf, slot, place};
}

void RecordTreeBase::splitLeaf(RecordLeaf*& leaf, std::uint32_t& place,
                               const std::uint64_t* words) {
  leaves_.ensure(1);
  inners_.ensure(height_ + 1);
  RecordLeaf* left = nullptr;
  const Path path = pathTo(words, left);
  // At an edge of the leaf the new record gets a leaf to itself, so that leaves filled in ascending
  // or descending order end up full.
  std::uint32_t from = RecordLeaf::kCapacity / 2;
  if (place == 0 || place == left->count) from = place;

  RecordLeaf* right = newLeaf();
  right->count = static_cast<std::uint8_t>(left->count - from);
  std::copy_n(left->tags + from, right->count, right->tags);
  std::copy_n(left->slots + from, right->count, right->slots);
  left->count = static_cast<std::uint8_t>(from);
  if (left->run != RecordLeaf::kNoRun && right->count > 0) right->run = left->run + from;
  right->prev = left->id;
  right->next = left->next;
  left->next = right->id;
  if (RecordLeaf* after = leafAt(right->next); after != nullptr) {
    after->prev = right->id;
  } else {
    last_ = right;
  }

  std::uint64_t separator[kMaxKeyWords];
  if (right->count > 0) {
    packKey(keyAt(right->slots[0]), keyLength_, separator);
  } else {
    std::copy_n(words, keyWords_, separator);
  }
  insertChild(path, height_, separator, right);
  const bool goesRight = place > from || right->count == 0;
  leaf = goesRight ? right : left;
  if (goesRight) place -= from;
}

/// Inserts `child` to the right of the child that the path took in the node above `depth`.
void RecordTreeBase::insertChild(const Path& path, std::uint32_t depth,
                                 const std::uint64_t* separator, void* child) noexcept {
  if (depth == 0) {
    RecordInner* root = newInner();
    root->children[0] = root_;
    root->count = 1;
    addChildTo(root, 1, separator, child);
    root_ = root;
    ++height_;
    return;
  }
  RecordInner* node = path.nodes[depth - 1];
  const std::uint32_t place = path.children[depth - 1] + 1;
  if (node->count < RecordInner::kFanout) {
    addChildTo(node, place, separator, child);
    return;
  }
  std::uint64_t between[kMaxKeyWords];
  RecordInner* right = nullptr;
  if (place == node->count) {
    right = newInner();
    right->children[0] = child;
    right->count = 1;
    std::copy_n(separator, keyWords_, between);
  } else {
    constexpr std::uint32_t kHalf = RecordInner::kFanout / 2;
    right = splitInner(node, kHalf, between);
    if (place <= kHalf) {
      addChildTo(node, place, separator, child);
    } else {
      addChildTo(right, place - kHalf, separator, child);
    }
  }
  insertChild(path, depth - 1, between, right);
}

/// Moves the children from `from` on to a new node and returns the separator of the two nodes
/// in `between`.
RecordInner* RecordTreeBase::splitInner(RecordInner* node, std::uint32_t from,
                                        std::uint64_t* between) noexcept {
  RecordInner* right = newInner();
  right->count = node->count - from;
  std::copy_n(node->children + from, right->count, right->children);
  std::copy(separator(node, from), separator(node, node->count - 1), right->separators());
  std::copy_n(separator(node, from - 1), keyWords_, between);
  node->count = from;
  return right;
}

void RecordTreeBase::addChildTo(RecordInner* node, std::uint32_t place, const std::uint64_t* words,
                                void* child) noexcept {
  std::copy_backward(node->children + place, node->children + node->count,
                     node->children + node->count + 1);
  std::copy_backward(separator(node, place - 1), separator(node, node->count - 1),
                     separator(node, node->count));
  node->children[place] = child;
  std::copy_n(words, keyWords_, separator(node, place - 1));
  ++node->count;
}

}  // namespace zdb::dmap
