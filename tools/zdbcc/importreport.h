#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "console.h"
#include "json.h"

namespace zdb::tool {

/// Something that happened several times, with the first few as examples.
struct Incidents {
  static constexpr std::size_t kExamples = 3;

  std::uint64_t count = 0;
  std::vector<std::string> examples;  ///< with file and line

  bool wantsExample() const { return examples.size() < kExamples; }
  void add(std::string example) {
    ++count;
    if (wantsExample()) examples.push_back(std::move(example));
  }
};

/// Texts that the database keeps in another spelling, as it does not tell cases apart.
struct Folds {
  struct Fold {
    std::string given;
    std::string kept;
    std::uint64_t count = 0;
    std::string place;  ///< of the first
  };

  std::uint64_t count = 0;
  std::vector<Fold> folds;

  void add(std::string_view given, std::string_view kept, const std::string& place);

 private:
  std::unordered_map<std::string, std::size_t> numbers_;  ///< of folds, by what was given
};

/// What became of the rows of a file.
struct SymbolReport {
  std::string name;
  int type = 0;
  int dim = 0;
  std::string file;
  std::string typeReason;  ///< if the type follows from the data and was not expected
  std::uint64_t rows = 0;
  std::uint64_t records = 0;
  std::uint64_t emptyFields = 0;
  Incidents duplicates;
  bool losesDuplicates = true;  ///< not if all that a record tells is that it is there
  Incidents refused;            ///< rows, or fields of a row with several values
  Incidents outside;            ///< records outside a domain that were kept
  Incidents trimmed;            ///< labels that had blanks at their end
  Incidents notUtf8;
  Folds labels;
  Folds texts;

  /// Whether something was left out or changed that nobody asked for.
  bool isClean() const {
    return refused.count + trimmed.count + notUtf8.count + labels.count + texts.count == 0;
  }
};

/// Rows that were refused are a problem, the rest is told only.
void print(const SymbolReport& report, const char* onEmpty, const char* onDuplicate,
           Console& console);
void write(const SymbolReport& report, JsonWriter& json);

}  // namespace zdb::tool
