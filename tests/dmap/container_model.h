// Drives a record container beside a std::map and compares what can be seen of both.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <map>
#include <memory>
#include <numeric>
#include <random>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "dmap/dmap.h"
#include "dmap/dmaputree.h"
#include "dmap/dmapvector.h"
#include "dmap/recordtree.h"
#include "support/starved.h"

namespace zdb::test {

using Key = std::vector<int>;
using Values = std::array<double, 5>;

/// What no caller can see of the containers: counts the records and nodes of a tree.
struct Structure {
  explicit Structure(const dmap::RecordTreeBase& tree) {
    if (tree.root_ != nullptr) visit(tree.root_, tree.height_, 2);
    isSound &= records == tree.records_.live() && leaves == tree.leaves_.live() &&
               inners == tree.inners_.live() && leaves <= 2 + records / 10 &&
               inners <= 2 + leaves / 6;
  }
  explicit Structure(const dmap::DMapVector& vector)
      : isSound(vector.plain_ >= 0 && vector.plain_ <= vector.count_) {}

  std::uint32_t records = 0;
  std::uint32_t leaves = 0;
  std::uint32_t inners = 0;
  /// Whether no node is empty, the root branches, there are not many nodes, and the pools have
  /// nothing else in use; or whether no more records are known to be in order than there are.
  bool isSound = true;

 private:
  void visit(void* node, std::uint32_t height, std::uint32_t fewestChildren) {
    if (height == 0) {
      const std::uint32_t count = static_cast<dmap::RecordLeaf*>(node)->count;
      isSound &= count > 0;
      records += count;
      ++leaves;
      return;
    }
    auto* inner = static_cast<dmap::RecordInner*>(node);
    isSound &= inner->count >= fewestChildren;
    ++inners;
    for (std::uint32_t i = 0; i < inner->count; ++i) visit(inner->children[i], height - 1, 1);
  }
};

/// How a record is added.
enum class Way { Append, Emplace, Hint, Assign };
enum class Order { Up, Down, Mixed };

/// A container under test and what it should hold. Steps name keys by their numbers in key order;
/// they and `check` throw std::logic_error where container and model differ.
template <class Map>
class Driver {
 public:
  static constexpr bool kIsVector = std::is_same_v<Map, dmap::DMapVector>;
  static constexpr bool kIsTree = std::is_same_v<Map, dmap::DMapUTree>;
  /// A vector can search keys of positive labels only, and so what has others is not converted.
  Driver(int dim, int width, std::vector<Key> keys, bool canConvert)
      : dim_(dim), keys_(std::move(keys)), canConvert_(canConvert), map_(new Map(dim, width)) {}

  int pick(int below) { return static_cast<int>(random_() % static_cast<unsigned>(below)); }
  std::vector<int> keysIn(Order order) {
    std::vector<int> numbers(keys_.size());
    std::iota(numbers.begin(), numbers.end(), 0);
    if (order == Order::Down) std::reverse(numbers.begin(), numbers.end());
    if (order == Order::Mixed) std::shuffle(numbers.begin(), numbers.end(), random_);
    return numbers;
  }

