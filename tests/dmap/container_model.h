/// Drives the record containers, one turning into another, and compares them with a std::map.
#pragma once

#include <algorithm>
#include <array>
#include <climits>
#include <cstdint>
#include <iterator>
#include <map>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "dmap/dmap.h"
#include "dmap/dmaputree.h"
#include "dmap/dmapvector.h"
#include "dmap/structure.h"
#include "support/starved.h"

namespace zdb::test {

using dmap::StorageTypes;
using Key = std::vector<int>;
using Values = std::array<double, 5>;
using Random = std::mt19937;

/// What the containers do differently on purpose.
template <class Map>
struct Differences {
  static constexpr bool kIsVector = std::is_same_v<Map, dmap::DMapVector>;
  static constexpr bool kIsTree = std::is_same_v<Map, dmap::DMapUTree>;
  /// Iterators and value addresses survive the insertion and erasure of other records.
  static constexpr bool kKeepsPlaces = !kIsVector;
  /// `insert_or_assign` gives the values to the record that `lower_bound` gives, whatever its key.
  static constexpr bool kAssignsToBound = kIsVector || kIsTree;
  /// `lower_bound` gives the record before the place of an absent key, or the first.
  static constexpr bool kBoundIsBefore = kIsVector;
  /// `lower_bound` above all records points nowhere, and `index(end())` is the size.
  static constexpr bool kEndIsOdd = kIsTree;
  /// An insertion of the largest key there is gives it the new values.
  static constexpr bool kOverwritesLargest = kIsTree;
  /// `withIndex` takes any number. Appends and hints rely on the caller to know that the key is
  /// absent and, at the end, above all others. `emplace` warns of a key that is present.
  static constexpr bool kTrusts = kIsVector;
};

/// One call of the container; the numbers stand for keys in key order.
struct Step {
  // clang-format off
  enum Kind { Append, Emplace, EmplaceHint, Assign, Place, Erase, Find, LowerBound, Convert, Clear };
  // clang-format on
  Kind kind;
  int key = 0;    ///< For Convert the storage type, for Clear the records to reserve.
  int hint = -1;  ///< A key whose lower bound is the hint, or -1 for the end, -2 for no position.
};

/// The key number `id` of `count` keys of `dim` labels: in ascending order with `id`, differing in
/// all positions, with `smallest` and the largest label among them, and 0 if `smallest` is less.
inline Key makeKey(int id, int count, int dim, int smallest) {
  int base = 2;
  for (std::int64_t keys = 0; keys < count && dim > 0;) {
    keys = ++base;
    for (int i = 1; i < dim && keys < count; ++i) keys *= base;
  }
  Key key(static_cast<std::size_t>(dim));
  for (auto position = key.rbegin(); position != key.rend(); ++position, id /= base) {
    const int digit = id % base;
    const int middle = smallest < 1 ? digit - 1 : digit + 1;
    *position = digit == 0 ? smallest : digit == base - 1 ? INT_MAX : middle;
  }
  return key;
}

/// What stays when one container turns into another: the model and how it was made.
struct TestRun {
  int dim;
  int width;
  std::vector<Key> keys;
  bool canConvert = true;  ///< Only keys of positive labels, which a vector can search.
  std::map<Key, Values> model = {};
  Random random = Random(7);
  bool isStarved = false;  ///< In this step memory runs out.
  int steps = 0;
  std::string output = {};  ///< What should have been printed by now.
};

/// A container under test, whatever its type. Throws std::logic_error where it and its model
/// differ.
class Subject {
 public:
  virtual ~Subject() = default;
  /// Does the step, not a conversion, in container and model and compares what it returns.
  virtual void apply(const Step& step) = 0;
  /// Compares all records, both ways, and every way to look one up.
  virtual void check() = 0;
  /// A container of this type with the same records, or null if there is no such conversion.
  virtual std::unique_ptr<Subject> convert(StorageTypes type) = 0;
};

template <class Map>
class SubjectOf final : public Subject, private Differences<Map> {
 public:
  SubjectOf(TestRun& run, std::unique_ptr<Map> map) : run_(run), map_(std::move(map)) {}

  void apply(const Step& step) override {
    const Key& key = keyOf(step.key);
    const bool isThere = model_.contains(key);
    It hint = hintFor(step);
    Step::Kind kind = step.kind;
    if (kind == Step::Clear) return clear(step.key);
    if (kind == Step::Erase) return erase(key);
    if (kind == Step::Place && this->kAssignsToBound) {
      expectAt(hint, model_.lower_bound(key));
      if (isThere) return;
    } else if (kind < Step::Place && !mayTrust(kind, key, hint)) {
      kind = Step::Emplace;
    }
    if (kind == Step::Emplace && this->kTrusts && isThere && run_.dim > 0) {
      run_.output += "Warning: Keys already in record map. Skipping.\n";
    }
    const It it = attempt([&] { return make(kind, key, hint); });
    if (kind == Step::Find) return expectAt(it, model_.find(key));
    if (kind == Step::LowerBound) return expectBound(it, key);
    expectStored(it, key, kind == Step::Assign);
  }

