// Searching and inserting in a record tree, for one key length and number of values.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>

#include "dmap/keywords.h"
#include "dmap/recordtree.h"
#include "dmap/tagmatch.h"

namespace zdb::dmap {

/// A record tree with keys of N labels and W doubles per record.
template <int N, int W>
class RecordTree final : public RecordTreeBase {
 public:
  RecordTree() : RecordTreeBase(N, W) {}

  RecordPosition find(const int* key) override {
    if (root_ == nullptr) return end();
    const Words words(key);
    RecordLeaf* leaf = descend(words);
    const RecordPosition found = findInLeaf(leaf, words, words.tag());
    return found.leaf == nullptr ? end() : found;
  }

  RecordPosition lowerBound(const int* key) override {
    const Words words(key);
    if (lastKey_ == nullptr || words.isAfter(lastKey_)) return end();
    RecordLeaf* leaf = descend(words);
    const std::uint32_t place = lowerBoundInLeaf(leaf, words);
    if (place < leaf->count) return positionIn(leaf, place);
    return positionIn(leafAt(leaf->next), 0);
  }

  Inserted insert(const int* key, const double* values) override {
    const Words words(key);
    if (lastKey_ == nullptr || words.isAfter(lastKey_)) return {append(words, key, values), true};
    const std::uint8_t tag = words.tag();
    RecordLeaf* leaf = descend(words);
    const RecordPosition found = findInLeaf(leaf, words, tag);
    if (found.leaf != nullptr) return {found, false};
    return {insertAt(leaf, lowerBoundInLeaf(leaf, words), words, tag, key, values), true};
  }

  Inserted insertNear(const int* key, const double* values, RecordPosition hint) override {
    if (!locate(hint)) return insert(key, values);
    const Words words(key);
    if (words.equals(hint.key)) return {hint, false};
    RecordLeaf* leaf = hint.leaf;
    const bool isBehind = words.isAfter(hint.key);
    const std::uint32_t place = hint.place + (isBehind ? 1 : 0);
    // Inside a leaf, two neighbours that enclose the key prove that the leaf is the right one; at
    // its edges only the separators would.
    if (place == 0 || place == leaf->count) return insert(key, values);
    const int* before = keyOf(leaf, place - 1);
    const int* after = keyOf(leaf, place);
    if (!words.isAfter(before) || words.isAfter(after) || words.equals(after)) {
      return insert(key, values);
    }
    return {insertAt(leaf, place, words, words.tag(), key, values), true};
  }

  void insertMany(const int* keys, const double* values, int count, int& done) override {
    for (int i = 0; i < count; ++i, ++done) {
      insert(keys + std::ptrdiff_t{i} * N, values + std::ptrdiff_t{i} * W);
    }
  }

  void appendMany(const int* keys, const double* values, int count, int& done) override {
    while (done < count) {
      RecordLeaf* leaf = lastLeafWithRoom(Words(keys).data());
      const std::uint32_t room = RecordLeaf::kCapacity - leaf->count;
      std::uint32_t got = 0;
      const std::uint32_t slot =
          records_.allocateRun(std::min(room, static_cast<std::uint32_t>(count - done)), got);
      int* record = recordAt(slot);
      for (std::uint32_t i = 0; i < got; ++i, keys += N, values += W) {
        write(record + std::ptrdiff_t{i} * (kRecordBytes / sizeof(int)), keys, values);
        leaf->tags[leaf->count + i] = Words(keys).tag();
        leaf->slots[leaf->count + i] = slot + i;
      }
      enterRun(slot, record, got);
      done += static_cast<int>(got);
    }
  }

  void findMany(const int* keys, int count, double** rows) override {
    if (root_ == nullptr) {
      std::fill_n(rows, count, nullptr);
      return;
    }
    for (int done = 0; done < count; done += kGroup) {
      findGroup(keys + std::ptrdiff_t{done} * N, std::min(count - done, kGroup), rows + done);
    }
  }

 private:
  using Words = KeyWords<N>;
  /// Searches at a time: more than the processor has memory accesses under way.
  static constexpr int kGroup = 16;
  static constexpr std::uint32_t kRecordBytes = recordBytes(N, W);

  int* keyOf(const RecordLeaf* leaf, std::uint32_t place) const {
    return recordAt(leaf->slotAt(place));
  }

  int* recordAt(std::uint32_t slot) const {
    return reinterpret_cast<int*>(records_.at(slot, kRecordBytes));
  }

  /// The leaf whose range holds the key.
  RecordLeaf* descend(const Words& words) const {
    void* node = root_;
    for (std::uint32_t level = height_; level > 0; --level) {
      auto* inner = static_cast<RecordInner*>(node);
      node = inner->children[childFor(inner, words)];
    }
    auto* leaf = static_cast<RecordLeaf*>(node);
    if (!isInOrder_) prefetchLeaf(leaf);
    return leaf;
  }

  /// Number of separators that are not greater than the key. The number of steps depends on the
  /// count only, so that no comparison is a branch.
  static std::uint32_t childFor(RecordInner* node, const Words& words) {
    const std::uint64_t* const separators = node->separators();
    std::uint32_t low = 0;
    for (std::uint32_t length = node->count - 1; length > 0;) {
      const std::uint32_t half = (length + 1) / 2;
      const bool isBefore = words.isBefore(separators + (low + half - 1) * Words::kCount);
      low += isBefore ? 0 : half;
      length -= half;
    }
    return low;
  }

