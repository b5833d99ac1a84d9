/// Drives a record container and a std::map together and compares them.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "dmap/idmap.h"

namespace zdb::test {

using Key = std::vector<int>;
using Values = std::array<double, 5>;

/// What `lower_bound` gives for a key that is absent.
enum class Bound {
  NextOrEnd,      ///< The record behind its place, or the end.
  NextOrNowhere,  ///< The same, but where there is none an iterator that points nowhere.
  Bracket,        ///< The record before its place or the first one, or the end for one above all.
};

/// What a container does differently on purpose. The defaults are those of the contract.
struct Behaviour {
  /// Iterators and value addresses survive the insertion and erasure of other records.
  bool keepsPlaces = true;
  Bound lowerBound = Bound::NextOrEnd;
  /// `insert_or_assign` gives the values to the record that `lower_bound` gives, whatever its key.
  bool assignsToBound = false;
  /// An insertion of the largest key there is gives it the new values.
  bool overwritesLargest = false;
  /// `index(end())` is the size instead of -1.
  bool endHasRank = false;
  /// `withIndex` takes any number.
  bool takesAnyRank = false;
  /// Comparisons take a 0 for any label and negative labels for what they are not.
  bool wantsPositiveLabels = false;
  /// `emplace_end` and `emplace_hint` rely on the caller to know that the key is absent and, at the
  /// end, that it is above all others. The harness uses `emplace` where it does not.
  bool trustsTheCaller = false;
  /// `emplace` prints a warning for a key that is present.
  bool warns = false;
};

inline constexpr const char* kWarning = "Warning: Keys already in record map. Skipping.\n";

/// One call of the container; the numbers stand for keys in key order.
struct Step {
  enum Kind { Append, Emplace, EmplaceHint, Assign, Place, Erase, Find, LowerBound };
  Kind kind;
  int key;
  int hint = -1;  ///< A key whose lower bound is the hint, or -1 for the end, -2 for no position.
};

/// A container under test, whatever its type.
class Subject {
 public:
  virtual ~Subject() = default;
  /// Does the step in container and model and compares what it returns.
  virtual void apply(const Step& step) = 0;
  /// Compares all records, both ways, and the container's own structure check.
  virtual void check() = 0;
  /// What the container should have printed by now.
  virtual std::string expectedOutput() const = 0;
};

/// The key number `id` of `count` keys of `dim` labels: in ascending order with `id`, differing in
/// all positions, with `smallest` and the largest label among them.
inline Key makeKey(int id, int count, int dim, int smallest) {
  int base = 3;
  for (;; ++base) {
    std::int64_t keys = 1;
    for (int i = 0; i < dim && keys < count; ++i) keys *= base;
    if (keys >= count || dim == 0) break;
  }
  Key key(static_cast<std::size_t>(dim));
  for (auto position = key.rbegin(); position != key.rend(); ++position, id /= base) {
    const int digit = id % base;
    *position = digit == 0 ? smallest : digit == base - 1 ? INT_MAX : digit + 1;
  }
  return key;
}

template <class Map, class It>
class SubjectOf final : public Subject {
 public:
  SubjectOf(int dim, int width, int keys, const Behaviour& behaviour)
      : map_(dim, width),
        dim_(dim),
        doubles_(dmap::doublesPerRecord(width)),
        behaviour_(behaviour) {
    const int smallest = behaviour.wantsPositiveLabels ? 1 : INT_MIN;
    for (int id = 0; id < keys; ++id) keys_.push_back(makeKey(id, keys, dim, smallest));
  }

  void apply(const Step& step) override {
    const Key& key = keys_[static_cast<std::size_t>(step.key) % keys_.size()];
    ++stepNumber_;
    switch (step.kind) {
      case Step::Append:
        if (!isAllowed(key, map_.end())) return emplace(key);
        return expectInserted(map_.emplace_end(key.data(), fresh().data()), key);
      case Step::Emplace:
        return emplace(key);
      case Step::EmplaceHint: {
        It hint = hintFor(step.hint);
        if (!isAllowed(key, hint)) return emplace(key);
        return expectInserted(map_.emplace_hint(key.data(), fresh().data(), hint), key);
      }
      case Step::Assign: {
        It hint = hintFor(step.hint);
        return expectAssigned(map_.insert_or_assign(hint, key.data(), fresh().data()), key);
      }
      case Step::Place:
        return place(key);
      case Step::Erase:
        return erase(key);
      case Step::Find:
        return expectRecord(map_.find(key.data()), model_.find(key));
      case Step::LowerBound:
        if (dim_ > 0) expectBound(map_.lower_bound(key.data()), key);
        return;
    }
  }