  void check() override {
    require(map_->size() == model_.size() && map_->empty() == model_.empty(), "size");
    It it = map_->begin();
    for (auto record = model_.begin(); record != model_.end(); ++record, ++it) {
      expectAt(it, record);
    }
    expectAt(it, model_.end());
    for (auto record = model_.end(); record != model_.begin();) expectAt(--it, --record);
    require(it == map_->begin(), "walking back");
    if (run_.dim == 0) return;  // a scalar has ranks and bounds of its own
    for (auto record = model_.begin(); record != model_.end(); ++record) {
      expectAt(map_->find(record->first.data()), record);
      expectBound(map_->lower_bound(record->first.data()), record->first);
    }
    checkRanks();
    for (const auto& [key, held] : held_) checkHeld(key, held);
    checkShape(*map_);
  }

  std::unique_ptr<Subject> convert(StorageTypes type) override {
    if (type == StorageTypes::Map) return convertTo<dmap::DMap>();
    if (type == StorageTypes::Vector) return convertTo<dmap::DMapVector>();
    return convertTo<dmap::DMapUTree>();
  }

 private:
  using It = decltype(std::declval<Map&>().end());
  using Record = std::map<Key, Values>::iterator;

  /// A record looked at earlier: an iterator that must still work, and where the values were.
  struct Held {
    It it;
    const double* values;
  };

  void require(bool isTrue, const char* what) const {
    if (isTrue) return;
    throw std::logic_error(std::string(what) + ", dim " + std::to_string(run_.dim) + ", width " +
                           std::to_string(run_.width) + ", step " + std::to_string(run_.steps));
  }

  /// Makes a call; in a starved step it runs out of memory at every allocation first, which has to
  /// leave everything as it was.
  template <class Call>
  auto attempt(Call call, bool keepsNothing = false) {
    if (!run_.isStarved) return call();
    return callStarved(call, [&](std::int64_t left) {
      require(!keepsNothing || left == 0, "memory lost");
      check();
    });
  }

  It make(Step::Kind kind, const Key& key, It& hint) {
    const Values values = fresh();
    if (kind == Step::Append) return map_->emplace_end(key.data(), values.data());
    if (kind == Step::EmplaceHint) return map_->emplace_hint(key.data(), values.data(), hint);
    if (kind == Step::Assign) return map_->insert_or_assign(hint, key.data(), values.data());
    if (kind == Step::Find) return map_->find(key.data());
    if (kind == Step::LowerBound) return map_->lower_bound(key.data());
    if constexpr (Differences<Map>::kAssignsToBound) {  // which need a way to add without looking
      if (kind == Step::Place) return map_->insertAt(hint, key.data(), values.data());
    }
    return map_->emplace(key.data(), values.data());
  }

  const Key& keyOf(int number) const { return run_.keys[unsigned(number) % run_.keys.size()]; }
  Values fresh() const {  // that no other step has used
    Values values{};
    for (std::size_t i = 0; i < values.size(); ++i) values[i] = run_.steps + double(i) / 8;
    return values;
  }
  It hintFor(const Step& step) {
    if constexpr (Differences<Map>::kAssignsToBound) {
      const int* key = keyOf(step.key).data();
      if (step.kind == Step::Place) return attempt([&] { return map_->exactLowerBound(key); });
    }
    if (step.kind != Step::EmplaceHint && step.kind != Step::Assign) return map_->end();
    if (step.hint < 0) return step.hint == -1 ? map_->end() : It();
    return map_->lower_bound(keyOf(step.hint).data());
  }
  /// Whether the container's contract lets the caller insert this key at this place.
  bool mayTrust(Step::Kind kind, const Key& key, const It& hint) const {
    if (!this->kTrusts || run_.dim == 0 || kind == Step::Assign) return true;
    if (model_.empty() || model_.rbegin()->first < key) return true;
    return !model_.contains(key) && hint != map_->end() && !hint.isNullPtr();
  }

