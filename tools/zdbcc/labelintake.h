#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "importreport.h"
#include "zdbcc.hpp"

namespace zdb::tool {

/// Turns labels into numbers, many at a time, and sees which the database keeps in another
/// spelling. Labels that come again and again, as written and without anything to report, are
/// remembered: 10 ns each; others take some 100 ns.
class LabelIntake {
 public:
  explicit LabelIntake(const zdbcc::Database& db);

  /// Why a text cannot be a label; null if it can.
  static const char* fault(std::string_view text);

  /// The number of a label that is remembered, or 0.
  std::int32_t known(std::string_view text) const {
    const Memory& memory = memories_[slotOf(text)];
    return memory.text == text ? memory.number : 0;
  }

  /// Has keys[index] set to the label's number by the next flush().
  /// REQUIRES fault(text) == nullptr
  void add(std::string_view text, std::size_t index, std::uint64_t line);
  std::size_t waiting() const { return waiting_.size(); }
  /// Adds the labels to the database in the order in which they came. `file` is for the report.
  void flush(std::int32_t* keys, const std::string& file, SymbolReport& report);

  /// The number of one label, which may already exist.
  std::int32_t one(const std::string& text, const std::string& place, SymbolReport& report);

 private:
  /// A text of up to 63 bytes without allocation.
  struct Short {
    unsigned char size = 0;
    char bytes[63] = {};
    bool operator==(std::string_view text) const { return text == std::string_view(bytes, size); }
  };
  struct Memory {
    Short text;
    std::int32_t number = 0;
  };
  struct Waiting {
    std::size_t index;
    std::uint64_t line;
  };

  static std::size_t slotOf(std::string_view text) {
    return std::hash<std::string_view>()(text) % kMemories;
  }
  void settle(std::string_view given, std::int32_t number, const std::string& file,
              std::uint64_t line, SymbolReport& report);

  static constexpr std::size_t kMemories = 8192;

  const zdbcc::Database& db_;
  std::vector<Memory> memories_;
  std::vector<Waiting> waiting_;
  std::string bytes_;
  std::vector<std::int64_t> offsets_;
  std::vector<std::int32_t> numbers_;
};

}  // namespace zdb::tool
