#pragma once

#include <cstddef>
#include <utility>
#include <vector>

namespace zdb {

/// Keeps track of where the records of a sorted array have moved.
///
/// A handle on such a record identifies it by its number, which changes when another record is
/// inserted or erased before it. So the symbol logs these changes while there are handles, and a
/// handle catches up with the log when it is next used. Appending moves nothing and is not logged.
/// Ownership of the log is shared, since handles may be freed after their symbol.
class RecordMoves {
  struct Notes {
    std::vector<int> changes;  ///< the number of an inserted record, or ~number of an erased one
    int owners = 1;
  };

 public:
  RecordMoves() : notes_(new Notes) {}
  RecordMoves(const RecordMoves&) = delete;
  RecordMoves& operator=(const RecordMoves&) = delete;
  ~RecordMoves() { leave(notes_); }

  /// Makes room for the next entry of the log, so that adding it cannot fail.
  /// Throws std::bad_alloc.
  void makeRoom() {
    std::vector<int>& changes = notes_->changes;
    if (notes_->owners == 1) changes.clear();
    if (changes.size() == changes.capacity()) changes.reserve(2 * changes.size() + 8);
  }
  void noteInserted(int number) noexcept { note(number); }
  void noteErased(int number) noexcept { note(~number); }

  /// How far one handle has read the log.
  class Reader {
   public:
    Reader() = default;
    explicit Reader(const RecordMoves& moves)
        : notes_(moves.notes_), read_(notes_->changes.size()) {
      ++notes_->owners;
    }
    Reader(const Reader& other) : notes_(other.notes_), read_(other.read_) {
      if (notes_ != nullptr) ++notes_->owners;
    }
    Reader& operator=(Reader other) noexcept {
      std::swap(notes_, other.notes_);
      std::swap(read_, other.read_);
      return *this;
    }
    ~Reader() { leave(notes_); }

    bool isUpToDate() const { return notes_ == nullptr || read_ == notes_->changes.size(); }
    /// The current number of the record that had this number at the last read, or -1 if it was
    /// erased. Linear in the number of changes since then.
    int follow(int number) {
      for (; number >= 0 && read_ < notes_->changes.size(); ++read_) {
        const int change = notes_->changes[read_];
        if (change >= 0) {
          number += change <= number;
        } else if (~change <= number) {
          number = ~change == number ? -1 : number - 1;
        }
      }
      read_ = notes_->changes.size();
      return number;
    }

   private:
    Notes* notes_ = nullptr;
    std::size_t read_ = 0;
  };

 private:
  static void leave(Notes* notes) {
    if (notes != nullptr && --notes->owners == 0) delete notes;
  }
  void note(int change) noexcept {
    if (notes_->owners > 1) notes_->changes.push_back(change);  // makeRoom() was called
  }

  Notes* notes_;
};

/// For storages whose iterators follow their records.
struct NoMoves {
  struct Reader {
    Reader() = default;
    explicit Reader(const NoMoves& /*moves*/) {}
  };
};

}  // namespace zdb
