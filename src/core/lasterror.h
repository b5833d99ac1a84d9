#pragma once

#include <cstdarg>

#include "core/message.h"

namespace zdb {

/// Kinds of failures, with the numbers that hosts know them by.
enum ErrorKind : int {
  ErrorNone = 0,
  ErrorNotFound = 1,     ///< no such label, symbol, record or entry
  ErrorEnd = 2,          ///< no further record
  ErrorArgument = 3,     ///< an argument that is null, out of range or not of the kind required
  ErrorExists = 4,       ///< a symbol or record that is there already
  ErrorLabel = 5,        ///< a text that is not a valid label, name or element text
  ErrorHandle = 6,       ///< a handle that has become invalid, or belongs to another database
  ErrorState = 7,        ///< a call that does not fit the state of the database
  ErrorNoMemory = 8,     ///< memory exhausted
  ErrorSystem = 9,       ///< the system refused
  ErrorDamaged = 10,     ///< a file whose content is damaged or not of the format
  ErrorDomain = 11,      ///< a record outside a domain, or a domain that does not fit
  ErrorCompanion = 12,   ///< a companion library that is missing, does not fit or reports failure
  ErrorModel = 13,       ///< a model that cannot be read, prepared, changed or solved
  ErrorByCallback = 14,  ///< a callback or stream of the caller that failed
  ErrorOther = 15,       ///< anything else
};

/// Such as "not found"; "other" for a number that is not a kind.
const char* errorKindName(int kind);

/// A failure as a host learns of it. Setting one allocates nothing, so that it works when
/// memory is exhausted.
struct LastError {
  ErrorKind kind = ErrorNone;
  char text[kMessageSize] = "";
  char reason[kMessageSize] = "";  ///< what is behind the text; empty if nothing more is known
  unsigned count = 0;  ///< how often an error was set here: tells a new one from an old one

  /// Sets kind and text, which is cut, and drops the reason. Always returns false, so that a
  /// failing function can `return set(...)`. The arguments may include text and reason.
  [[gnu::format(printf, 3, 4)]] bool set(ErrorKind newKind, const char* format, ...);
  bool setV(ErrorKind newKind, const char* format, std::va_list arguments);
  /// Takes over another failure. Always returns false.
  bool set(const LastError& other);
  void clear();
};

}  // namespace zdb
