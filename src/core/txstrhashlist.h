// A numbered list of texts with look-up regardless of case: the labels and the symbols of
// a database.
//
// Adding a million labels and then finding them all takes about 370 ns a label, where
// absl::flat_hash_map takes 930 and std::unordered_map 670 (`make bench` measures them): the hash
// folds case on the fly, entries and texts lie together, and most look-ups read one head and one
// entry. The alternatives on std::unordered_map in uellist.h, symtable.h and strpool.h are simpler,
// but copy and fold each text before they can look it up.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <set>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "core/textutils.h"
#include "memory/batchalloc.h"
#include "memory/pages.h"

namespace zxf::collections::strhash {

/// Case-insensitive hash of a text: h = h * 211 + c over the folded, signed bytes, so that "abc"
/// and "ABC" are in the same chain.
inline constexpr std::array<std::uint32_t, 256> kFoldedBytes = [] {
  std::array<std::uint32_t, 256> folded{};
  for (int c = 0; c < 256; ++c) {
    const auto upper = static_cast<unsigned char>(zxf::utils::toupper(static_cast<char>(c)));
    folded[c] = upper < 128 ? upper : upper - 256u;  // bytes count as signed
  }
  return folded;
}();

inline constexpr std::uint32_t hashStep(std::uint32_t hash, char c) {
#ifdef ZDB_COLLIDING_HASHES  // a build for tests, in which all texts meet in one chain
  hash = 0;
  c = ' ';
#endif
  return hash * 211u + kFoldedBytes[static_cast<unsigned char>(c)];
}

inline constexpr std::uint32_t hashText(std::string_view text) {
  std::uint32_t hash = 0;
  for (const char c : text) hash = hashStep(hash, c);
  return hash;
}

/// One entry: its hash and length, which save most accesses to the text. The text follows the
/// bucket in the same piece of memory.
template <typename T>
struct THashBucket {
  std::uint32_t next;    ///< the next of the same hash chain, 0 at its end
  std::uint32_t hash;    ///< the whole hash, not reduced to a chain number
  std::uint32_t length;  ///< of the text, without terminator
  std::int32_t number;   ///< position in order of insertion
  T object;

  const char* text() const { return reinterpret_cast<const char*>(this + 1); }
  char* text() { return reinterpret_cast<char*>(this + 1); }
};

/// A list of strings in order of insertion with a case-insensitive hash index and one object of
/// type T per string.
///
/// Numbers that the list reports are positions plus one when `oneOffset` is set. An entry keeps the
/// spelling it was added with, never moves, and lives as long as the list. Adding allocates the
/// entry in blocks and, now and then, a larger index, into which entries move little by little;
/// finding allocates only an index that is absent.
///
/// The virtual operations state the list's rules to a user of the list; lookups apply the same
/// rules inline, since a call per probe would cost more than the probe.
template <typename T>
class TXStrHashList {
  static_assert(std::is_trivially_destructible_v<T>, "entries are freed without being destroyed");

 public:
  virtual unsigned Hash(const char* text) const { return index_.chainOf(hashText(text)); }
  /// Compares strings without regard to case. Two null pointers are equal; null and a string
  /// are not.
  virtual bool EntryEqual(const char* a, const char* b) const {
    if (a == nullptr || b == nullptr) return a == b;
    return zxf::utils::sameTextInvariant(a, b);
  }
  virtual int Compare(const char* a, const char* b) const {
    return zxf::utils::strCompare(a, b, true);
  }
  virtual ~TXStrHashList() = default;
  /// Never called here: labels and symbols are freed elsewhere.
  virtual void FreeItem(int) {}

  explicit TXStrHashList(bool oneOffset = false) : oneOffset_(oneOffset ? 1 : 0) {}
  TXStrHashList(const TXStrHashList&) = delete;
  TXStrHashList& operator=(const TXStrHashList&) = delete;

  /// Number of the entry with this text, which is added with `object` if it is new.
  int AddObject(const char* text, T object) { return AddObject(text, std::strlen(text), object); }
  int AddObject(const char* text, std::size_t length, T object) {
    return AddObject(text, length, hashText({text, length}), object);
  }
  /// The same for a caller that has the hash already.
  int AddObject(const char* text, std::size_t length, std::uint32_t hash, T object) {
    if (Count() >= rehashThreshold_) growIndex();
    if (isGrowing()) [[unlikely]]
      moveChains(kChainsMovedAtOnce);
    if (const Bucket* found = findBucket(text, length, hash)) return found->number + oneOffset_;
    return append(text, length, hash, object) + oneOffset_;
  }

