#pragma once

#include "core/lasterror.h"
#include "loaders/zxf.h"

namespace zdb {

/// A failure of the exchange file companion.
struct FileError {
  int number = 0;  ///< 0: the companion gives none
  ErrorKind kind = ErrorCompanion;
  char text[kMessageSize] = "";

  /// Describes an error number; the text of number 0 is the companion's too.
  FileError(loaders::zxfRec* zxf, int number);

  /// The text, or "" if there is no error that it could be the reason of.
  const char* reason() const { return number != 0 ? text : ""; }
};

/// The error that made the last call of the companion fail, as far as it says. Takes off all errors
/// that are pending: the companion hands out the oldest first, which need not be the cause.
FileError newestFileError(loaders::zxfRec* zxf);

}  // namespace zdb
