// The frame of the calls on many entries (zdbx.h): that of guard.h, and a result struct in which
// they tell more than success.
#pragma once

#include <new>

#include "api/checks.h"
#include "api/forward.h"
#include "api/guard.h"
#include "symbols/bulk.h"
#include "zdbx.h"

namespace zdb {

/// A column of a host as our own: a stride of 0 stands for entries without gaps.
template <class Entry>
inline InColumn inside(const zdbx_column& column) {
  return {static_cast<const std::byte*>(column.data),
          column.stride != 0 ? static_cast<std::ptrdiff_t>(column.stride)
                             : static_cast<std::ptrdiff_t>(sizeof(Entry))};
}
template <class Entry>
inline OutColumn inside(const zdbx_buffer& buffer) {
  return {static_cast<std::byte*>(buffer.data), buffer.stride != 0
                                                    ? static_cast<std::ptrdiff_t>(buffer.stride)
                                                    : static_cast<std::ptrdiff_t>(sizeof(Entry))};
}

/// One call and what it has done so far.
struct BulkCall : Call {
  BulkOutcome& outcome;

  /// For the checks of checks.h.
  const Call& frame() const { return *this; }
  /// Refuses an argument.
  template <typename... Arguments>
  bool refuse(const char* format, Arguments... arguments) const {
    return failWith(db, outcome, ErrorArgument, format, function, arguments...);
  }
  bool given(const void* argument, const char* name) const {
    return argument != nullptr || refuse("%s: argument %s must not be null", name);
  }
  /// Whether records can be put into this symbol.
  bool fillable(const AbstractZDBSymbol* symbol) const {
    if (!symbolGiven(frame(), symbol)) return false;
    return (!symbol->isUniverse() && !symbol->isAlias()) ||
           refuse("%s: cannot add records to %s, which is %s", symbol->name.c_str(),
                  symbol->isAlias() ? "an alias" : "the universe");
  }
  /// Whether a struct is given and begins with a size that some version has: so far, one.
  template <typename Struct>
  bool structGiven(const Struct* given_, const char* name) const {
    if (!given(given_, name)) return false;
    return given_->size == sizeof(Struct) ||
           refuse("%s: argument %s has the size %zu, not %zu: set it to sizeof", name, given_->size,
                  sizeof(Struct));
  }
  bool countGiven(std::int64_t count, const char* name) const {
    return count >= 0 ||
           refuse("%s: %s is %lld and must not be negative", name, static_cast<long long>(count));
  }
  bool among(int value, int last, const char* name) const {
    return (value >= 0 && value <= last) || refuse("%s: %s %d is unknown", name, value);
  }
  /// Texts in exactly one form.
  bool textsGiven(const zdbx_texts* texts, const char* name, TextColumn& column) const {
    if (!structGiven(texts, name)) return false;
    column = {texts->pointers, texts->bytes, texts->offsets, texts->offsets64};
    const int forms = int{column.pointers != nullptr} + int{column.offsets != nullptr} +
                      int{column.offsets64 != nullptr};
    const bool isBuffer = column.bytes != nullptr;
    if (forms == 1 && isBuffer == (column.pointers == nullptr)) return true;
    return refuse("%s: argument %s must have pointers, or bytes with one kind of offsets", name);
  }
};

/// The only place where results are written. `db` may be null, `result` too.
void writeResult(const ZDB* db, bool isDone, const BulkOutcome& outcome, zdbx_result* result);

/// Runs `body(BulkCall)`, which returns success, and tells in `result`, which may be null, what it
/// has done.
template <typename Body>
inline int bulk(const char* function, ZDB* db, zdbx_result* result, Body&& body) {
  BulkOutcome outcome;
  const bool isKnown = result == nullptr || result->size == sizeof *result;
  const int isDone = guarded(function, db, [&](Call call) {
    const BulkCall bulkCall{call, outcome};
    if (!isKnown) return bulkCall.structGiven(result, "result");
    try {
      return std::forward<Body>(body)(bulkCall);
    } catch (const std::bad_alloc&) {
      outcome = {};
      outcome.kind = ErrorNoMemory;
      throw;
    }
  });
  if (isKnown) writeResult(db, isDone != 0, outcome, result);
  return isDone;
}

}  // namespace zdb