  /// Number of the entry, or -1 if there is none.
  int IndexOf(const char* text) {
    const std::size_t length = std::strlen(text);
    return IndexOf(text, length, hashText({text, length}));
  }
  int IndexOf(const char* text, std::size_t length, std::uint32_t hash) {
    if (index_.size == 0) growIndex();
    const Bucket* found = findBucket(text, length, hash);
    return found == nullptr ? -1 : found->number + oneOffset_;
  }

  /// Prefetches what a look-up with this hash reads first, and what it reads next.
  void prefetchHead(std::uint32_t hash) const {
    if (index_.size != 0) zdb::memory::prefetch(&index_.headOf(hash));
  }
  void prefetchEntry(std::uint32_t hash) const {
    if (index_.size == 0) return;
    if (const std::uint32_t likely = likelyIn(index_.headOf(hash), tagOf(hash)); likely != 0) {
      zdb::memory::prefetch(at(likely));
    }
  }

  /// Removes the entries from this number of entries on, last added first. Their memory is freed
  /// with the list.
  void truncate(int count) noexcept {
    while (Count() > count) {
      unchain(entries_.back());
      entries_.pop_back();
    }
    if (hasSortMap_) CreateSortMap();
  }

  int Count() const { return static_cast<int>(entries_.size()); }
  const char* GetString(int position) const { return at(entries_[position])->text(); }
  std::size_t GetLength(int position) const { return at(entries_[position])->length; }
  T& GetObject(int position) { return at(entries_[position])->object; }
  const T& GetObject(int position) const { return at(entries_[position])->object; }

  /// Number of chains in the index; 0 while there is no index.
  int HashTableSize() const { return index_.size; }

  /// Replaces the index by an empty one whose size suits `count` entries.
  void HashTableReset(int count) {
    const Size size = sizeFor(count);
    index_ = Index(size.table);
    outgrown_ = {};
    crowded_.clear();
    rehashThreshold_ = size.threshold;
  }

  /// Gives the list a sort map, initially in order of insertion. When entries are added, the map
  /// grows with the list, and IsSorted() becomes false.
  void CreateSortMap() {
    sortMap_.resize(entries_.size());
    for (int i = 0; i < Count(); ++i) sortMap_[i] = i;
    hasSortMap_ = true;
  }
  const std::vector<std::int32_t>& SortMap() const { return sortMap_; }
  bool IsSorted() const { return sorted_; }

 private:
  using Bucket = THashBucket<T>;

  /// So moving all chains takes half as many additions as there are chains.
  static constexpr int kChainsMovedAtOnce = 2;

  struct Size {
    int below;      ///< for fewer entries than this
    int table;      ///< a prime
    int threshold;  ///< number of entries at which the index grows
  };

  static constexpr Size sizeFor(int count) {
    constexpr Size sizes[] = {{1500, 997, 1500},
                              {15000, 9973, 15000},
                              {150000, 99991, 150000},
                              {1500000, 999979, 1500000},
                              {15000000, 9999991, 15000000}};
    for (const Size& size : sizes) {
      if (count < size.below) return size;
    }
    return {2147483647, 99999989, 2147483647};
  }

  static bool sameText(const Bucket& bucket, const char* text, std::size_t length) {
    const char* stored = bucket.text();
    return std::memcmp(stored, text, length) == 0 ||
           zxf::utils::sameTextInvariant({stored, length}, {text, length});
  }

  /// A chain's first three buckets, each with a byte of its hash: nearly every look-up touches one
  /// bucket, the right one, without a branch that depends on its place in the chain. Further
  /// buckets are linked from the third, and what a chain of this length does not take goes into an
  /// ordered set: chance makes no such chain, but texts can be chosen to meet in one. 16 bytes, so
  /// that a head never straddles a cache line.
  struct Head {
    static constexpr int kListed = 3;
    static constexpr int kMostHanging = 16;
    std::uint32_t bucket[kListed];
    std::uint8_t tag[kListed];
    std::uint8_t hanging;  ///< how many hang on the third
  };

  /// The heads of the chains.
  struct Index {
    zdb::batchalloc::LargeArray<Head> heads;
    std::int32_t size = 0;
    std::uint64_t reciprocal = 0;

    Index() = default;
    explicit Index(std::int32_t chains)
        : heads(static_cast<std::size_t>(chains)),
          size(chains),
          reciprocal(~std::uint64_t{0} / static_cast<std::uint64_t>(chains) + 1) {}

