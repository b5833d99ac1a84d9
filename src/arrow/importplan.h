#pragma once

#include <vector>

#include "arrow/textreader.h"
#include "core/abstractzdbsymbol.h"

namespace zdb::arrow {

/// How the columns of a stream become the records of a symbol.
struct ImportPlan {
  /// Throws StreamError, which names the column at fault and what would fit, if the
  /// schema does not fit.
  ImportPlan(const AbstractZDBSymbol& symbol, const ArrowSchema& schema);

  int columns() const { return static_cast<int>(labels.size() + numbers.size() + texts.size()); }

  std::vector<std::string> names;     ///< of all columns, as in messages
  std::vector<TextFormat> labels;     ///< one for each position
  std::vector<NumberFormat> numbers;  ///< after them, for other symbols than sets: values
  std::vector<TextFormat> texts;      ///< or, for sets: none or one
};

}  // namespace zdb::arrow
