// The containers that are compared, each with the same few functions:
//   append(key, value)   adds a key that is the last one in order
//   insert(key, value)   adds a new key
//   value(key)           the value of an existing key
//   sum()                the sum of all values, in key order
//   erase(key)           erases an existing key
//   bytes()              bytes allocated so far, by this container or in all
//   expect(count)        announces the number of records; only some containers have it
#pragma once

#include <absl/container/btree_map.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory_resource>
#include <utility>
#include <vector>

#include "allocated.h"
#include "cube.h"

/// One of our own containers.
template <class Map>
class RecordMap {
 public:
  void append(const Key& key, double value) { map_.emplace_end(key.data(), &value); }
  void insert(const Key& key, double value) { map_.emplace(key.data(), &value); }
  double value(const Key& key) { return *(*map_.find(key.data())).second; }
  [[gnu::noinline]] double sum() {
    double total = 0;
    const auto end = map_.end();
    for (auto it = map_.begin(); it != end; ++it) total += *(*it).second;
    return total;
  }
  void erase(const Key& key) { map_.erase(map_.find(key.data())); }
  static std::int64_t bytes() { return allocatedBytes(); }
  void reserve(std::size_t records) { map_.reserve(static_cast<int>(records)); }
  Map& map() { return map_; }

 private:
  Map map_{3, 1};
};

/// A container that is told how many records will come.
template <class C>
class Reserved : public C {
 public:
  void expect(std::size_t records) { C::reserve(records); }
};

/// std::map and what has its interface.
template <class Map>
class StandardMap {
 public:
  void append(const Key& key, double value) { map_.emplace_hint(map_.end(), key, value); }
  void insert(const Key& key, double value) { map_.emplace(key, value); }
  double value(const Key& key) { return map_.find(key)->second; }
  [[gnu::noinline]] double sum() {
    double total = 0;
    for (const auto& [key, value] : map_) total += value;
    return total;
  }
  void erase(const Key& key) { map_.erase(map_.find(key)); }
  static std::int64_t bytes() { return allocatedBytes(); }

 protected:
  StandardMap(std::pmr::memory_resource* resource) : map_(resource) {}

 public:
  StandardMap() = default;

 private:
  Map map_;
};

using StdMap = StandardMap<std::map<Key, double>>;
using BtreeMap = StandardMap<absl::btree_map<Key, double>>;

/// std::pmr::map on a pool of nodes that is freed at once.
class PmrMap : private std::pmr::unsynchronized_pool_resource,
               public StandardMap<std::pmr::map<Key, double>> {
 public:
  PmrMap() : StandardMap(static_cast<std::pmr::memory_resource*>(this)) {}
};

/// A vector of pairs. Random insertion appends all pairs and then sorts, which is the usual way.
class SortedVector {
 public:
  void append(const Key& key, double value) { records_.emplace_back(key, value); }
  void insert(const Key& key, double value) {
    records_.emplace_back(key, value);
    isSorted_ = false;
  }
  double value(const Key& key) {
    sort();
    return std::lower_bound(records_.begin(), records_.end(), key, isBefore)->second;
  }
  [[gnu::noinline]] double sum() {
    sort();
    double total = 0;
    for (const auto& record : records_) total += record.second;
    return total;
  }
  static std::int64_t bytes() { return allocatedBytes(); }
  void reserve(std::size_t records) { records_.reserve(records); }

 private:
  using Record = std::pair<Key, double>;

  static bool isBefore(const Record& record, const Key& key) { return record.first < key; }
  void sort() {
    if (!isSorted_) std::sort(records_.begin(), records_.end());
    isSorted_ = true;
  }

  std::vector<Record> records_;
  bool isSorted_ = true;
};
