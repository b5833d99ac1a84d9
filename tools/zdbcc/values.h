#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "database.h"

namespace zdb::tool {

/// Word for a symbol type code: "set", "parameter", "variable", "equation", "alias".
const char* typeName(int type);

/// The domains as in messages and tables, such as "food, 'city'": a relaxed name is in quotes.
std::string domainText(const SymbolInfo& symbol);

/// Converts values to texts and back.
class ValueFormat {
 public:
  explicit ValueFormat(const Database& db);

  /// Shortest text that reads back as the same double; for a special value its name: Undef, NA,
  /// +Inf, -Inf, and Eps for an explicit zero. Valid until the next call.
  std::string_view operator()(double value);
  /// The double for such a text; none for any other text.
  std::optional<double> parse(std::string_view text) const;

 private:
  double specials_[ZDB_SV_COUNT] = {};
  char text_[32];
};

}  // namespace zdb::tool
