#pragma once

#include <array>
#include <string>
#include <string_view>

#include "zdbcc.hpp"

namespace zdb::tool {

/// Reads numbers and special values as people and programs write them.
class NumberReader {
 public:
  enum class Outcome { Number, NotANumber, OutOfRange, SpecialValue };
  /// What is wrong with a text, to stand after it in a message.
  static const char* text(Outcome outcome);

  NumberReader(const zdbcc::Database& db, bool commaIsDecimal);

  /// Reads a number, with blanks around it if need be, or a special value in any case: Undef, NA
  /// or NaN, Inf, +Inf, -Inf, Eps. A number that the database takes for a special value is refused.
  Outcome read(std::string_view text, double& value);

 private:
  Outcome readPlain(std::string_view text, double& value) const;
  bool isSpecial(std::string_view text, double& value) const;

  std::array<double, ZDB_SV_COUNT> specials_{};
  bool commaIsDecimal_;
  std::string withPoint_;
};

}  // namespace zdb::tool
