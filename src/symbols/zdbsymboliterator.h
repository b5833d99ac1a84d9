#pragma once

#include <memory>

#include "core/abstractzdbsymbol.h"
#include "dmap/idmap.h"

namespace zdb {

namespace uellist {
class IUELList;
}

/// How a record handle walks.
enum IteratorMode : int {
  ModeRecords = 0,   ///< every record of the symbol
  ModeSlice = 1,     ///< the records that match the slice keys
  ModeUniverse = 2,  ///< the labels of the database
  ModeSpent = 3,     ///< nothing: the record was deleted through this handle
};

/// A record handle: a position on one record of a symbol, or on one label of the universe.
///
/// Handles are made and freed by the million, so their memory is recycled per thread, and the text
/// of a failed move is allocated by the first move that fails. A handle is valid as long as its
/// record exists and its symbol is not cleared, reset or moved to another storage. A failed move
/// does not change its position.
class AbstractZDBSymbolIterator {
 public:
  AbstractZDBSymbolIterator(IteratorMode walk, AbstractZDBSymbol* walked, int label = -1)
      : mode(walk), symbol(walked), uelNr(label), notes(walked->handleNotes) {}
  AbstractZDBSymbolIterator(const AbstractZDBSymbolIterator&) = delete;
  AbstractZDBSymbolIterator& operator=(const AbstractZDBSymbolIterator&) = delete;

  virtual ~AbstractZDBSymbolIterator() = default;
  /// The position in the symbol's container.
  virtual dmap::IDMapIterator& getIterator() = 0;
  /// Row of the current record, writable in place; null on the universe, past the last record and
  /// after the record has been deleted.
  virtual double* getValues() const = 0;
  /// Moves to the next record (on the universe, label up to `highestLabel`); a failure leaves its
  /// text in `message`.
  virtual bool moveNext(int highestLabel) = 0;
  virtual bool movePrev() = 0;
  virtual bool hasNext(const uellist::IUELList& labels) = 0;
  /// Whether both are at the same stored row (on the universe, the same label).
  virtual bool equalValues(const AbstractZDBSymbolIterator* other) const = 0;
  virtual int getDim() const = 0;
  virtual bool hasPrev() = 0;
  /// Copies the key (getDim() numbers) and the row (1 or 5 doubles); false if there is no record.
  virtual bool getRecordRaw(int* keys, double* values) = 0;
  /// Key of the current record, valid until the handle moves; on the universe, the label number;
  /// null if there is no record.
  virtual const int* getKeys() const = 0;
  /// Moves this handle to the position of the other one and takes over its slice.
  /// REQUIRES both are handles of the same symbol.
  virtual void assignIterator(AbstractZDBSymbolIterator* other) = 0;
  /// Learns what has become of the record since the last use: to be called before the handle is
  /// used again, unless `notes` are up to date or it has ended.
  virtual void catchUp() const = 0;
  /// A new handle of the same kind with the same position.
  virtual std::unique_ptr<AbstractZDBSymbolIterator> copy() = 0;

  /// Text of the last failed move; empty if none has failed.
  const char* lastMessage() const { return message ? message.get() : ""; }

  /// Makes the next handle of this size free of failure, so that one can be given to a record that
  /// is only added then. Throws std::bad_alloc.
  static void makeRoom(std::size_t bytes);
  static void* operator new(std::size_t bytes);
  static void operator delete(void* object, std::size_t bytes) noexcept;

  mutable IteratorMode mode;          ///< mutable, since reading may find the record deleted
  AbstractZDBSymbol* symbol;          ///< walked, not owned
  std::unique_ptr<int[]> sliceKeys;   ///< `dim` numbers in ModeSlice; 0 matches any label
  int uelNr;                          ///< current label in ModeUniverse, else -1
  std::unique_ptr<char[]> message;    ///< kMessageSize bytes, made by the first failed move
  mutable HandleNotes::Reader notes;  ///< what has become of the records since

  /// Whether all records of the symbol, or the symbol, were removed since the handle was made. Such
  /// a handle must not be moved or read, nor its symbol be used; it can only be freed.
  bool hasEnded() const { return notes.hasEnded(); }

 protected:
  [[gnu::format(printf, 2, 3)]] bool failMove(const char* format, ...);
};

}  // namespace zdb
