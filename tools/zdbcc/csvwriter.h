#pragma once

#include <string>
#include <string_view>

#include "output.h"

namespace zdb::tool {

/// Writes CSV rows with commas and line feeds. A field is quoted if it contains a comma, a quote or
/// a line break, begins or ends with a blank, or begins with '#', which would make it a comment.
class CsvWriter {
 public:
  explicit CsvWriter(Output& output) : output_(output) {}

  void field(std::string_view text);
  void endRow();

 private:
  Output& output_;
  std::string row_;
  bool rowIsEmpty_ = true;
};

}  // namespace zdb::tool
