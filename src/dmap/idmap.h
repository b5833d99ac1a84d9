// The contract between a symbol and the container that keeps its records.
//
// A record is a key, `dim` label numbers (signed 32-bit integers, 0 <= dim <= 20), and its values,
// one or five doubles. The records of a symbol can be moved from one container to another, so the
// contract is stated here once for all; where a container departs from it by design, its own header
// says so.
//
// There are three containers because no one of them is best for adding in any order, for memory and
// for keys with common prefixes. About, for a million records of three labels and a double, in
// nanoseconds and heap bytes per record (`make bench` measures them on your machine):
//
//                        load in order  load at random  find  walk  erase  bytes
//    DMap                            9             580   380   1.3    460  32 (at random 35)
//    DMapVector                    2.6               -   300   0.5      -  21
//    DMapUTree                      14             570   420   2.8    510  33 (at random 36)
//    absl::btree_map                10             500   530   1.5    530  28 (at random 35)
//    std::map                       20            1100   770   7.1   1100  64
//    sorted std::vector            2.6              94   290   0.7      -  25
//
// Finding and erasing are in random order. The vectors take time in the number of records to add or
// erase one in the middle; the sorted std::vector was sorted once after loading.
#pragma once

#include <cstdint>

namespace zdb::dmap {

/// Largest number of positions of a key.
inline constexpr int kMaxDim = 20;

/// Which container keeps the records of a symbol. The numbers are part of the exported interface.
enum class StorageTypes : int {
  Map = 0,     ///< `DMap`, an ordered tree: any order of insertion, stable records. The default.
  Vector = 1,  ///< `DMapVector`, two sorted arrays: filled in order, then mostly read
  Tree = 2,    ///< `DMapUTree`, a prefix tree over the labels: shared prefixes stored once
};

/// What a `VirtualPair` frees when it is destroyed.
enum class ElemOwnership : std::uint8_t {
  None = 0,              ///< both arrays belong to the container
  OwnsKey = 1,           ///< the key array was allocated for the pair, with `new int[]`
  OwnsKeyAndValues = 2,  ///< both arrays were, the values with `new double[]`
};

/// Number of doubles per record for a container built with `valueWidth`: any width below 2 means
/// one, anything else five (level, marginal, lower bound, upper bound, scale).
constexpr int doublesPerRecord(int valueWidth) {
  return valueWidth < 2 ? 1 : 5;
}

/// A view of one record, made by dereferencing an iterator.
///
/// With `ElemOwnership::None` the pointers point into the container: `second` may be written
/// through and stays valid as long as the container's header says; `first` is valid until the next
/// change of the container. Not copyable, because it may own its arrays.
class VirtualPair {
 public:
  /// Views `key` (dim label numbers) and `values` (1 or 5 doubles), taking ownership of what
  /// `owned` names.
  VirtualPair(const int* key, double* values, ElemOwnership owned)
      : first(key), second(values), ownership(owned) {}

  /// Views a stored record: a key of `dim` label numbers directly followed by its values. A record
  /// of dimension 0 has no key: both pointers are then the first double, and `first` must not be
  /// read. The value width does not affect the layout.
  /// REQUIRES the values are aligned.
  VirtualPair(int dim, int /*valueWidth*/, void* record)
      : first(static_cast<const int*>(record)),
        second(reinterpret_cast<double*>(static_cast<int*>(record) + dim)),
        ownership(ElemOwnership::None) {}

  VirtualPair(const VirtualPair&) = delete;
  VirtualPair& operator=(const VirtualPair&) = delete;

  ~VirtualPair() {
    if (ownership == ElemOwnership::None) return;
    delete[] first;
    if (ownership == ElemOwnership::OwnsKeyAndValues) delete[] second;
  }

  const int* first;         ///< the key, or null where there is no record
  double* second;           ///< the values, or null where there is no record
  ElemOwnership ownership;  ///< what the destructor frees
};

/// Marks the iterators of record containers.
class BaseDMapIterator {};

/// A position in a container: at a record or at the end. The order of the virtual functions is
/// fixed. There is no virtual destructor: iterators are values and are never deleted through
/// this base.
class IDMapIterator {
 public:
  /// Moves to the next record in key order.
  virtual IDMapIterator& operator++() = 0;
  /// Moves to the previous record in key order; from the end, to the last record.
  virtual IDMapIterator& operator--() = 0;
  /// The record at this position.
  virtual VirtualPair operator*() const = 0;
  /// Whether `other` has the same container type, dimension, value width and position.
  virtual bool operator==(const IDMapIterator& other) const = 0;
  virtual bool operator!=(const IDMapIterator& other) const = 0;
  /// Whether this iterator is singular, that is, default-constructed: it points nowhere.
  virtual bool isNullPtr() const = 0;