    /// (hash without its top bit) modulo the size, by multiplication with the reciprocal: exact for
    /// 32-bit operands (Lemire, Kaser, Kurz: "Faster remainder by direct computation", 2019).
    unsigned chainOf(std::uint32_t hash) const {
      const std::uint64_t fraction = reciprocal * (hash & 0x7FFFFFFFu);
      __extension__ using Wide = unsigned __int128;
      return static_cast<unsigned>(
          (static_cast<Wide>(fraction) * static_cast<std::uint64_t>(size)) >> 64);
    }
    Head& headOf(std::uint32_t hash) { return heads[chainOf(hash)]; }
    const Head& headOf(std::uint32_t hash) const { return heads[chainOf(hash)]; }
  };

  static std::uint8_t tagOf(std::uint32_t hash) { return static_cast<std::uint8_t>(hash >> 24); }

  Bucket* at(std::uint32_t reference) const { return static_cast<Bucket*>(memory_.at(reference)); }

  static bool holds(const Bucket* bucket, const char* text, std::size_t length,
                    std::uint32_t hash) {
    return bucket->hash == hash && bucket->length == length && sameText(*bucket, text, length);
  }

  struct Sought {
    std::uint32_t hash;
    std::string_view text;
  };
  /// Any order of the texts without regard to case; texts that are equal have the same hash.
  struct ByText {
    using is_transparent = void;
    const TXStrHashList* list;

    Sought soughtFor(std::uint32_t reference) const {
      const Bucket* bucket = list->at(reference);
      return {bucket->hash, {bucket->text(), bucket->length}};
    }
    const Sought& soughtFor(const Sought& sought) const { return sought; }
    template <typename A, typename B>
    bool operator()(const A& a, const B& b) const {
      const Sought& left = soughtFor(a);
      const Sought& right = soughtFor(b);
      if (left.hash != right.hash) return left.hash < right.hash;
      return std::lexicographical_compare(
          left.text.begin(), left.text.end(), right.text.begin(), right.text.end(),
          [](char x, char y) { return zxf::utils::toupper(x) < zxf::utils::toupper(y); });
    }
  };

  Bucket* findBucket(const char* text, std::size_t length, std::uint32_t hash) const {
    if (isGrowing() && outgrown_.chainOf(hash) >= moved_) [[unlikely]] {
      Bucket* found = findIn(outgrown_.headOf(hash), text, length, hash);
      if (found != nullptr) return found;
    }
    Bucket* found = findIn(index_.headOf(hash), text, length, hash);
    if (found != nullptr || crowded_.empty()) [[likely]]
      return found;
    const auto place = crowded_.find(Sought{hash, {text, length}});
    return place == crowded_.end() ? nullptr : at(*place);
  }

  static std::uint32_t likelyIn(const Head& head, std::uint8_t tag) {
    std::uint32_t likely = head.tag[2] == tag ? head.bucket[2] : 0;
    likely = head.tag[1] == tag ? head.bucket[1] : likely;
    return head.tag[0] == tag ? head.bucket[0] : likely;
  }

  Bucket* findIn(const Head& head, const char* text, std::size_t length, std::uint32_t hash) const {
    const std::uint32_t likely = likelyIn(head, tagOf(hash));
    if (likely != 0 && holds(at(likely), text, length, hash)) [[likely]]
      return at(likely);
    return walkChain(head, text, length, hash);
  }

  Bucket* walkChain(const Head& head, const char* text, std::size_t length,
                    std::uint32_t hash) const {
    for (int i = 0; i < Head::kListed && head.bucket[i] != 0; ++i) {
      if (head.tag[i] == tagOf(hash) && holds(at(head.bucket[i]), text, length, hash)) {
        return at(head.bucket[i]);
      }
    }
    if (head.bucket[Head::kListed - 1] == 0) return nullptr;
    std::uint32_t next = at(head.bucket[Head::kListed - 1])->next;
    while (next != 0 && !holds(at(next), text, length, hash)) next = at(next)->next;
    return next == 0 ? nullptr : at(next);
  }

  void chain(std::uint32_t reference) {
    Bucket* bucket = at(reference);
    Head& head = index_.headOf(bucket->hash);
    bucket->next = 0;
    for (int i = 0; i < Head::kListed; ++i) {
      if (head.bucket[i] != 0) continue;
      head.bucket[i] = reference;
      head.tag[i] = tagOf(bucket->hash);
      return;
    }
    if (head.hanging == Head::kMostHanging && joinCrowd(reference)) return;
    if (head.hanging < Head::kMostHanging) ++head.hanging;
    Bucket* third = at(head.bucket[Head::kListed - 1]);
    bucket->next = third->next;
    third->next = reference;
  }