  /// The hint is the lower bound of a key, or the end for -1, no position for -2.
  void add(Way way, int number, int hintNumber = -1) {
    const Key& key = beginStep(number);
    const Values values = fresh();
    const bool isThere = records_.contains(key);
    It hint = hintNumber < 0 ? It() : map_->lower_bound(keyOf(hintNumber).data());
    if (hintNumber == -1) hint = map_->end();
    if (way != Way::Assign && !mayTrust(key, way == Way::Append ? map_->end() : hint)) {
      way = Way::Emplace;
    }
    if (way == Way::Emplace && kIsVector && isThere && dim_ > 0) {
      output_ += "Warning: Keys already in record map. Skipping.\n";
    }
    const It it = attempt([&] {
      if (way == Way::Append) return map_->emplace_end(key.data(), values.data());
      if (way == Way::Hint) return map_->emplace_hint(key.data(), values.data(), hint);
      if (way == Way::Assign) return map_->insert_or_assign(hint, key.data(), values.data());
      return map_->emplace(key.data(), values.data());
    });
    expectStored(it, key, way == Way::Assign);
  }
  void look(int number) {
    const Key& key = beginStep(number);
    expectAt(attempt([&] { return map_->find(key.data()); }), records_.find(key));
    expectBound(attempt([&] { return map_->lower_bound(key.data()); }), key);
  }
  void erase(int number) {
    const Key& key = beginStep(number);
    const It it = map_->find(key.data());
    const Record record = records_.find(key);
    expectAt(it, record);
    if (record == records_.end()) return;
    map_->erase(it);
    records_.erase(record);
  }
  void clear(int reserved) {
    map_->clear();
    map_->reserve(reserved);
    records_.clear();
  }
  /// Turns the container into each of the others and back, or copies it twice.
  void convert() {
    convertThrough<dmap::DMap>();
    convertThrough<dmap::DMapVector>();
    convertThrough<dmap::DMapUTree>();
  }

  /// Compares all records, both ways, and every way to look one up.
  void check() {
    require(map_->size() == records_.size() && map_->empty() == records_.empty(), "size");
    It it = map_->begin();
    for (auto record = records_.begin(); record != records_.end(); ++record, ++it) {
      expectAt(it, record);
    }
    expectAt(it, records_.end());
    for (auto record = records_.end(); record != records_.begin();) expectAt(--it, --record);
    require(it == map_->begin(), "walking back");
    if (dim_ == 0) return;  // a scalar has ranks and bounds of its own
    for (auto record = records_.begin(); record != records_.end(); ++record) {
      expectAt(map_->find(record->first.data()), record);
      expectBound(map_->lower_bound(record->first.data()), record->first);
    }
    checkRanks();
    checkShape(*map_);
    if (!kIsVector) checkEnds();  // its positions are mere numbers
  }
  /// What should have been printed by now.
  const std::string& output() const { return output_; }

 private:
  using It = decltype(std::declval<Map&>().end());
  using Record = std::map<Key, Values>::iterator;

  void require(bool isTrue, const char* what) const {
    if (!isTrue) throw std::logic_error(what + (" in step " + std::to_string(steps_)));
  }

  // ---- steps

  /// Checks everything before each of the first steps and from time to time later.
  const Key& beginStep(int number) {
    if (steps_ < 80 || steps_ % (keys_.size() / 3 + 1) == 0) check();
    ++steps_;
    isStarved_ = pick(4) == 0;
    return keyOf(number);
  }
  const Key& keyOf(int number) const { return keys_[unsigned(number) % keys_.size()]; }
  Values fresh() const {  // that no other step has used
    Values values{};
    for (std::size_t i = 0; i < values.size(); ++i) values[i] = double(steps_) + double(i) / 8;
    return values;
  }
  /// Makes a call; in a starved step it runs out of memory at every allocation first, which has to
  /// leave everything as it was.
  template <class Call>
  auto attempt(Call call, bool keepsNothing = false) {
    if (!isStarved_) return call();
    return callStarved(call, [&](std::int64_t left) {
      require(!keepsNothing || left == 0, "memory lost");
      check();
    });
  }
  /// Whether the caller may insert this key at this place: a vector relies on it that the key is
  /// absent and, at the end, above all others.
  bool mayTrust(const Key& key, const It& hint) const {
    if (!kIsVector || dim_ == 0) return true;
    if (records_.empty() || records_.rbegin()->first < key) return true;
    return !records_.contains(key) && hint != map_->end() && !hint.isNullPtr();
  }
  template <class Other>
  void convertThrough() {
    if constexpr (std::is_constructible_v<Other, Map&>) {
      if (!canConvert_) return;
      const auto other = attempt([&] { return std::make_unique<Other>(*map_); }, true);
      check();
      map_ = attempt([&] { return std::make_unique<Map>(*other); }, true);
      end_ = map_->end();
      check();
    }
  }

  // ---- what is to be expected

