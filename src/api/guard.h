// The frame in which every API function runs: it traces the call, checks the database handle, and
// turns exceptions into messages. It costs a successful call two predictable branches.
#pragma once

#include <exception>
#include <new>
#include <utility>

#include "core/zdb.h"

namespace zdb {

class DomainViolation;

/// Writes a function's name to the trace, before the function does anything else.
inline void trace(const char* function) {
  if (ZDB::debugLevel > 0) [[unlikely]] {
    debug_out(function, 1);
  }
}

/// Reports that memory is exhausted, on standard output and in the last-error text. Returns 0.
int outOfMemory(const char* function, ZDB& db) noexcept;
/// The kind of error that an exception other than exhausted memory stands for.
ErrorKind kindOf(const std::exception& exception) noexcept;
/// Reports any other exception in the last-error text. Returns 0.
int unexpectedException(const char* function, ZDB& db, const std::exception& exception) noexcept;

/// One call of an API function, passed to its body.
struct Call {
  const char* function;
  ZDB& db;

  /// Whether an argument is not null; if it is, reports it by name.
  bool given(const void* argument, const char* name) const {
    if (argument != nullptr) [[likely]]
      return true;
    missing(name);
    return false;  // a constant, here and in checks.h: the caller saves nothing across the report
  }
  void missing(const char* name) const {
    db.setLastError(ErrorArgument, "%s: argument %s must not be null", function, name);
  }
  /// Like given, for entry `index` of an array.
  bool givenAt(const void* entry, const char* name, int index) const {
    return entry != nullptr ||
           db.setLastError(ErrorArgument, "%s: argument %s[%d] must not be null", function, name,
                           index);
  }
};

/// Runs `body(Call)`, which returns success, and returns 1 or 0. `function` is the caller's
/// __func__; the message about exhausted memory may name another one. Without a database there is
/// nowhere to leave a message, so the result is just 0.
template <typename Body>
inline int guarded(const char* function, ZDB* db, Body&& body, const char* nameWithoutMemory) {
  trace(function);
  if (db == nullptr) [[unlikely]]
    return 0;
  try {
    return std::forward<Body>(body)(Call{function, *db}) ? 1 : 0;
  } catch (const std::bad_alloc&) {
    return outOfMemory(nameWithoutMemory, *db);
  } catch (const std::exception& exception) {
    return unexpectedException(function, *db, exception);
  }
}

template <typename Body>
inline int guarded(const char* function, ZDB* db, Body&& body) {
  return guarded(function, db, std::forward<Body>(body), function);
}

/// The name of the parameter through which a handle is returned.
template <typename Handle>
inline constexpr const char* kHandleName = nullptr;
template <>
inline constexpr const char* kHandleName<AbstractZDBSymbol> = "symbol";
template <>
inline constexpr const char* kHandleName<AbstractZDBSymbolIterator> = "record";
template <>
inline constexpr const char* kHandleName<DomainViolation> = "violation";

/// Like guarded, for a function that returns a handle through a parameter: fails if that is null,
/// and sets the caller's variable to null before `body(Call)` runs.
template <typename Handle, typename Body>
inline int handingOut(const char* function, ZDB* db, Handle** out, Body&& body) {
  return guarded(function, db, [&](Call call) {
    if (!call.given(out, kHandleName<Handle>)) return false;
    *out = nullptr;
    return body(call);
  });
}

/// The form of a function for bindings that need the handle as the result: runs `plain(Handle**
/// out)`, returns the handle (null on failure) and sets `status` to the result.
template <typename Handle, typename Plain>
inline Handle* pyTwin(const char* function, ZDB* db, int* status, Plain&& plain) {
  trace(function);
  if (status == nullptr) {
    if (db != nullptr) Call{function, *db}.missing("status");
    return nullptr;
  }
  Handle* handle = nullptr;
  *status = std::forward<Plain>(plain)(&handle);
  return *status != 0 ? handle : nullptr;
}

}  // namespace zdb