  /// Without memory the chain is to become longer instead: an entry must be found in any case.
  bool joinCrowd(std::uint32_t reference) noexcept {
    try {
      crowded_.insert(reference);
      return true;
    } catch (const std::bad_alloc&) {
      return false;
    }
  }

  void unchain(std::uint32_t reference) noexcept {
    const std::uint32_t hash = at(reference)->hash;
    if (unchainFrom(index_.headOf(hash), reference)) return;
    const bool mayBeOutgrown = isGrowing() && outgrown_.chainOf(hash) >= moved_;
    if (mayBeOutgrown && unchainFrom(outgrown_.headOf(hash), reference)) return;
    crowded_.erase(reference);
  }

  bool unchainFrom(Head& head, std::uint32_t reference) noexcept {
    constexpr int kLast = Head::kListed - 1;
    const std::uint32_t last = head.bucket[kLast];
    std::uint32_t* link = last == 0 ? nullptr : &at(last)->next;
    for (int i = 0; i < Head::kListed; ++i) {
      if (head.bucket[i] != reference) continue;
      if (link != nullptr && *link != 0) {
        putInPlace(head, i, *link, at(*link)->next, link);
      } else {
        for (int k = i; k < kLast; ++k) {
          head.bucket[k] = head.bucket[k + 1];
          head.tag[k] = head.tag[k + 1];
        }
        head.bucket[kLast] = 0;
      }
      return true;
    }
    while (link != nullptr && *link != 0 && *link != reference) link = &at(*link)->next;
    if (link == nullptr || *link == 0) return false;
    *link = at(reference)->next;
    if (head.hanging > 0) --head.hanging;
    return true;
  }

  /// Lists an entry that was hanging, the first, in place of one that goes.
  void putInPlace(Head& head, int i, std::uint32_t hung, std::uint32_t rest, std::uint32_t* link) {
    head.bucket[i] = hung;
    head.tag[i] = tagOf(at(hung)->hash);
    *link = rest;
    at(hung)->next = i == Head::kListed - 1 ? rest : 0;
    if (head.hanging > 0) --head.hanging;
  }

  bool isGrowing() const { return outgrown_.size != 0; }

  /// An index that has become too small stays until its chains have moved, a few with each
  /// addition, so that no addition takes long. They have all moved before the index has to
  /// grow again.
  void growIndex() {
    moveChains(outgrown_.size);
    const Size size = sizeFor(Count());
    Index larger(size.table);
    outgrown_ = std::exchange(index_, std::move(larger));
    moved_ = 0;
    rehashThreshold_ = size.threshold;
    if (isGrowing()) return;
    for (const std::uint32_t reference : entries_) chain(reference);
  }

  void moveChains(int count) {
    for (; count > 0 && isGrowing(); --count) {
      moveChain(outgrown_.heads[moved_]);
      if (++moved_ == static_cast<unsigned>(outgrown_.size)) outgrown_ = {};
    }
  }

  void moveChain(const Head& head) {
    const std::uint32_t last = head.bucket[Head::kListed - 1];
    std::uint32_t next = last == 0 ? 0 : at(last)->next;
    for (const std::uint32_t listed : head.bucket) {
      if (listed != 0) chain(listed);
    }
    while (next != 0) {
      const std::uint32_t reference = next;
      next = at(reference)->next;
      chain(reference);
    }
  }

  int append(const char* text, std::size_t length, std::uint32_t hash, T object) {
    entries_.reserve(entries_.size() < entries_.capacity() ? 0 : 2 * entries_.capacity() + 8);
    const std::uint32_t reference = memory_.allocateReference(sizeof(Bucket) + length + 1);
    const int number = Count();
    auto* bucket = new (memory_.at(reference))
        Bucket{0, hash, static_cast<std::uint32_t>(length), number, object};
    std::memcpy(bucket->text(), text, length);
    bucket->text()[length] = '\0';
    if (hasSortMap_) {
      sortMap_.push_back(number);
      sorted_ = false;
    }
    entries_.push_back(reference);
    chain(reference);
    return number;
  }

  zdb::batchalloc::BatchAllocator memory_;  ///< the buckets
  std::vector<std::uint32_t> entries_;
  Index index_;
  Index outgrown_;      ///< the previous index, while it still has chains
  unsigned moved_ = 0;  ///< number of its chains that have moved
  std::set<std::uint32_t, ByText> crowded_{ByText{this}};  ///< entries that no chain takes
  std::int32_t rehashThreshold_ = 0;
  std::vector<std::int32_t> sortMap_;
  bool hasSortMap_ = false;
  bool sorted_ = false;
  int oneOffset_;
};

}  // namespace zxf::collections::strhash
