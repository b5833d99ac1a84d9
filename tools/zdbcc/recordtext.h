#pragma once

#include <memory>
#include <string>
#include <vector>

#include "exchangefile.h"
#include "output.h"
#include "values.h"

namespace zdb::tool {

/// Writes the records of a symbol as text.
class RecordText {
 public:
  virtual ~RecordText() = default;
  virtual void heading() = 0;
  virtual void record(const FileRecords& record) = 0;
};

enum class TextForm { Csv, JsonLines };

/// With a heading of columnNames() as CSV, or as JSON lines: an object for each record, without the
/// parts that are empty. About 50 ns a field.
std::unique_ptr<RecordText> recordText(TextForm form, const ExchangeFile& file,
                                       const FileSymbol& symbol, Output& output);

}  // namespace zdb::tool
