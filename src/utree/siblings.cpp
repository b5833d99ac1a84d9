#include "utree/siblings.h"

#include <algorithm>
#include <new>
#include <utility>

namespace utree {

namespace {

/// Nodes that a search passes before its list gets an index. For shorter lists an index would take
/// more memory than the nodes themselves.
constexpr int kFarWalk = 32;

/// Number of labels less than `label`. No comparison is a branch, since none could be predicted.
std::size_t countBelow(const int* labels, std::size_t length, int label) {
  std::size_t low = 0;
  while (length > 0) {
    const std::size_t half = (length + 1) / 2;
    low += half & (std::size_t{0} - std::size_t{labels[low + half - 1] < label});
    length -= half;
  }
  return low;
}

}  // namespace

// SiblingIndex.

SiblingIndex::SiblingIndex(DownLink& list) : list_(&list), first_(list.first()) {
  std::size_t left = 0;
  for (const UELNode* node = first_; node != nullptr; node = node->right) ++left;
  chunks_.reserve((left + kChunk - 1) / kChunk);
  for (UELNode* node = first_; node != nullptr; node = node->right, --left) {
    if (chunks_.empty() || chunks_.back().nodes.size() == kChunk) {
      Chunk& chunk = chunks_.emplace_back(Chunk{node->uel, node->uel, {}, {}});
      chunk.labels.reserve(std::min(left, kChunk));
      chunk.nodes.reserve(std::min(left, kChunk));
    }
    chunks_.back().labels.push_back(node->uel);
    chunks_.back().nodes.push_back(node);
    chunks_.back().last = node->uel;
  }
  list.setIndex(this);
}

/// The last chunk whose first label is not greater than this one, or the first chunk.
std::size_t SiblingIndex::chunkOf(int label) const {
  if (chunks_.size() == 1) return 0;
  const auto above = std::upper_bound(chunks_.begin() + 1, chunks_.end(), label,
                                      [](int l, const Chunk& chunk) { return l < chunk.first; });
  return static_cast<std::size_t>(above - chunks_.begin()) - 1;
}

/// Where a label would be if labels were evenly spaced.
/// REQUIRES chunk.first < label <= chunk.last.
std::size_t SiblingIndex::guess(const Chunk& chunk, int label) {
  const auto offset = static_cast<std::uint64_t>(std::int64_t{label} - chunk.first);
  const auto range = static_cast<std::uint64_t>(std::int64_t{chunk.last} - chunk.first);
  return offset * (chunk.labels.size() - 1) / range;
}

void SiblingIndex::prefetchNear(int label) const {
  const Chunk& chunk = chunks_[chunkOf(label)];
  if (label <= chunk.first || label > chunk.last) return;
  const std::size_t place = guess(chunk, label);
  zdb::memory::prefetch(chunk.labels.data() + place);
  zdb::memory::prefetch(chunk.nodes.data() + place);
}

/// The labels of a list are usually dense, so the search starts where evenly spaced ones would be.
std::size_t SiblingIndex::countBelow(const Chunk& chunk, int label) {
  const std::size_t size = chunk.labels.size();
  if (label <= chunk.first) return 0;
  if (label > chunk.last) return size;
  const std::size_t guess = SiblingIndex::guess(chunk, label);
  const int* labels = chunk.labels.data();
  if (labels[guess] == label) return guess;
  if (labels[guess] > label) return utree::countBelow(labels, guess, label);
  return guess + 1 + utree::countBelow(labels + guess + 1, size - guess - 1, label);
}

SiblingPlace SiblingIndex::seek(int label) const {
  const std::size_t i = chunkOf(label);
  const Chunk& chunk = chunks_[i];
  const std::size_t place = countBelow(chunk, label);
  SiblingPlace found{nullptr, nullptr};
  if (place > 0) {
    found.before = chunk.nodes[place - 1];
  } else if (i > 0) {
    found.before = chunks_[i - 1].nodes.back();
  }
  if (place < chunk.nodes.size()) {
    found.at = chunk.nodes[place];
  } else if (i + 1 < chunks_.size()) {
    found.at = chunks_[i + 1].nodes.front();
  }
  return found;
}

void SiblingIndex::insert(UELNode* node) {
  std::size_t i = chunkOf(node->uel);
  if (chunks_[i].nodes.size() == kChunk) {
    // A list that grows at its end should end up with full chunks.
    const bool isAppended = i + 1 == chunks_.size() && node->uel > chunks_[i].last;
    if (isAppended) {
      chunks_.push_back({node->uel, node->uel, {node->uel}, {node}});
      return;
    }
    split(i);
    i = chunkOf(node->uel);
  }
  insertIn(chunks_[i], node);
  first_ = chunks_.front().nodes.front();
}

void SiblingIndex::insertIn(Chunk& chunk, UELNode* node) {
  const auto place = static_cast<std::ptrdiff_t>(countBelow(chunk, node->uel));
  chunk.labels.insert(chunk.labels.begin() + place, node->uel);
  chunk.nodes.insert(chunk.nodes.begin() + place, node);
  chunk.first = chunk.labels.front();
  chunk.last = chunk.labels.back();
}

void SiblingIndex::split(std::size_t chunk) {
  Chunk& left = chunks_[chunk];
  constexpr std::ptrdiff_t kHalf = kChunk / 2;
  Chunk right{left.labels[kHalf],
              left.last,
              {left.labels.begin() + kHalf, left.labels.end()},
              {left.nodes.begin() + kHalf, left.nodes.end()}};
  left.labels.resize(kHalf);
  left.nodes.resize(kHalf);
  left.last = left.labels.back();
  chunks_.insert(chunks_.begin() + static_cast<std::ptrdiff_t>(chunk) + 1, std::move(right));
}

void SiblingIndex::erase(int label) {
  const std::size_t i = chunkOf(label);
  Chunk& chunk = chunks_[i];
  const auto place = static_cast<std::ptrdiff_t>(countBelow(chunk, label));
  chunk.labels.erase(chunk.labels.begin() + place);
  chunk.nodes.erase(chunk.nodes.begin() + place);
  if (chunk.labels.empty()) {
    chunks_.erase(chunks_.begin() + static_cast<std::ptrdiff_t>(i));
  } else {
    chunk.first = chunk.labels.front();
    chunk.last = chunk.labels.back();
  }
  first_ = chunks_.empty() ? nullptr : chunks_.front().nodes.front();
}

// Siblings.

SiblingPlace Siblings::seek(DownLink& list, int label, UELNode* from) {
  if (from != nullptr && from->uel == label) return {nullptr, from};
  if (const SiblingIndex* index = list.index()) return index->seek(label);
  SiblingPlace place{nullptr, from != nullptr ? from : list.first()};
  for (int steps = 0; place.at != nullptr && place.at->uel < label; ++steps) {
    if (steps == kFarWalk) {
      if (const SiblingIndex* index = makeIndex(list)) return index->seek(label);
    }
    place = {place.at, place.at->right};
  }
  return place;
}

UELNode* Siblings::last(DownLink& list) {
  if (const SiblingIndex* index = list.index()) return index->last();
  UELNode* node = list.first();
  for (int steps = 0; node != nullptr && node->right != nullptr; ++steps) {
    if (steps == kFarWalk) {
      if (const SiblingIndex* index = makeIndex(list)) return index->last();
    }
    node = node->right;
  }
  return node;
}

void Siblings::link(DownLink& list, UELNode* before, UELNode* node) noexcept {
  node->right = before == nullptr ? list.first() : before->right;
  if (before != nullptr) before->right = node;
  SiblingIndex* index = list.index();
  if (index == nullptr) {
    if (before == nullptr) list.setFirst(node);
    return;
  }
  try {
    index->insert(node);
  } catch (const std::bad_alloc&) {
    drop(index);
    if (before == nullptr) list.setFirst(node);
  }
}

void Siblings::unlink(DownLink& list, UELNode* before, UELNode* node) noexcept {
  if (before != nullptr) before->right = node->right;
  if (SiblingIndex* index = list.index()) {
    index->erase(node->uel);
    if (index->empty()) drop(index);
  } else if (before == nullptr) {
    list.setFirst(node->right);
  }
}

SiblingIndex* Siblings::makeIndex(DownLink& list) noexcept {
  try {
    auto index = std::make_unique<SiblingIndex>(list);
    index->slot = indexes_.size();
    indexes_.push_back(std::move(index));
    return indexes_.back().get();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void Siblings::drop(SiblingIndex* index) noexcept {
  const std::size_t slot = index->slot;
  indexes_.back()->slot = slot;
  std::swap(indexes_[slot], indexes_.back());
  indexes_.pop_back();
}

}  // namespace utree