  void clear(int reserved) {
    map_->clear();
    map_->reserve(reserved);
    model_.clear();
    held_.clear();
  }
  void erase(const Key& key) {
    const It it = map_->find(key.data());
    const Record record = model_.find(key);
    expectAt(it, record);
    if (record == model_.end()) return;
    map_->erase(it);
    model_.erase(record);
    held_.erase(key);
  }
  template <class Target>
  std::unique_ptr<Subject> convertTo() {
    if constexpr (std::is_constructible_v<Target, Map&>) {
      auto target = attempt([&] { return std::make_unique<Target>(*map_); }, true);
      require(target->getDim() == run_.dim && target->getValueWidth() == run_.width, "other kind");
      return std::make_unique<SubjectOf<Target>>(run_, std::move(target));
    }
    return nullptr;
  }

  /// Does in the model what the container has done, and compares the record it returned.
  void expectStored(const It& it, const Key& key, bool isAssigned) {
    Record record = isAssigned && this->kAssignsToBound ? modelBound(key) : model_.find(key);
    const bool isNew = record == model_.end();
    if (isNew) record = model_.try_emplace(key).first;
    const bool isLargest = this->kOverwritesLargest && std::next(record) == model_.end();
    // A scalar is overwritten by every insertion.
    if (isNew || isAssigned || isLargest || run_.dim == 0) record->second = fresh();
    expectAt(it, record);
    if (isNew && this->kKeepsPlaces) held_.insert_or_assign(key, Held{it, (*it).second});
  }

  Record modelBound(const Key& key) {
    const Record next = model_.lower_bound(key);
    if (!this->kBoundIsBefore || model_.contains(key)) return next;
    if (model_.size() == 1) return model_.begin();
    const bool isInFront = next == model_.begin();
    return isInFront || next == model_.end() ? next : std::prev(next);
  }
  void expectBound(const It& it, const Key& key) {
    const Record record = modelBound(key);
    if (run_.dim == 0) return;
    if (!this->kEndIsOdd || record != model_.end()) return expectAt(it, record);
    require(it.isNullPtr() && it != map_->end(), "a bound that is somewhere");
  }
  void expectAt(const It& it, Record record) const {
    require((it == map_->end()) == (record == model_.end()), "at the end or not");
    if (record == model_.end()) return;
    const dmap::VirtualPair pair = *it;
    const auto& [key, values] = *record;
    const int doubles = dmap::doublesPerRecord(run_.width);
    require(run_.dim == 0 || std::equal(key.begin(), key.end(), pair.first), "key");
    require(std::equal(pair.second, pair.second + doubles, values.begin()), "values");
  }

  void checkRanks() {
    const int size = static_cast<int>(model_.size());
    require(map_->index(map_->end()) == (this->kEndIsOdd ? size : -1), "rank of the end");
    require(this->kTrusts || map_->withIndex(-5) == map_->begin(), "negative rank");
    require(this->kTrusts || map_->withIndex(size + 1) == map_->end(), "large rank");
    int rank = 0;
    for (auto record = model_.begin(); record != model_.end(); ++record, ++rank) {
      if (rank % 97 != 0) continue;
      const It it = map_->withIndex(rank);
      expectAt(it, record);
      require(map_->index(it) == rank, "rank");
    }
  }
  /// Moves copies of an iterator obtained when its record was inserted.
  void checkHeld(const Key& key, const Held& held) {
    const Record record = model_.find(key);
    expectAt(held.it, record);
    require((*held.it).second == held.values, "a record moved");
    require(held.it == map_->find(key.data()), "a held iterator differs from a new one");
    It next = held.it;
    expectAt(++next, std::next(record));
    It before = held.it;
    if (record != model_.begin()) expectAt(--before, std::prev(record));
  }
  void checkShape(dmap::DMap& map) const {
    for (auto it = map.begin(); it != map.end();) {
      auto next = it;
      ++next;
      if (!it.stepInLeaf()) ++it;
      require(it == next, "a step in the leaf");
    }
    require(Structure(*map.begin().position().tree()).isSound, "nodes");
  }
  void checkShape(dmap::DMapVector& map) const { require(Structure(map).isSound, "order"); }
  /// A node for each beginning of a key and no other.
  void checkShape(dmap::DMapUTree& map) const {
    std::size_t nodes = 0;
    const Key* before = nullptr;
    for (const auto& [key, values] : model_) {
      std::size_t shared = 0;
      while (before != nullptr && (*before)[shared] == key[shared]) ++shared;
      nodes += key.size() - shared;
      before = &key;
    }
    require(map.getTree()->collectNodeIds().size() == nodes, "nodes");
  }

  TestRun& run_;
  std::map<Key, Values>& model_ = run_.model;
  std::unique_ptr<Map> map_;
  std::map<Key, Held> held_;
};

}  // namespace zdb::test
