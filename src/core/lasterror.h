#pragma once

namespace zdb {

/// Kinds of failures, with the numbers that hosts know them by.
enum ErrorKind : int {
  ErrorNone = 0,
  ErrorNotFound = 1,    ///< no such label, symbol, record or entry
  ErrorEnd = 2,         ///< no further record
  ErrorArgument = 3,    ///< an argument that is null, out of range or not of the kind required
  ErrorExists = 4,      ///< a symbol or record that is there already
  ErrorLabel = 5,       ///< a text that is not a valid label, name or element text
  ErrorHandle = 6,      ///< a handle that has become invalid, or belongs to another database
  ErrorState = 7,       ///< a call that does not fit the state of the database
  ErrorNoMemory = 8,    ///< memory exhausted
  ErrorSystem = 9,      ///< the system refused
  ErrorDamaged = 10,    ///< a file whose content is damaged or not of the format
  ErrorDomain = 11,     ///< a record outside a domain, or a domain that does not fit
  ErrorCompanion = 12,  ///< a companion library that is missing, does not fit or reports failure
  ErrorModel = 13,      ///< a model that cannot be read, prepared, changed or solved
  ErrorCallback = 14,   ///< a callback or stream of the caller that failed
  ErrorOther = 15,      ///< anything else
};

}  // namespace zdb
