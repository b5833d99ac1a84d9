#include "utree/utree.h"

#include <algorithm>
#include <cstddef>
#include <new>
#include <stdexcept>

#include "memory/pages.h"

namespace utree {

namespace {

int checkedDim(int dim) {
  if (dim < 1 || dim > kMaxLevels) {
    throw std::invalid_argument("A label tree has 1 to 20 levels, not " + std::to_string(dim));
  }
  return dim;
}

}  // namespace

/// Positions rely on the number of levels, so it is checked before any is made.
UTree::UTree(int dim, int valueWidth)
    : dim_(checkedDim(dim)),
      valueWidth_(valueWidth),
      numValues_(valueWidth < 2 ? 1 : 5),
      last_(dim_) {}

UTree::UTree(const UTree& other) : UTree(other.dim_, other.valueWidth_) {
  traverseCopy(other.root_, root_, 0);
  size_ = other.size_;
  last_ = last();
}

/// Recursive in the levels only, since a list can be a million nodes long.
void UTree::traverseCopy(const DownLink& from, DownLink& to, int level) {
  UELNode* before = nullptr;
  for (const UELNode* node = from.first(); node != nullptr; node = node->right) {
    UELNode* copy = allocateNode(node->uel);
    if (before == nullptr) {
      to.setFirst(copy);
    } else {
      before->right = copy;
    }
    if (level + 1 < dim_) {
      traverseCopy(node->down, copy->down, level + 1);
    } else {
      copy->down.setValues(storeValues(node->down.values()));
    }
    before = copy;
  }
}

void UTree::reserve(int n) {
  if (n < 1) return;
  const auto records = static_cast<std::size_t>(n);
  nodes_.setBlockSize(records * sizeof(UELNode));
  valueBlocks_.setBlockSize(records * static_cast<std::size_t>(numValues_) * sizeof(double));
}

// Searching.

UTree::Descent UTree::descend(const int* key, const UELNodeIt* start, UELNodeIt& path) const {
  for (int level = 0; level < dim_; ++level) {
    UELNode* from = nullptr;
    if (start != nullptr && !start->isEnd() && key[level] >= (*start)[level]->uel) {
      from = (*start)[level];
    }
    const SiblingPlace place = siblings_.seek(listAt(path, level), key[level], from);
    if (place.at == nullptr || place.at->uel != key[level]) return {level, place};
    path.set(level, place.at);
    if (place.at != from) start = nullptr;
  }
  return {dim_, {}};
}

std::optional<UELNodeIt> UTree::find(const int* key, const UELNodeIt* start) const {
  std::optional<UELNodeIt> found(std::in_place, dim_);
  if (descend(key, start, *found).level < dim_) found.reset();
  return found;
}

bool UTree::contains(const int* key) const {
  UELNodeIt path(dim_);
  return descend(key, nullptr, path).level == dim_;
}

std::optional<UELNodeIt> UTree::lower_bound(const int* key) const {
  if (empty() || isAboveLast(key)) return std::nullopt;
  UELNodeIt path(dim_);
  const Descent descent = descend(key, nullptr, path);
  if (descent.level == dim_) return path;
  if (descent.place.at != nullptr) {
    path.set(descent.level, descent.place.at);
    firstBelow(path, dim_ - 1 - descent.level);
  } else {
    climb(path, dim_ - descent.level);
  }
  return path.isEnd() ? std::nullopt : std::optional(path);
}

UELNodeIt UTree::findPredecessor(const int* key) const {
  const std::optional<UELNodeIt> bound = lower_bound(key);
  if (!bound) return last();
  const UELNodeIt before = prev(*bound);
  return before == *bound ? end() : before;
}

// Walking.

/// Moves to the first record below the node at this height. Returns false if there is none, which
/// is the case in erased branches only.
bool UTree::firstBelow(UELNodeIt& path, int height) {
  for (; height > 0; --height) {
    UELNode* first = path.atHeight(height)->down.first();
    if (first == nullptr) return false;
    path.setAtHeight(height - 1, first);
  }
  return true;
}

bool UTree::lastBelow(UELNodeIt& path, int height) const {
  for (; height > 0; --height) {
    UELNode* last = siblings_.last(path.atHeight(height)->down);
    if (last == nullptr) return false;
    path.setAtHeight(height - 1, last);
  }
  return true;
}

/// Moves to the first record after all those below the node at this height.
void UTree::climb(UELNodeIt& it, int height) const {
  while (height < dim_) {
    UELNode* right = it.atHeight(height)->right;
    if (right == nullptr) {
      ++height;
      continue;
    }
    it.setAtHeight(height, right);
    if (firstBelow(it, height)) return;
  }
  it.clear();
}

UELNodeIt UTree::begin() const {
  UELNodeIt it(dim_);
  if (UELNode* first = root_.first(); first != nullptr) {
    it.set(0, first);
    firstBelow(it, dim_ - 1);
  }
  return it;
}

UELNodeIt UTree::last() const {
  UELNodeIt it(dim_);
  if (UELNode* last = siblings_.last(root_); last != nullptr) {
    it.set(0, last);
    lastBelow(it, dim_ - 1);
  }
  return it;
}

UELNodeIt UTree::prev(const UELNodeIt& it) const {
  if (it.isEnd()) return last();
  UELNodeIt before = it;
  for (int level = dim_ - 1; level >= 0; --level) {
    const SiblingPlace place = siblings_.seek(listAt(it, level), it[level]->uel);
    if (place.before == nullptr) continue;
    before.set(level, place.before);
    if (lastBelow(before, dim_ - 1 - level)) return before;
  }
  return it;
}

int UTree::index(const UELNodeIt& it) const {
  if (it.isEnd()) return static_cast<int>(size_);
  int count = 0;
  for (UELNodeIt at = begin(); !at.isEnd(); nextInPlace(at), ++count) {
    if (at == it) return count;
  }
  return -1;
}

UELNodeIt UTree::withIndex(int i) const {
  UELNodeIt at = begin();
  for (; i > 0 && !at.isEnd(); --i) nextInPlace(at);
  return at;
}

bool UTree::dereferenceIterator(const UELNodeIt& it, int* key, double* values) const {
  if (it.isEnd()) return false;
  if (key != nullptr) {
    it.copyLabels(key);
  }
  if (values != nullptr) std::copy_n(it.leaf()->down.values(), numValues_, values);
  return true;
}

void UTree::findMany(const int* keys, int count, double** rows) const {
  for (int done = 0; done < count; done += kGroup, keys += std::ptrdiff_t{kGroup} * dim_) {
    const int group = std::min(kGroup, count - done);
    DownLink* lists[kGroup];
    std::fill_n(lists, group, &root_);
    for (int level = 0; level < dim_; ++level) findLevel(keys + level, group, lists);
    for (int i = 0; i < group; ++i) {
      rows[done + i] = lists[i] == nullptr ? nullptr : lists[i]->values();
    }
  }
}

/// Takes each search of a group down one level; null where it ends. What a step reads, the step
/// before has prefetched for all.
void UTree::findLevel(const int* labels, int group, DownLink** lists) const {
  const auto label = [&](int i) { return labels[std::ptrdiff_t{i} * dim_]; };
  UELNode* nodes[kGroup];
  const auto forIndexes = [&](auto visit) {
    for (int i = 0; i < group; ++i) {
      const SiblingIndex* index = lists[i] == nullptr ? nullptr : lists[i]->index();
      if (index != nullptr) visit(*index, i);
    }
  };
  forIndexes([](const SiblingIndex& index, int) { index.prefetchChunks(); });
  forIndexes([&](const SiblingIndex& index, int i) { index.prefetchNear(label(i)); });
  for (int i = 0; i < group; ++i) {
    nodes[i] = lists[i] == nullptr ? nullptr : siblings_.seek(*lists[i], label(i)).at;
    if (nodes[i] != nullptr) zdb::memory::prefetch(nodes[i]);
  }
  for (int i = 0; i < group; ++i) {
    const bool isFound = nodes[i] != nullptr && nodes[i]->uel == label(i);
    lists[i] = isFound ? &nodes[i]->down : nullptr;
    if (!isFound) continue;
    // Lists that have been filled in order lie in one piece.
    const auto* next = static_cast<const char*>(lists[i]->address());
    zdb::memory::prefetch(next);
    zdb::memory::prefetch(next + 64);
  }
}

int UTree::copyRecords(UELNodeIt& it, int most, int* keys, double* values) const {
  int* const labels = keys + std::ptrdiff_t{dim_ - 1} * most;
  int count = 0;
  while (!it.isEnd() && count < most) {
    const int start = count;
    UELNode* node = it.leaf();
    UELNode* last = node;
    for (; node != nullptr && count < most; node = node->right, ++count) {
      const double* row = node->down.values();
      labels[count] = node->uel;
      values[count] = row[0];
      for (int field = 1; field < numValues_; ++field) {
        values[std::ptrdiff_t{field} * most + count] = row[field];
      }
      last = node;
    }
    for (int level = 0; level < dim_ - 1; ++level) {
      std::fill(keys + std::ptrdiff_t{level} * most + start,
                keys + std::ptrdiff_t{level} * most + count, it[level]->uel);
    }
    it.setLeaf(last);
    nextInPlace(it);
  }
  return count;
}

// Changing.

/// Makes the nodes of a record from `level` down. Nothing points to them yet, so a failed
/// allocation leaves the tree as it was.
UELNode* UTree::newBranch(const int* key, const double* values, int level) {
  UELNode* branch = allocateNode(key[level]);
  UELNode* node = branch;
  while (++level < dim_) {
    UELNode* below = allocateNode(key[level]);
    node->down.setFirst(below);
    node = below;
  }
  node->down.setValues(storeValues(values));
  return branch;
}

/// Inserts a new branch after `before`, or at the front, into the list that `path` points to, and
/// extends `path` to its record.
void UTree::enter(UELNode* branch, UELNode* before, int level, UELNodeIt& path) {
  siblings_.link(listAt(path, level), before, branch);
  path.set(level, branch);
  firstBelow(path, dim_ - 1 - level);
  ++size_;
}

double* UTree::storeValues(const double* values) {
  double* stored = allocateValues(numValues_);
  assign(stored, values);
  return stored;
}

UELNodeIt UTree::seedFirstRecord(const int* key, const double* values) {
  enter(newBranch(key, values, 0), nullptr, 0, last_);
  return last_;
}

void UTree::assign(double* stored, const double* values) const {
  stored[0] = values[0];
  if (numValues_ > 1) std::copy_n(values + 1, 4, stored + 1);
}

/// The level on which the key leaves the path of the last record, or dim.
int UTree::firstDifference(const int* key) const {
  int level = 0;
  while (level < dim_ && key[level] == last_[level]->uel) ++level;
  return level;
}

bool UTree::isAboveLast(const int* key) const {
  const int level = firstDifference(key);
  return level < dim_ && key[level] > last_[level]->uel;
}

UELNodeIt UTree::emplace_end(const int* key, const double* values) {
  if (empty()) return seedFirstRecord(key, values);
  const int level = firstDifference(key);
  if (level == dim_) {
    assign(last_.leaf()->down.values(), values);
  } else if (key[level] < last_[level]->uel) {
    return emplace(key, values, &last_);
  } else {
    enter(newBranch(key, values, level), last_[level], level, last_);
  }
  return last_;
}

UELNodeIt UTree::emplace(const int* key, const double* values, const UELNodeIt* hint) {
  if (empty()) return emplace_end(key, values);
  // Only the largest key gets new values; any other existing one keeps its own.
  if (firstDifference(key) == dim_ || isAboveLast(key)) return emplace_end(key, values);
  UELNodeIt path(dim_);
  const Descent descent = descend(key, hint, path);
  if (descent.level == dim_) return path;
  UELNode* branch = newBranch(key, values, descent.level);
  enter(branch, descent.place.before, descent.level, path);
  return path;
}

void UTree::erase(const UELNodeIt& it) {
  if (it.isEnd() || it.dim() != dim_) return;
  UELNode* before[kMaxLevels] = {};
  for (int level = 0; level < dim_; ++level) {
    const SiblingPlace place = siblings_.seek(listAt(it, level), it[level]->uel);
    if (place.at != it[level]) return;
    before[level] = place.before;
  }
  if (it == last_) last_ = size_ >= 2 ? prev(it) : end();
  int level = dim_;
  do {
    --level;
    siblings_.unlink(listAt(it, level), before[level], it[level]);
  } while (level > 0 && listAt(it, level).first() == nullptr);
  --size_;
}

bool UTree::erase(const int* key) {
  const std::optional<UELNodeIt> found = find(key);
  if (found) erase(*found);
  return found.has_value();
}

void UTree::clear() {
  siblings_.clear();  // while the lists still exist
  root_.setFirst(nullptr);
  last_.clear();
  size_ = 0;
}

}  // namespace utree