  void check() override {
    ASSERT_EQ(map_.verify(), "") << "after step " << stepNumber_;
    ASSERT_EQ(map_.size(), model_.size()) << "after step " << stepNumber_;
    ASSERT_EQ(map_.empty(), model_.empty());
    It it = map_.begin();
    for (auto record = model_.begin(); record != model_.end(); ++record, ++it) {
      ASSERT_NO_FATAL_FAILURE(expectRecord(it, record)) << "walking";
    }
    ASSERT_TRUE(it == map_.end());
    for (auto record = model_.rbegin(); record != model_.rend(); ++record) {
      --it;
      ASSERT_NO_FATAL_FAILURE(expectRecord(it, std::prev(record.base()))) << "walking back";
    }
    ASSERT_TRUE(it == map_.begin());
    ASSERT_NO_FATAL_FAILURE(checkRanks());
    ASSERT_NO_FATAL_FAILURE(checkHeld());
  }

  std::string expectedOutput() const override {
    std::string output;
    for (int i = 0; i < warnings_; ++i) output += kWarning;
    return output;
  }

 private:
  using Model = std::map<Key, Values>;

  /// A record looked at earlier: where it was, and an iterator that must still work.
  struct Held {
    It it;
    const double* values;
  };

  /// Values that no other step has used.
  Values fresh() const {
    Values values{};
    for (std::size_t i = 0; i < values.size(); ++i) {
      values[i] = stepNumber_ + static_cast<double>(i) / 8;
    }
    return values;
  }

  bool isAboveAll(const Key& key) const { return model_.empty() || model_.rbegin()->first < key; }

  /// Whether the container's contract lets the caller insert this key at this place.
  bool isAllowed(const Key& key, const It& hint) {
    if (!behaviour_.trustsTheCaller || dim_ == 0 || isAboveAll(key)) return true;
    return !model_.contains(key) && hint != map_.end() && !hint.isNullPtr();
  }

  void emplace(const Key& key) {
    if (behaviour_.warns && dim_ > 0 && model_.contains(key)) ++warnings_;
    expectInserted(map_.emplace(key.data(), fresh().data()), key);
  }

  /// Does in the model what the container has done, and compares the record it returned.
  void expectInserted(const It& it, const Key& key) {
    const auto [record, isNew] = model_.try_emplace(key, fresh());
    const bool isLargest = std::next(record) == model_.end();
    // A scalar is overwritten by every insertion.
    if (dim_ == 0 || (behaviour_.overwritesLargest && isLargest)) record->second = fresh();
    ASSERT_NO_FATAL_FAILURE(expectRecord(it, record));
    if (isNew) hold(record, it);
  }

  void expectAssigned(const It& it, const Key& key) {
    auto record = model_.find(key);
    if (record == model_.end() && behaviour_.assignsToBound) record = modelBound(key);
    const bool isNew = record == model_.end();
    if (isNew) record = model_.try_emplace(key).first;
    record->second = fresh();
    ASSERT_NO_FATAL_FAILURE(expectRecord(it, record));
    if (isNew) hold(record, it);
  }

  /// Looks the key up exactly and adds it if it is absent.
  void place(const Key& key) {
    if constexpr (requires { map_.exactLowerBound(key.data()); }) {
      const It bound = map_.exactLowerBound(key.data());
      ASSERT_NO_FATAL_FAILURE(expectRecord(bound, model_.lower_bound(key)));
      if (model_.contains(key)) return;
      expectInserted(map_.insertAt(bound, key.data(), fresh().data()), key);
    } else {
      emplace(key);
    }
  }

  void hold(typename Model::iterator record, const It& it) {
    if (behaviour_.keepsPlaces) held_.insert_or_assign(record->first, Held{it, (*it).second});
  }

  void erase(const Key& key) {
    const It it = map_.find(key.data());
    const auto record = model_.find(key);
    ASSERT_NO_FATAL_FAILURE(expectRecord(it, record));
    if (record == model_.end()) return;
    map_.erase(it);
    model_.erase(record);
    held_.erase(key);
  }

