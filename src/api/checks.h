#pragma once

#include "api/guard.h"
#include "symbols/zdbsymboliterator.h"

// Argument checks that several functions make.
namespace zdb {

/// A symbol of this database, the universe included. One of another database would be read with
/// this one's labels.
inline bool symbolGiven(Call call, const AbstractZDBSymbol* symbol) {
  if (symbol == nullptr) [[unlikely]] {
    call.db.setLastError("No symbol handle specified");
    return false;
  }
  if (symbol->database == &call.db) [[likely]]
    return true;
  call.db.owns(*symbol, symbol->name.c_str());
  return false;
}

/// As symbolGiven, with the text for the universe, which no record or setting of its own can have.
inline bool userSymbolGiven(Call call, const AbstractZDBSymbol* symbol, const char* universeText) {
  if (!symbolGiven(call, symbol)) return false;
  return !symbol->isUniverse() || call.db.setLastError("%s", universeText);
}

/// Whether the symbol that the handle was made on has not been replaced since.
inline bool symbolIsThere(Call call, const AbstractZDBSymbolIterator* record) {
  if (!record->notes.isSymbolGone()) return true;
  return call.db.setLastError(
      "%s: the symbol of this record handle was put into another storage, find the record again",
      call.function);
}

/// The rest of recordGiven, for a handle whose symbol has changed since it was used last.
inline bool hasNotEnded(Call call, const AbstractZDBSymbolIterator* record) {
  if (!symbolIsThere(call, record)) return false;
  const AbstractZDBSymbol* symbol = record->symbol;
  if (!call.db.owns(*symbol, symbol->name.c_str())) return false;
  if (record->hasEnded()) {
    return call.db.setLastError("%s: the records of symbol %s were removed, find the record again",
                                call.function, symbol->name.c_str());
  }
  record->catchUp();
  return true;
}

/// A record handle of this database whose symbol has not been emptied or replaced since, which
/// would leave its position in memory that is gone. Tested at every use: a binding cannot know what
/// ends a handle.
inline bool recordGiven(Call call, const AbstractZDBSymbolIterator* record) {
  if (record == nullptr) [[unlikely]] {
    call.db.setLastError("No symbol record handle specified");
    return false;
  }
  if (record->notes.database() == &call.db && record->notes.isUpToDate()) [[likely]]
    return true;
  return hasNotEnded(call, record);
}

/// A key array, which only a symbol without index positions can do without.
inline bool keysGiven(Call call, const AbstractZDBSymbol* symbol, const void* keys) {
  return symbol->dim == 0 || call.given(keys, "keys");
}

/// What to say of a handle that stands on no record: its record was deleted.
inline bool noRecord(Call call, const AbstractZDBSymbolIterator* record) {
  return call.db.setLastError("%s: the record handle of symbol %s stands on no record",
                              call.function, record->symbol->name.c_str());
}

inline bool textFits(Call call, const char* text) {
  if (std::string_view(text).size() <= std::size_t{kMaxTextLength}) return true;
  return call.db.setLastError("Explanatory text too long. Max length is %d", kMaxTextLength);
}

/// Hands a new object or null to the caller's variable; true when there is one.
template <typename Handle>
inline bool handOut(Handle* object, Handle** out) {
  *out = object;
  return object != nullptr;
}

/// Copies a text into a caller's buffer of ZDB_TEXT_SIZE bytes, cut to it.
inline void copyText(const char* text, char* out) {
  writeMessage(out, "%s", text);
}

}  // namespace zdb
