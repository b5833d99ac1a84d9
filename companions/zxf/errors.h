// Error numbers, their texts, and the list of errors that a handle keeps for its caller.
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

/// The fixed text of an error number, or null for a number that no error has.
const char* errorText(int number);

/// Text in printf style. Texts here are short; longer ones are cut at 512 bytes.
[[gnu::format(printf, 1, 2)]] std::string printed(const char* format, ...);

/// What the functions below the C interface throw; the guard there turns it into a counted error.
class Failure : public std::exception {
 public:
  Failure(Errc code, std::string detail) : code_(code), detail_(std::move(detail)) {}
  Errc code() const { return code_; }
  const char* what() const noexcept override { return detail_.c_str(); }

 private:
  Errc code_;
  std::string detail_;
};

[[noreturn]] void fail(Errc code, std::string detail = {});

/// The errors of one handle since a file was opened last.
///
/// The count only grows; the numbers wait, oldest first, to be taken off. Equal neighbours share an
/// entry and no more than kMaxPending entries are kept, so that a caller who writes a million bad
/// records and never asks costs no memory. The detail of the first error of each number is kept.
class ErrorLog {
 public:
  void clear();
  void add(Errc code, const char* detail) noexcept;

  /// Whether the detail of a new error of this number would be kept: callers on record paths skip
  /// making the text otherwise.
  bool wantsDetail(Errc code) const { return !details_.contains(static_cast<int>(code)); }

  int count() const { return count_; }
  int last() const { return last_; }
  /// The oldest pending number, which is taken off; 0 when none is left.
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
