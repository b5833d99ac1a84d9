// Reading arrays that a producer gives: the columns of its batches as texts and as doubles.
//
// A producer's pointers and lengths must be believed, but not what can be checked without cost: the
// number of buffers and children, offsets and dictionary numbers. What is wrong with them is thrown
// as StreamError.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "arrow/abi.h"
#include "core/lasterror.h"

namespace zdb::arrow {

/// A stream or schema that cannot be used, as a whole.
struct StreamError : std::runtime_error {
  StreamError(ErrorKind why, const std::string& text) : std::runtime_error(text), kind(why) {}

  ErrorKind kind;
};

/// Whether entries are there. Entries are counted from the beginning of the buffers, as in all
/// readers here.
class Validity {
 public:
  explicit Validity(const ArrowArray& array);

  bool hasNulls() const { return bits_ != nullptr; }
  bool isNull(std::int64_t entry) const {
    return bits_ != nullptr && (bits_[entry >> 3] >> (entry & 7) & 1) == 0;
  }

 private:
  const std::uint8_t* bits_ = nullptr;
};

/// An array of texts: utf8, large utf8 or views.
class TextArray {
 public:
  static bool isFormat(std::string_view format);

  TextArray(std::string_view format, const ArrowArray& array);

  bool isNull(std::int64_t entry) const { return validity_.isNull(entry); }
  std::string_view operator[](std::int64_t entry) const;

 private:
  enum class Form { Offsets, LargeOffsets, Views };

  template <class Offset>
  std::string_view between(std::int64_t entry) const;
  std::string_view viewed(std::int64_t entry) const;

  Form form_;
  Validity validity_;
  const void* places_;  ///< offsets or views
  const void* bytes_ = nullptr;
  const void* const* viewBytes_ = nullptr;  ///< the buffers that views point into
  std::int64_t viewBuffers_ = 0;
};

/// Whether a column of dictionary numbers may have this format.
bool isIntegerFormat(std::string_view format);

/// Calls `visit` with the column's numbers as an array of their C type.
template <class Visit>
void visitIntegers(char format, const void* numbers, Visit visit) {
  switch (format) {
    case 'c':
      return visit(static_cast<const std::int8_t*>(numbers));
    case 'C':
      return visit(static_cast<const std::uint8_t*>(numbers));
    case 's':
      return visit(static_cast<const std::int16_t*>(numbers));
    case 'S':
      return visit(static_cast<const std::uint16_t*>(numbers));
    case 'i':
      return visit(static_cast<const std::int32_t*>(numbers));
    case 'I':
      return visit(static_cast<const std::uint32_t*>(numbers));
    case 'l':
      return visit(static_cast<const std::int64_t*>(numbers));
    default:
      return visit(static_cast<const std::uint64_t*>(numbers));
  }
}

/// How the numbers of a column become doubles.
class NumberFormat {
 public:
  /// False for a format that is not of numbers.
  static bool parse(std::string_view format, NumberFormat& out);

  /// Reads `count` entries from entry `first` on. Entries that are null give any value.
  void read(const ArrowArray& array, std::int64_t first, std::int64_t count, double* out) const;

 private:
  char format_ = 'g';  ///< as in the interface
  int bits_ = 0;       ///< of a decimal number
  int scale_ = 0;      ///< its digits after the point
};

/// The data of a column, which may be missing only if there are no entries.
const void* bufferOf(const ArrowArray& array, int number, std::int64_t entries);

}  // namespace zdb::arrow
