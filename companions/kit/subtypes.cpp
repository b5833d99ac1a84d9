#include "kit/subtypes.h"

#include <algorithm>

namespace zdb::kit {

namespace {

enum VariableSubtype : int { Unknown = 0, Binary, Integer, Positive, Negative, Free };

VariableSubtype subtypeOf(const ColumnData& column) {
  if (column.isParameter) return Unknown;
  if (column.isInteger) return column.lower == 0.0 && column.upper == 1.0 ? Binary : Integer;
  if (column.lower >= 0.0) return Positive;
  return column.upper <= 0.0 ? Negative : Free;
}

}  // namespace

int subtypeOf(const ModelData& model, const Symbol& symbol) {
  const auto subtype = [&](int entry) -> int {
    return symbol.type == EquationSymbol ? model.rows[entry].type : subtypeOf(model.columns[entry]);
  };
  const std::vector<int>& entries = symbol.entries;
  if (entries.empty()) return 0;
  const int first = subtype(entries.front());
  const bool agree = std::all_of(entries.begin(), entries.end(),
                                 [&](int entry) { return subtype(entry) == first; });
  return agree ? first : 0;
}

}  // namespace zdb::kit