  It hintFor(int hint) {
    if (hint == -1) return map_.end();
    if (hint == -2) return It();
    return map_.lower_bound(keys_[static_cast<std::size_t>(hint) % keys_.size()].data());
  }

  /// What `lower_bound` should find.
  typename Model::iterator modelBound(const Key& key) {
    const auto next = model_.lower_bound(key);
    if (behaviour_.lowerBound != Bound::Bracket || model_.contains(key)) return next;
    if (model_.size() == 1) return model_.begin();
    const bool isInFront = next == model_.begin();
    return isInFront || next == model_.end() ? next : std::prev(next);
  }

  void expectBound(const It& it, const Key& key) {
    const auto record = modelBound(key);
    if (record == model_.end() && behaviour_.lowerBound == Bound::NextOrNowhere) {
      ASSERT_TRUE(it.isNullPtr() && it != map_.end()) << "at step " << stepNumber_;
    } else {
      expectRecord(it, record);
    }
  }

  void expectRecord(const It& it, typename Model::iterator record) {
    if (record == model_.end()) {
      ASSERT_TRUE(it == map_.end()) << "at step " << stepNumber_;
      return;
    }
    ASSERT_TRUE(it != map_.end()) << "at step " << stepNumber_;
    const dmap::VirtualPair pair = *it;
    if (dim_ > 0) {
      ASSERT_EQ(Key(pair.first, pair.first + dim_), record->first) << "at step " << stepNumber_;
    }
    for (int i = 0; i < doubles_; ++i) {
      ASSERT_EQ(pair.second[i], record->second[static_cast<std::size_t>(i)])
          << "at step " << stepNumber_;
    }
  }

  /// Each container's scalar has ranks of its own; see their tests.
  void checkRanks() {
    if (dim_ == 0) return;
    const int size = static_cast<int>(model_.size());
    ASSERT_EQ(map_.index(map_.end()), behaviour_.endHasRank ? size : -1);
    if (!behaviour_.takesAnyRank) {
      ASSERT_TRUE(map_.withIndex(-5) == map_.begin());
      ASSERT_TRUE(map_.withIndex(size + 1) == map_.end());
    }
    ASSERT_TRUE(map_.withIndex(size) == map_.end());
    int rank = 0;
    for (auto record = model_.begin(); record != model_.end(); ++record, ++rank) {
      if (rank % 97 != 0) continue;
      const It it = map_.withIndex(rank);
      ASSERT_NO_FATAL_FAILURE(expectRecord(it, record));
      ASSERT_EQ(map_.index(it), rank);
    }
  }

  /// Moves a copy of each iterator obtained when its record was inserted.
  void checkHeld() {
    for (const auto& [key, held] : held_) {
      const auto record = model_.find(key);
      ASSERT_NO_FATAL_FAILURE(expectRecord(held.it, record)) << "held iterator";
      ASSERT_EQ((*held.it).second, held.values) << "a record moved";
      ASSERT_TRUE(held.it == map_.find(key.data()));
      It next = held.it;
      ASSERT_NO_FATAL_FAILURE(expectRecord(++next, std::next(record))) << "behind a held iterator";
      if (record == model_.begin()) continue;
      It before = held.it;
      ASSERT_NO_FATAL_FAILURE(expectRecord(--before, std::prev(record)))
          << "before a held iterator";
    }
  }

  Map map_;
  Model model_;
  int dim_;
  int doubles_;
  Behaviour behaviour_;
  std::vector<Key> keys_;
  std::map<Key, Held> held_;
  int stepNumber_ = 0;
  int warnings_ = 0;
};

/// A kind of container in the harness.
struct Factory {
  std::string name;
  std::function<std::unique_ptr<Subject>(int dim, int width, int keys)> make;
};

inline void PrintTo(const Factory& factory, std::ostream* out) {
  *out << factory.name;
}

template <class Map, class It>
Factory factory(const std::string& name, const Behaviour& behaviour) {
  return {name, [behaviour](int dim, int width, int keys) -> std::unique_ptr<Subject> {
            return std::make_unique<SubjectOf<Map, It>>(dim, width, keys, behaviour);
          }};
}

}  // namespace zdb::test
