#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace zdb {

class ZDB;

/// What the record handles of one symbol have to learn from it.
///
/// A handle knows its record by a number (in a sorted array, where numbers change when another
/// record is inserted or erased before it) or by an address (elsewhere, where the memory of an
/// erased record may hold another one later). So the symbol notes each such change as long as there
/// are handles to read it, and a handle that is used again reads what it has missed. The notes are
/// shared: handles may be freed after their symbol, which is how they can tell that it has gone.
///
/// A note is 8 bytes. All are dropped when the last handle is freed, so what is kept grows only
/// while records are erased, or inserted between others, and some handle is there all the time.
class HandleNotes {
  struct Shared {
    explicit Shared(const ZDB* owner) : database(owner) {}

    const ZDB* database;
    std::uint64_t version = 0;     ///< raised with every change; handles compare it at every use
    std::uint32_t generation = 0;  ///< raised when all records go at once, which ends every handle
    int owners = 1;
    bool isSymbolGone = false;
    bool isSymbolRemoved = false;
    std::vector<std::intptr_t> changes;
  };

 public:
  /// For the symbol of this database.
  explicit HandleNotes(const ZDB* database) : shared_(new Shared(database)) {}
  HandleNotes(const HandleNotes&) = delete;
  HandleNotes& operator=(const HandleNotes&) = delete;
  ~HandleNotes() {
    endHandles();
    shared_->isSymbolGone = true;
    leave(shared_);
  }

  /// All records go: every handle there is can only be freed.
  void endHandles() {
    ++shared_->generation;
    ++shared_->version;
  }
  /// The symbol goes and nothing takes its place.
  void noteRemoval() { shared_->isSymbolRemoved = true; }
  /// Makes room for the next note, so that noting cannot fail. Throws std::bad_alloc.
  void makeRoom() {
    std::vector<std::intptr_t>& changes = shared_->changes;
    if (changes.size() == changes.capacity()) changes.reserve(2 * changes.size() + 8);
  }
  /// The same for so many notes. Nothing if nobody would read them.
  void makeRoomFor(std::size_t count) {
    std::vector<std::intptr_t>& changes = shared_->changes;
    const std::size_t needed = changes.size() + count;
    if (shared_->owners == 1 || needed <= changes.capacity()) return;
    changes.reserve(std::max(needed, 2 * changes.size()));
  }
  /// REQUIRES makeRoom was called after the last note.
  void noteInserted(int number) noexcept { note(number); }
  void noteErased(int number) noexcept { note(~static_cast<std::intptr_t>(number)); }
  void noteErased(const void* record) noexcept { note(reinterpret_cast<std::intptr_t>(record)); }

  /// What one handle has read of the notes.
  class Reader {
   public:
    explicit Reader(const HandleNotes& notes)
        : shared_(notes.shared_),
          seen_(shared_->version),
          read_(static_cast<std::uint32_t>(shared_->changes.size())),
          generation_(shared_->generation) {
      ++shared_->owners;
    }
    Reader(const Reader& other)
        : shared_(other.shared_),
          seen_(other.seen_),
          read_(other.read_),
          generation_(other.generation_) {
      ++shared_->owners;
    }
    Reader& operator=(Reader other) noexcept {
      std::swap(shared_, other.shared_);
      seen_ = other.seen_;
      read_ = other.read_;
      generation_ = other.generation_;
      return *this;
    }
    ~Reader() { leave(shared_); }

    const ZDB* database() const { return shared_->database; }
    /// Whether all records, or the symbol itself, went since the handle was made.
    bool hasEnded() const { return generation_ != shared_->generation; }
    bool isSymbolGone() const { return shared_->isSymbolGone; }
    /// Whether it was removed, not moved to another storage.
    bool isSymbolRemoved() const { return shared_->isSymbolRemoved; }

    /// Whether nothing has happened since: the record is where it was.
    bool isUpToDate() const { return seen_ == shared_->version; }
    /// The number now of the record that had this number when last read, or -1 if it was erased.
    /// Linear in the number of changes since.
    int follow(int number) {
      for (; number >= 0 && read_ < shared_->changes.size(); ++read_) {
        const auto change = static_cast<int>(shared_->changes[read_]);
        if (change >= 0) {
          number += change <= number;
        } else if (~change <= number) {
          number = ~change == number ? -1 : number - 1;
        }
      }
      noteRead();
      return number;
    }
    /// Whether the record at this address was erased since the last reading. As linear.
    bool wasErased(const void* record) {
      const auto unread = shared_->changes.begin() + read_;
      noteRead();
      return std::find(unread, shared_->changes.end(), reinterpret_cast<std::intptr_t>(record)) !=
             shared_->changes.end();
    }

   private:
    void noteRead() {
      read_ = static_cast<std::uint32_t>(shared_->changes.size());
      seen_ = shared_->version;
    }

    Shared* shared_;
    std::uint64_t seen_;  ///< version when last read
    std::uint32_t read_;  ///< changes that have been read
    std::uint32_t generation_;
  };

 private:
  static void leave(Shared* shared) {
    if (--shared->owners == 0) {
      delete shared;
    } else if (shared->owners == 1) {
      shared->changes.clear();
    }
  }
  void note(std::intptr_t change) noexcept {
    if (shared_->owners == 1) return;  // there is nobody to read it
    shared_->changes.push_back(change);
    ++shared_->version;
  }

  Shared* shared_;
};

}  // namespace zdb
