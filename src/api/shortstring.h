#pragma once

#include <cstring>

#include "core/shortstring.h"
#include "zdbcclib.h"

// Short strings as callers pass them. A matrix of them is ZDB_MAX_DIM buffers of ZDB_TEXT_SIZE
// bytes on end.
namespace zdb {

inline constexpr int kTextSize = ZDB_TEXT_SIZE;

/// Makes a C string of a short string; `out` holds kTextSize bytes.
inline char* shortToC(const char* shortString, char* out) {
  out[readShort(shortString).copy(out, kMaxShortLength)] = '\0';
  return out;
}

/// Makes a short string of a C string. The length byte is the full length modulo 256, also that of
/// a text that is cut.
inline void cToShort(const char* text, char* out) {
  writeShort(text, out);
  out[0] = static_cast<char>(std::strlen(text) % 256);
}

/// Row `row` of a flat matrix of texts.
template <typename Char>
inline Char* rowOf(Char* matrix, int row) {
  return matrix + static_cast<std::ptrdiff_t>(row) * kTextSize;
}

/// An argument on its way from a short-string caller to our function, by type code: made of the
/// caller's argument, it gives ours, and texts that the function wrote are returned to the caller
/// when it goes. Null arguments stay null. `rows` counts the rows of text arrays.
template <int Code, typename T>
class ShortArgument {
 public:
  ShortArgument(T value, int /*rows*/) : value_(value) {}
  T get() const { return value_; }

 private:
  T value_;
};

template <>
class ShortArgument<ZDB_CODE_TEXT_IN, const char*> {
 public:
  ShortArgument(const char* shortString, int /*rows*/)
      : text_(shortString == nullptr ? nullptr : shortToC(shortString, buffer_)) {}
  ShortArgument(const ShortArgument&) = delete;
  ShortArgument& operator=(const ShortArgument&) = delete;
  const char* get() const { return text_; }

 private:
  char buffer_[kTextSize];
  const char* text_;
};

template <>
class ShortArgument<ZDB_CODE_TEXT_OUT, char*> {
 public:
  ShortArgument(char* shortString, int /*rows*/) : target_(shortString) { buffer_[0] = '\0'; }
  ShortArgument(const ShortArgument&) = delete;
  ShortArgument& operator=(const ShortArgument&) = delete;
  ~ShortArgument() {
    if (target_ != nullptr) cToShort(buffer_, target_);
  }
  char* get() { return target_ == nullptr ? nullptr : buffer_; }

 private:
  char buffer_[kTextSize];
  char* target_;
};

template <>
class ShortArgument<ZDB_CODE_TEXTS_IN, const char*> {
 public:
  ShortArgument(const char* matrix, int rows) : isNull_(matrix == nullptr) {
    for (int i = 0; i < rows && !isNull_; ++i) {
      texts_[i] = shortToC(rowOf(matrix, i), rowOf(buffer_, i));
    }
  }
  ShortArgument(const ShortArgument&) = delete;
  ShortArgument& operator=(const ShortArgument&) = delete;
  const char* const* get() const { return isNull_ ? nullptr : texts_; }

 private:
  char buffer_[ZDB_MAX_DIM * kTextSize];
  const char* texts_[ZDB_MAX_DIM];
  bool isNull_;
};

/// The rows of a flat matrix as the array of texts that our functions take; null for null.
class FlatRows {
 public:
  explicit FlatRows(char* matrix) : isNull_(matrix == nullptr) {
    for (int i = 0; i < ZDB_MAX_DIM && !isNull_; ++i) rows_[i] = rowOf(matrix, i);
  }
  char* const* get() const { return isNull_ ? nullptr : rows_; }

 private:
  char* rows_[ZDB_MAX_DIM];
  bool isNull_;
};

template <>
class ShortArgument<ZDB_CODE_TEXTS_OUT, char*> {
 public:
  ShortArgument(char* matrix, int rows) : target_(matrix), count_(rows) {
    for (int i = 0; i < ZDB_MAX_DIM; ++i) *rowOf(buffer_, i) = '\0';
    if (matrix != nullptr) rows_ = FlatRows(buffer_);
  }
  ShortArgument(const ShortArgument&) = delete;
  ShortArgument& operator=(const ShortArgument&) = delete;
  ~ShortArgument() {
    for (int i = 0; i < count_ && target_ != nullptr; ++i) {
      cToShort(rowOf(buffer_, i), rowOf(target_, i));
    }
  }
  char* const* get() const { return rows_.get(); }

 private:
  char buffer_[ZDB_MAX_DIM * kTextSize];
  char* target_;
  int count_;
  FlatRows rows_{nullptr};
};

}  // namespace zdb
