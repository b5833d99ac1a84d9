// Lists of short texts: labels, texts and symbol names, numbered from 1.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "zxf/bytes.h"

namespace zdb::zxfile {

/// Texts of at most 255 bytes, stored as in the file: a length byte and the text, one after the
/// other. So a list is read and written as a whole.
class TextList {
 public:
  /// Appends a text. Fails with TooMany if the format cannot count or address it.
  void add(std::string_view text);

  /// Takes over `count` texts in file form; fails with the code if they do not fill the bytes.
  void adopt(Bytes&& stored, std::uint32_t count, Errc onDamage);

  std::uint32_t size() const { return static_cast<std::uint32_t>(offsets_.size()); }

  /// REQUIRES 1 <= number <= size(). Valid until the list changes.
  std::string_view at(std::uint32_t number) const {
    const std::uint8_t* entry = stored_.data() + offsets_[number - 1];
    return asText({entry + 1, *entry});
  }

  bool holds(int number) const {
    return number >= 1 && static_cast<std::uint32_t>(number) <= size();
  }

  const Bytes& stored() const { return stored_; }

 private:
  Bytes stored_;
  std::vector<std::uint32_t> offsets_;
};

/// Finds the numbers of distinct texts of at most 63 bytes, compared without regard to the case of
/// ASCII letters. A hash table with open addressing over pairs of hash and number, at most half
/// full: 16 to 32 bytes per text, which is not copied. Names that find no place near their own,
/// which hardly happens unless somebody chose them so, are kept in an ordered map: however names
/// collide, none costs more than a logarithm.
class NameIndex {
 public:
  /// The number of `name` in `list`, or 0.
  std::uint32_t find(const TextList& list, std::string_view name) const;

  /// Appends a name to `list` and adds it; false if an equal one is there already.
  bool add(TextList& list, std::string_view name);

  /// Adds all texts of `list`; returns the number of the first that repeats another, or 0.
  std::uint32_t build(const TextList& list);

 private:
  struct Slot {
    std::uint32_t hash = 0;
    std::uint32_t number = 0;  ///< 0: free
  };

  static constexpr std::size_t kMostProbes = 64;
  static constexpr std::size_t kNoSlot = ~std::size_t{0};

  static std::uint32_t hashOf(std::string_view name);
  /// The first slot from that of the hash on that is free or for which stop(slot) holds, or kNoSlot
  /// when there is none in reach.
  template <typename Stop>
  std::size_t firstSlot(std::uint32_t hash, Stop stop) const;
  /// The slot that holds `name`, or the free one where it belongs, or kNoSlot.
  std::size_t slotOf(const TextList& list, std::string_view name, std::uint32_t hash) const;
  std::uint32_t findCrowded(std::string_view name) const;
  /// Whether the name is there already; `at` is its slot.
  bool isTaken(std::size_t at, std::string_view name) const;
  void reserve(const TextList& list, std::size_t count);
  void put(const TextList& list, std::size_t at, Slot slot);
  void grow(const TextList& list, std::size_t capacity);

  std::vector<Slot> slots_;
  std::map<std::string, std::uint32_t> crowded_;  ///< numbers by name in upper case
  std::uint32_t used_ = 0;
};

/// A list of distinct names.
class NameList {
 public:
  /// The number of the new name, or 0 if the list has it already, in upper or lower case.
  std::uint32_t add(std::string_view name);
  /// As TextList::adopt(); also fails on a repeated name.
  void adopt(Bytes&& stored, std::uint32_t count, Errc onDamage);

  std::uint32_t find(std::string_view name) const { return index_.find(list_, name); }
  const TextList& list() const { return list_; }

 private:
  TextList list_;
  NameIndex index_;
};

/// Whether a text can be a label of a file: as in the database, and without a trailing blank. The
/// empty text is a label.
bool isLabel(std::string_view text);

/// Whether a text can be the name of a symbol of a file, less strict than in the database: 1 to 63
/// bytes, not beginning with '*', without blanks, control characters and quotes.
bool isSymbolName(std::string_view text);

}  // namespace zdb::zxfile
