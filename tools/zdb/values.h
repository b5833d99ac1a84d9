#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "database.h"

namespace zdbtool {

/// Word for a symbol type code: "set", "parameter", "variable", "equation", "alias".
const char* typeName(int type);

/// The domains as messages and tables show them, "food, 'city'": a relaxed name stands in quotes.
std::string domainText(const Symbol& symbol);

/// Writes values for people and programs.
class ValueFormat {
 public:
  explicit ValueFormat(const Database& db);

  /// Shortest text that reads back as the same double; a special value by name: Undef, NA, +Inf,
  /// -Inf and, for the value that stands for a present zero, Eps. Good until the next call.
  std::string_view operator()(double value);
  /// The double that such a text stands for; nothing for any other text.
  std::optional<double> parse(std::string_view text) const;

 private:
  double specials_[ZDB_SV_COUNT] = {};
  char text_[32];
};

}  // namespace zdbtool
