#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <unordered_set>
#include <vector>

#include "importreport.h"
#include "labelintake.h"
#include "zdbcc.hpp"

namespace zdb::tool {

/// Element texts, of which the database keeps one of those that differ in case only: the first.
class TextIntake {
 public:
  /// The spelling that the database keeps.
  const std::string& kept(std::string_view text) { return *texts_.emplace(text).first; }

 private:
  struct Hash {
    std::size_t operator()(const std::string& text) const;
  };
  struct Same {
    bool operator()(const std::string& a, const std::string& b) const;
  };
  std::unordered_set<std::string, Hash, Same> texts_;
};

/// Which of several records with the same labels counts.
enum class OnDuplicate { Last, First, Sum, Error };

/// Which labels a position allows.
class Members {
 public:
  explicit Members(std::string name) : name_(std::move(name)) {}

  const std::string& name() const { return name_; }
  bool has(std::int32_t label) const {
    return static_cast<std::size_t>(label) < is_.size() && is_[static_cast<std::size_t>(label)];
  }
  void add(std::int32_t label);

  bool grows = false;
  bool keepsOthers = false;         ///< records with labels that it does not have are taken
  std::vector<std::int32_t> added;  ///< since it grows

 private:
  std::string name_;
  std::vector<bool> is_;
};

/// Collects records by the column and puts them into a symbol: pieces that grow with the symbol, so
/// that records in any order are merged a few times only.
class RecordIntake {
 public:
  /// `domains` has an entry for each position, null where all labels are allowed.
  RecordIntake(zdbcc::Symbol symbol, std::vector<Members*> domains, OnDuplicate onDuplicate,
               LabelIntake& labels, TextIntake& texts, SymbolReport& report);

  /// Begins a record. The caller then adds its labels, values and text.
  void begin(std::uint64_t line);
  void key(std::string_view label);
  void key(std::int32_t label) { keys_.push_back(label); }
  void value(double number) { values_.push_back(number); }
  void text(std::string_view text);

  /// Checks domains and passes records on, if there are enough of them.
  void settle();
  /// All of them.
  void finish();

 private:
  std::size_t rows() const { return lines_.size(); }
  void checkDomains();
  bool isInside(std::size_t row);
  void copyRow(std::size_t from, std::size_t to);
  void resize(std::size_t rows);
  void put();
  void putSums();
  void addUpRows();
  void addExisting();
  void noteTexts();
  zdbx_columns columns(zdbx_texts& texts, std::vector<const char*>& pointers) const;
  zdbx_result put(const zdbx_columns& columns, int mode, int onFailure);
  std::string described(std::size_t row) const;
  std::string symbolLabel(std::int32_t number) const;

  zdbcc::Symbol symbol_;
  std::vector<Members*> domains_;
  OnDuplicate onDuplicate_;
  LabelIntake& labels_;
  TextIntake& allTexts_;
  SymbolReport& report_;
  std::size_t dim_;
  std::size_t width_;
  bool isSet_;
  std::size_t settled_ = 0;  ///< so many rows have their label numbers and are in their domains

  std::vector<std::int32_t> keys_;  ///< by rows, as the others
  std::vector<double> values_;
  std::vector<std::uint64_t> lines_;
  std::vector<std::size_t> texts_;  ///< where they begin
  std::string textBytes_;           ///< C strings
};

}  // namespace zdb::tool
