// Records by the column: what a host's arrays look like, and what a call on many records has done.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "core/abstractzdbsymbol.h"
#include "core/lasterror.h"
#include "core/message.h"

namespace zdb {

/// A column that is read or filled: entry `i` is at data + i * stride. Entries may lie anywhere,
/// also unaligned, since a column can be a member of packed rows. No data: no column.
template <class Byte>
struct ColumnOf {
  Byte* data = nullptr;
  std::ptrdiff_t stride = 0;  ///< in bytes

  explicit operator bool() const { return data != nullptr; }
  Byte* at(std::int64_t row) const { return data + row * stride; }
};
using InColumn = ColumnOf<const std::byte>;
using OutColumn = ColumnOf<std::byte>;

template <class T>
T load(const std::byte* place) {
  T value;
  std::memcpy(&value, place, sizeof value);
  return value;
}
template <class T>
void store(std::byte* place, T value) {
  std::memcpy(place, &value, sizeof value);
}

/// Texts as C strings, or in one buffer with the places where they begin and end.
struct TextColumn {
  const char* const* pointers = nullptr;
  const char* bytes = nullptr;
  const std::int32_t* offsets = nullptr;
  const std::int64_t* offsets64 = nullptr;

  explicit operator bool() const {
    return pointers != nullptr || offsets != nullptr || offsets64 != nullptr;
  }
  /// Without data for a null pointer, and for offsets that are negative or descend.
  std::string_view at(std::int64_t row) const {
    if (pointers != nullptr) {
      return pointers[row] == nullptr ? std::string_view() : std::string_view(pointers[row]);
    }
    const std::int64_t begin = offsets != nullptr ? offsets[row] : offsets64[row];
    const std::int64_t end = offsets != nullptr ? offsets[row + 1] : offsets64[row + 1];
    if (begin < 0 || end < begin) return {};
    if (begin == end) return "";
    return {bytes + begin, static_cast<std::size_t>(end - begin)};
  }
};

/// Records on their way into a symbol. Values are the caller's, with its special values.
struct RecordColumns {
  std::int64_t rows = 0;
  std::array<InColumn, kMaxDim> keys;
  std::array<InColumn, kMaxValues> values;
  TextColumn texts;
};

/// Room for records on their way out.
struct RecordBuffers {
  std::int64_t rows = 0;
  std::array<OutColumn, kMaxDim> keys;
  std::array<OutColumn, kMaxDim> labels;  ///< of const char*
  std::array<OutColumn, kMaxValues> values;
  OutColumn texts;  ///< of const char*
};

/// What to do at an entry that cannot be taken, and how records meet those that are there; with the
/// numbers that hosts know them by.
enum OnFailure : int { FailureUndo = 0, FailureKeep = 1, FailureSkip = 2 };
enum PutMode : int { PutMerge = 0, PutReplace = 1, PutAdd = 2 };

/// What a call on many entries has done.
struct BulkOutcome {
  std::int64_t done = 0;
  std::int64_t added = 0;
  std::int64_t skipped = 0;
  // The first entry that could not be taken, or the failure of the whole call.
  std::int64_t row = -1;
  int position = -1;
  ErrorKind kind = ErrorNone;
  char text[kMessageSize] = "";

  /// Describes an entry that cannot be taken.
  void note(ErrorKind why, std::int64_t atRow, int atPosition) {
    kind = why;
    row = atRow;
    position = atPosition;
  }
};

/// Makes a failure the database's last error. Always returns false.
[[gnu::format(printf, 4, 5)]] bool failWith(ZDB& db, BulkOutcome& outcome, ErrorKind kind,
                                            const char* format, ...);

}  // namespace zdb
