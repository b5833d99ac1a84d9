// Error numbers, their texts, and the errors that a handle keeps for its caller.
#pragma once

#include <cstdint>
#include <deque>
#include <exception>
#include <map>
#include <string>

namespace zdb::zxfile {

enum class Errc : int {
  None = 0,
#define ZXF_ERROR(number, name, text) name = number,
#include "zxf/errors.def"
};

/// The fixed text of an error number, or null for an unknown number.
const char* errorText(int number);

/// A text in printf style, cut to 511 bytes.
[[gnu::format(printf, 1, 2)]] std::string printed(const char* format, ...);

/// What the functions below the C interface throw; its guard turns it into a counted error.
class ZxfError : public std::exception {
 public:
  ZxfError(Errc code, std::string detail) : code_(code), detail_(std::move(detail)) {}
  Errc code() const { return code_; }
  const char* what() const noexcept override { return detail_.c_str(); }

 private:
  Errc code_;
  std::string detail_;
};

[[noreturn]] void fail(Errc code, std::string detail = {});

/// The errors of one handle since it last opened a file.
///
/// The count only grows; the numbers are queued, oldest first, until take() removes them. Equal
/// neighbours share an entry and at most kMaxPending entries are kept, so a caller who writes a
/// million bad records and never asks uses no memory for them. The detail of the first error of
/// each number is kept.
class ErrorLog {
 public:
  void clear();
  void add(Errc code, const char* detail) noexcept;

  /// Whether the detail of a new error of this number would be kept; if not, callers on the record
  /// path need not format it.
  bool wantsDetail(Errc code) const { return !details_.contains(static_cast<int>(code)); }

  int count() const { return count_; }
  int last() const { return last_; }
  /// Removes and returns the oldest pending number; 0 if there is none.
  int take();

  /// Fixed text and first detail, cut to 255 bytes; `text` holds 256. False for unknown numbers.
  bool describe(int number, char* text) const;

 private:
  static constexpr std::size_t kMaxPending = 4096;
  struct Run {
    int number;
    int count;
  };

  int count_ = 0;
  int last_ = 0;
  std::deque<Run> pending_;
  std::map<int, std::string> details_;
};

}  // namespace zdb::zxfile