  /// All searches of the group go down level by level, and what a level needs was prefetched on the
  /// one above.
  void findGroup(const int* keys, int count, double** rows) const {
    Words words[kGroup];
    void* nodes[kGroup];
    std::uint64_t places[kGroup];
    for (int i = 0; i < count; ++i) {
      words[i] = Words(keys + std::ptrdiff_t{i} * N);
      nodes[i] = root_;
    }
    for (std::uint32_t level = height_; level > 0; --level) {
      for (int i = 0; i < count; ++i) {
        auto* inner = static_cast<RecordInner*>(nodes[i]);
        nodes[i] = inner->children[childFor(inner, words[i])];
        prefetchNode(nodes[i], level > 1);
      }
    }
    for (int i = 0; i < count; ++i) {
      const auto* leaf = static_cast<const RecordLeaf*>(nodes[i]);
      places[i] = matchTags(*leaf, words[i].tag());
      if (places[i] == 0) continue;
      const int* record = recordAt(leaf->slotAt(firstPlace(places[i])));
      memory::prefetch(record);
      memory::prefetch(record + N + 1);
    }
    for (int i = 0; i < count; ++i) {
      rows[i] = nullptr;
      const auto* leaf = static_cast<const RecordLeaf*>(nodes[i]);
      for (; places[i] != 0 && rows[i] == nullptr; places[i] &= places[i] - 1) {
        int* record = recordAt(leaf->slotAt(firstPlace(places[i])));
        if (words[i].equals(record)) rows[i] = reinterpret_cast<double*>(record + N);
      }
    }
  }

  static std::uint32_t firstPlace(std::uint64_t places) {
    return static_cast<std::uint32_t>(std::countr_zero(places));
  }

  void prefetchNode(void* node, bool isInner) const {
    if (!isInner) {
      memory::prefetch(static_cast<const char*>(node));
      if (!isInOrder_) prefetchLeaf(static_cast<RecordLeaf*>(node));
      return;
    }
    memory::prefetch(node);
    const auto* separators =
        reinterpret_cast<const char*>(static_cast<RecordInner*>(node)->separators());
    constexpr std::size_t kBytes =
        (RecordInner::kFanout - 1) * Words::kCount * sizeof(std::uint64_t);
    for (std::size_t line = 0; line < std::min<std::size_t>(kBytes, 512); line += 64) {
      memory::prefetch(separators + line);
    }
  }

  /// The record with this key; the leaf is null if there is none.
  RecordPosition findInLeaf(RecordLeaf* leaf, const Words& words, std::uint8_t tag) const {
    for (std::uint64_t places = matchTags(*leaf, tag); places != 0; places &= places - 1) {
      const auto place = static_cast<std::uint32_t>(std::countr_zero(places));
      const std::uint32_t slot = leaf->slotAt(place);
      int* record = recordAt(slot);
      if (words.equals(record)) return {record, leaf, slot, place};
    }
    return {};
  }

  /// A binary search. Records may be anywhere in memory, so both candidates for the next step are
  /// prefetched while this step waits for its own.
  std::uint32_t lowerBoundInLeaf(const RecordLeaf* leaf, const Words& words) const {
    const std::uint32_t lastPlace = leaf->count - 1U;
    std::uint32_t low = 0;
    std::uint32_t high = leaf->count;
    while (low < high) {
      const std::uint32_t middle = (low + high) / 2;
      memory::prefetch(keyOf(leaf, (low + middle) / 2));
      memory::prefetch(keyOf(leaf, std::min((middle + 1 + high) / 2, lastPlace)));
      if (words.isAfter(keyOf(leaf, middle))) {
        low = middle + 1;
      } else {
        high = middle;
      }
    }
    return low;
  }

  /// Stores a record in a slot that the caller has allocated.
  int* store(std::uint32_t slot, const int* key, const double* values) {
    int* record = recordAt(slot);
    write(record, key, values);
    return record;
  }

  static void write(int* record, const int* key, const double* values) {
    for (int i = 0; i < N; ++i) record[i] = key[i];
    auto* stored = reinterpret_cast<double*>(record + N);
    for (int i = 0; i < W; ++i) stored[i] = values[i];
  }

  RecordPosition append(const Words& words, const int* key, const double* values) {
    lastLeafWithRoom(words.data());
    const std::uint32_t slot = records_.allocate();
    return enterLast(slot, store(slot, key, values), words.tag());
  }

  /// Adds a record before `place`.
  /// REQUIRES 0 <= place <= leaf->count, and `place` is not the end of the tree.
  RecordPosition insertAt(RecordLeaf* leaf, std::uint32_t place, const Words& words,
                          std::uint8_t tag, const int* key, const double* values) {
    records_.ensure(1);
    if (leaf->count == RecordLeaf::kCapacity) splitLeaf(leaf, place, words.data());
    const std::uint32_t slot = records_.allocate();
    return enterBefore(leaf, place, slot, store(slot, key, values), tag);
  }
};

}  // namespace zdb::dmap