 protected:
  IDMapIterator() = default;
  IDMapIterator(const IDMapIterator&) = default;
  IDMapIterator& operator=(const IDMapIterator&) = default;
  ~IDMapIterator() = default;
};

/// A container of records whose iterators are of type `It`. The order of the virtual functions
/// is fixed.
///
/// Keys and values are passed as pointers to their first element, `getDim()` label numbers and
/// `doublesPerRecord(getValueWidth())` doubles; both are copied. For dimension 0 the key is never
/// read and may be null, and the container holds at most one record.
///
/// - Order: iteration is in key order; labels are compared as signed integers, the first position
///   being the most significant.
/// - Duplicates: keys are unique; each insertion below says what an existing key means. For
///   dimension 0 every insertion overwrites the values.
/// - Validity: `clear()` and the destructor invalidate all iterators, `erase()` those at the erased
///   record. What else insertion and erasure invalidate depends on the container; in a `DMap` all
///   other iterators and the addresses of all values stay valid.
/// - Cost: as noted, for n records; a container may do better.
/// - Errors: none but std::bad_alloc, which leaves the container as it was.
template <class It>
class IDMap {
 public:
  IDMap(const IDMap&) = delete;
  IDMap& operator=(const IDMap&) = delete;
  virtual ~IDMap() = default;

  /// Adds a record that the caller expects to be the last in order; amortised O(1) if it is. An
  /// existing key keeps its values. Returns the record with this key.
  virtual It emplace_end(const int* key, const double* values) = 0;
  /// Adds a record anywhere, O(log n). An existing key keeps its values. Returns the record with
  /// this key.
  virtual It emplace(const int* key, const double* values) = 0;
  /// Like `emplace`, but first tries the place just before `hint`, as the standard map does.
  /// Amortised O(1) if the hint is right; a wrong one only costs time.
  virtual It emplace_hint(const int* key, const double* values, It& hint) = 0;
  /// Like `emplace_hint`, but an existing key gets the new values.
  virtual It insert_or_assign(It& hint, const int* key, const double* values) = 0;
  /// Removes the record at `it`, O(log n).
  virtual void erase(const It& it) = 0;
  virtual std::uint64_t size() const = 0;
  virtual bool empty() const = 0;
  /// The first record whose key is not less than `key`, O(log n).
  virtual It lower_bound(const int* key) = 0;
  /// The record with this key, or `end()`, O(log n).
  virtual It find(const int* key) = 0;
  virtual It begin() = 0;
  virtual It end() = 0;
  /// Removes all records.
  virtual void clear() = 0;
  /// Rank of the record at `it` in key order, 0 <= rank < size(), or -1 if `it` is not at a record
  /// of this container. O(n).
  virtual int index(const It& it) = 0;
  /// The record of rank `rank`; `begin()` for a negative rank and `end()` for one that is too
  /// large. O(n).
  virtual It withIndex(int rank) = 0;
  /// Announces how many records will be added; only some containers make use of this.
  virtual void reserve(int records) = 0;

  StorageTypes getStorageType() const { return storageType_; }
  int getDim() const { return dim_; }
  int getValueWidth() const { return valueWidth_; }

 protected:
  IDMap(StorageTypes storageType, int dim, int valueWidth)
      : storageType_(storageType), dim_(dim), valueWidth_(valueWidth) {}

 private:
  const StorageTypes storageType_;
  const int dim_;
  const int valueWidth_;  ///< as given; see `doublesPerRecord`
};

/// Compares the first `dim` label numbers of two keys, where a 0 on either side matches any label.
/// Returns 0 if they match, else the difference of the first pair that does not (negative if `a`
/// comes first). This is not an order: use it for searching only.
inline int recordNumericKeysCompareWithWildcard(const int* a, const int* b, int dim) {
  for (int i = 0; i < dim; ++i) {
    if (a[i] != 0 && b[i] != 0 && a[i] != b[i]) {
      // Wraps around, as a 32-bit subtraction does, instead of overflowing.
      return static_cast<int>(static_cast<unsigned>(a[i]) - static_cast<unsigned>(b[i]));
    }
  }
  return 0;
}

}  // namespace zdb::dmap
