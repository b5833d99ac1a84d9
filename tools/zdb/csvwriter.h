#pragma once

#include <string>
#include <string_view>

#include "console.h"

namespace zdbtool {

/// Writes CSV rows with commas and line feeds; a field that holds a comma, a quote, a line break or
/// a blank at an end is quoted, and so is a '#' in front, which would read as a comment.
class CsvWriter {
 public:
  explicit CsvWriter(Console& console) : console_(console) {}

  void field(std::string_view text);
  void endRow();

 private:
  Console& console_;
  std::string row_;
  bool rowIsEmpty_ = true;
};

}  // namespace zdbtool
