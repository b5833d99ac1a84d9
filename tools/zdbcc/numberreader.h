#pragma once

#include <array>
#include <string>
#include <string_view>

#include "zdbcc.hpp"

namespace zdb::tool {

/// Reads numbers and special values as people and programs write them.
class NumberReader {
 public:
  /// What read() returns for a text that is not meant as a number.
  static constexpr const char* kNotANumber = "is not a number";

  NumberReader(const zdbcc::Database& db, bool commaIsDecimal);

  /// Reads a number, with blanks around it if need be, or a special value in any case: Undef, NA
  /// or NaN, Inf, +Inf, -Inf, Eps. Null if it is one, else why it is not.
  const char* read(std::string_view text, double& value);

 private:
  const char* readPlain(std::string_view text, double& value) const;
  bool isSpecial(std::string_view text, double& value) const;

  std::array<double, ZDB_SV_COUNT> specials_{};
  bool commaIsDecimal_;
  std::string withPoint_;
};

}  // namespace zdb::tool