  /// Does in the model what the container has done, and compares the record it returned.
  void expectStored(const It& it, const Key& key, bool isAssigned) {
    // The vector and the tree give the values to whatever record `lower_bound` gives.
    Record record = isAssigned && (kIsVector || kIsTree) ? boundOf(key) : records_.find(key);
    const bool isNew = record == records_.end();
    if (isNew) record = records_.try_emplace(key).first;
    const bool isLargest = kIsTree && std::next(record) == records_.end();
    // Every insertion overwrites a scalar, and in a tree the largest key.
    if (isNew || isAssigned || isLargest || dim_ == 0) record->second = fresh();
    expectAt(it, record);
  }
  /// In a vector, the record before the place of an absent key.
  Record boundOf(const Key& key) {
    const Record next = records_.lower_bound(key);
    if (!kIsVector || records_.contains(key)) return next;
    if (records_.size() == 1) return records_.begin();
    const bool isFirst = next == records_.begin();
    return isFirst || next == records_.end() ? next : std::prev(next);
  }
  void expectBound(const It& it, const Key& key) {
    const Record record = boundOf(key);
    if (dim_ == 0) return;
    if (!kIsTree || record != records_.end()) return expectAt(it, record);
    require(it.isNullPtr() && it != map_->end(), "a bound that is somewhere");
  }
  void expectAt(const It& it, Record record) const {
    require((it == map_->end()) == (record == records_.end()), "at the end or not");
    if (record == records_.end()) return;
    const dmap::VirtualPair pair = *it;
    const auto& [key, values] = *record;
    const int doubles = dmap::doublesPerRecord(map_->getValueWidth());
    require(dim_ == 0 || std::equal(key.begin(), key.end(), pair.first), "key");
    require(std::equal(pair.second, pair.second + doubles, values.begin()), "values");
  }
  void checkRanks() {
    const int size = static_cast<int>(records_.size());
    require(map_->index(map_->end()) == (kIsTree ? size : -1), "rank of the end");
    require(kIsVector || map_->withIndex(-5) == map_->begin(), "negative rank");
    require(kIsVector || map_->withIndex(size + 1) == map_->end(), "large rank");
    int rank = 0;
    for (auto record = records_.begin(); record != records_.end(); ++record, ++rank) {
      if (rank % 97 != 0) continue;
      const It it = map_->withIndex(rank);
      expectAt(it, record);
      require(map_->index(it) == rank, "rank");
    }
  }
  /// The end stays the end and leads to whatever is last by now; nothing comes before the first.
  void checkEnds() {
    It it = end_;
    require(it == map_->end() && ++it == end_, "the end");
    expectAt(--it, records_.empty() ? records_.end() : std::prev(records_.end()));
    it = map_->begin();
    require(--it == map_->begin(), "before the first record");
  }
  void checkShape(dmap::DMap& map) const {
    require(Structure(*map.begin().position().tree()).isSound, "nodes");
  }
  void checkShape(dmap::DMapVector& map) const { require(Structure(map).isSound, "order"); }
  /// A node for each beginning of a key and no other.
  void checkShape(dmap::DMapUTree& map) const {
    std::size_t nodes = 0;
    Key before(static_cast<std::size_t>(dim_), -1);
    for (const auto& [key, values] : records_) {
      const auto differing = std::mismatch(key.begin(), key.end(), before.begin()).first;
      nodes += static_cast<std::size_t>(key.end() - differing);
      before = key;
    }
    require(map.getTree()->collectNodeIds().size() == nodes, "nodes");
  }

  const int dim_;
  const std::vector<Key> keys_;
  const bool canConvert_;
  // A new seed in every run would hide faults as often as it finds them; change it to search.
  std::mt19937 random_{20240601U + static_cast<unsigned>(dim_)};
  std::size_t steps_ = 0;
  bool isStarved_ = false;  ///< In this step memory runs out.
  std::string output_;
  std::unique_ptr<Map> map_;
  It end_ = map_->end();  ///< as it was at first
  std::map<Key, Values> records_;
};

}  // namespace zdb::test
