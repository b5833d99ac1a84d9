// How differences between two files are shown.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "console.h"
#include "labelorder.h"

namespace zdb::tool {

enum class Side { A, B };

/// A record in one of the files.
struct RecordSide {
  const double* values = nullptr;  ///< null if the file does not have the record
  std::string_view text;           ///< of an element of a set; a label as the file spells it
};

struct RecordCounts {
  std::uint64_t onlyInA = 0;
  std::uint64_t onlyInB = 0;
  std::uint64_t different = 0;
  std::uint64_t same = 0;
  std::uint64_t shown = 0;
  bool areAll = true;  ///< false if a file could not be read to the end
  /// The largest difference of two numbers; none if there are no two different ones.
  std::optional<double> largest;

  std::uint64_t differences() const { return onlyInA + onlyInB + different; }
};

/// What is compared, for the heading.
struct DiffNames {
  std::string a;
  std::string b;
};

/// Gets the differences as they are found: of each symbol that both files have, first
/// the properties, then the records. Nothing is kept.
class DiffReport {
 public:
  DiffReport() = default;
  virtual ~DiffReport() = default;
  DiffReport(const DiffReport&) = delete;
  DiffReport& operator=(const DiffReport&) = delete;

  virtual void begin() = 0;
  virtual void onlyIn(Side side, const FileSymbol& symbol) = 0;

  /// A symbol of both files, as the first has it. Shows nothing before a difference.
  virtual void beginSymbol(const FileSymbol& symbol) = 0;
  virtual void property(const char* name, const std::string& a, const std::string& b) = 0;
  virtual void record(const int* keys, const RecordSide& a, const RecordSide& b) = 0;
  /// Without counts if the records were not compared.
  virtual void endSymbol(const std::optional<RecordCounts>& counts) = 0;

  virtual void end(std::size_t symbols, std::size_t different) = 0;
};

std::unique_ptr<DiffReport> textReport(const DiffNames& names, const LabelOrder& labels,
                                       Console& console);
std::unique_ptr<DiffReport> jsonReport(const DiffNames& names, const LabelOrder& labels,
                                       Console& console);
std::unique_ptr<DiffReport> noReport();

}  // namespace zdb::tool
