// Argument checks that several functions make.
#pragma once

#include "api/guard.h"
#include "symbols/zdbsymboliterator.h"

namespace zdb {

/// Whether this is a symbol of this database, which may be the universe. A symbol of another
/// database would be read with this one's labels.
inline bool symbolGiven(Call call, const AbstractZDBSymbol* symbol) {
  if (symbol == nullptr) [[unlikely]] {
    call.db.setLastError(ErrorArgument, "No symbol handle specified");
    return false;
  }
  if (symbol->database == &call.db) [[likely]]
    return true;
  call.db.owns(*symbol, symbol->name.c_str());
  return false;
}

/// Like symbolGiven, but refuses the universe, which has no records or settings of its own, with
/// the given text.
inline bool userSymbolGiven(Call call, const AbstractZDBSymbol* symbol, const char* universeText) {
  if (!symbolGiven(call, symbol)) return false;
  return !symbol->isUniverse() || call.db.setLastError(ErrorArgument, "%s", universeText);
}

/// Whether the symbol that the handle was made for still exists. Moving it to another storage
/// replaces it.
inline bool symbolIsThere(Call call, const AbstractZDBSymbolIterator* record) {
  if (!record->notes.isSymbolGone()) return true;
  if (record->notes.isSymbolRemoved()) {
    return call.db.setLastError(ErrorHandle, "%s: the symbol of this record handle was removed",
                                call.function);
  }
  return call.db.setLastError(
      ErrorHandle,
      "%s: the symbol of this record handle was moved to another storage; find the record again",
      call.function);
}

/// The rest of recordGiven, for a handle whose symbol has changed since it was used last.
inline bool hasNotEnded(Call call, const AbstractZDBSymbolIterator* record) {
  if (!symbolIsThere(call, record)) return false;
  const AbstractZDBSymbol* symbol = record->symbol;
  if (!call.db.owns(*symbol, symbol->name.c_str())) return false;
  if (record->hasEnded()) {
    return call.db.setLastError(ErrorHandle,
                                "%s: the records of symbol %s were removed; find the record again",
                                call.function, symbol->name.c_str());
  }
  record->catchUp();
  return true;
}

/// A record handle of this database whose symbol has not been cleared or replaced since, which
/// would leave its position in freed memory. Tested at every use, since a binding cannot know what
/// makes a handle invalid.
inline bool recordGiven(Call call, const AbstractZDBSymbolIterator* record) {
  if (record == nullptr) [[unlikely]] {
    call.db.setLastError(ErrorArgument, "No symbol record handle specified");
    return false;
  }
  if (record->notes.database() == &call.db && record->notes.isUpToDate()) [[likely]]
    return true;
  return hasNotEnded(call, record);
}

/// Whether there is a key array, which may be missing only for a symbol without index positions.
inline bool keysGiven(Call call, const AbstractZDBSymbol* symbol, const void* keys) {
  return symbol->dim == 0 || call.given(keys, "keys");
}

/// Reports a handle whose record was deleted.
inline bool noRecord(Call call, const AbstractZDBSymbolIterator* record) {
  return call.db.setLastError(ErrorHandle,
                              "%s: the record of this handle in symbol %s has been deleted",
                              call.function, record->symbol->name.c_str());
}

inline bool textFits(Call call, const char* text) {
  if (std::string_view(text).size() <= std::size_t{kMaxTextLength}) return true;
  return call.db.setLastError(ErrorLabel, "Explanatory text too long. Max length is %d",
                              kMaxTextLength);
}

/// Sets the caller's variable to a new object or null; returns whether there is one.
template <typename Handle>
inline bool handOut(Handle* object, Handle** out) {
  *out = object;
  return object != nullptr;
}

/// Copies a text into a caller's buffer of ZDB_TEXT_SIZE bytes, cutting it if needed.
inline void copyText(const char* text, char* out) {
  writeMessage(out, "%s", text);
}

}  // namespace zdb
