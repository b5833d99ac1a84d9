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

/// What a container does differently on purpose.
struct Behaviour {
  /// Iterators and value addresses survive the insertion and erasure of other records.
  bool keepsPlaces;
  /// `insert_or_assign` with an absent key that is not the largest adds a record.
  bool assignAddsAnywhere;
};

/// One call of the container; the numbers stand for keys in key order.
struct Step {
  enum Kind { Append, Emplace, EmplaceHint, Assign, Erase, Find, LowerBound };
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
};

/// The key number `id` of `count` keys of `dim` labels: in ascending order with `id`, differing in
/// all positions, and with the smallest and largest labels among them.
inline Key makeKey(int id, int count, int dim) {
  int base = 3;
  for (;; ++base) {
    std::int64_t keys = 1;
    for (int i = 0; i < dim && keys < count; ++i) keys *= base;
    if (keys >= count || dim == 0) break;
  }
  Key key(static_cast<std::size_t>(dim));
  for (auto position = key.rbegin(); position != key.rend(); ++position, id /= base) {
    const int digit = id % base;
    *position = digit == 0 ? INT_MIN : digit == base - 1 ? INT_MAX : digit;
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
    for (int id = 0; id < keys; ++id) keys_.push_back(makeKey(id, keys, dim));
  }

  void apply(const Step& step) override {
    const Key& key = keys_[static_cast<std::size_t>(step.key) % keys_.size()];
    ++stepNumber_;
    switch (step.kind) {
      case Step::Append:
        return expectInserted(map_.emplace_end(key.data(), fresh().data()), key, false);
      case Step::Emplace:
        return expectInserted(map_.emplace(key.data(), fresh().data()), key, false);
      case Step::EmplaceHint: {
        It hint = hintFor(step.hint);
        return expectInserted(map_.emplace_hint(key.data(), fresh().data(), hint), key, false);
      }
      case Step::Assign: {
        if (!behaviour_.assignAddsAnywhere && !isAssignable(key)) return;
        It hint = hintFor(step.hint);
        return expectInserted(map_.insert_or_assign(hint, key.data(), fresh().data()), key, true);
      }
      case Step::Erase:
        return erase(key);
      case Step::Find:
        return expectRecord(map_.find(key.data()), model_.find(key));
      case Step::LowerBound:
        if (dim_ > 0) expectRecord(map_.lower_bound(key.data()), model_.lower_bound(key));
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

  /// Does in the model what the container has done, and compares the record it returned.
  void expectInserted(const It& it, const Key& key, bool isAssigning) {
    const auto [record, isNew] = model_.try_emplace(key, fresh());
    // A scalar is overwritten by every insertion.
    if (!isNew && (isAssigning || dim_ == 0)) record->second = fresh();
    ASSERT_NO_FATAL_FAILURE(expectRecord(it, record));
    if (behaviour_.keepsPlaces && isNew) held_.insert_or_assign(key, Held{it, (*it).second});
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

  bool isAssignable(const Key& key) const {
    return model_.contains(key) || model_.empty() || model_.rbegin()->first < key;
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

  void checkRanks() {
    ASSERT_EQ(map_.index(map_.end()), -1);
    ASSERT_TRUE(map_.withIndex(-5) == map_.begin());
    ASSERT_TRUE(map_.withIndex(static_cast<int>(model_.size())) == map_.end());
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
