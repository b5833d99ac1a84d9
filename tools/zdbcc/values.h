#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "symbol.h"

namespace zdb::tool {

/// Word for a symbol type code: "set", "parameter", "variable", "equation", "alias".
const char* typeName(int type);

/// The domains as in messages and tables, such as "food, 'city'": a relaxed name is in quotes.
std::string domainText(const SymbolInfo& symbol);

/// How special values are written: by name, as the numbers that come closest, or not at all.
enum class SpecialForm { Names, Numbers, Empty };

/// Converts values to texts and back.
class ValueFormat {
 public:
  /// For data in which these stand for the special values.
  explicit ValueFormat(const std::array<double, ZDB_SV_COUNT>& specials,
                       SpecialForm form = SpecialForm::Names);

  /// Shortest text that reads back as the same double; for a special value its name: Undef, NA,
  /// +Inf, -Inf, and Eps for an explicit zero, or what else its form is. Valid until the next call.
  std::string_view operator()(double value);
  /// The same for people: ten significant digits.
  std::string tenDigits(double value);
  /// The value as a number; none if it has a name or is left empty.
  std::optional<double> number(double value) const;
  /// The double for such a text; none for any other text.
  std::optional<double> parse(std::string_view text) const;

 private:
  /// Number of a special value, or ZDB_SV_COUNT.
  std::size_t special(double value) const;

  std::array<double, ZDB_SV_COUNT> specials_{};
  SpecialForm form_ = SpecialForm::Names;
  char text_[32];
};

/// A number that a user writes for a model, where infinities are bounds; NaN for NA and Undef,
/// which no model can have; none for any other text. Infinities may be in any case.
std::optional<double> readModelValue(std::string_view text);

}  // namespace zdb::tool
