#pragma once

#include "arrow/give.h"
#include "core/abstractzdbsymbol.h"

namespace zdb::arrow {

/// The columns of a symbol's records: labels, then values or element texts.
struct SymbolColumns {
  /// Those of an alias are the columns of its set.
  explicit SymbolColumns(const AbstractZDBSymbol& symbol);

  int dim;        ///< columns of labels
  int width;      ///< columns of doubles
  bool hasTexts;  ///< whether there is a column of element texts instead
};

/// The schema of a symbol's stream.
Field schemaOf(const AbstractZDBSymbol& symbol);

}  // namespace zdb::arrow
