#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "importer.h"
#include "numberreader.h"

namespace zdb::tool {

/// Brings one CSV file into one symbol.
class TableImport {
 public:
  TableImport(Importer& importer, const ImportSpec& spec);
  ~TableImport();
  SymbolReport run();

 private:
  struct ValueColumn {
    std::size_t column;
    std::size_t field = ZDB_LEVEL;
    std::int32_t label = 0;  ///< in a wide table, the last one of the key
  };

  void readHeading();
  void findKeys();
  void findValues();
  void addValues(const ValueColumns& columns);
  void addOthers();
  std::size_t find(const ColumnName& name) const;
  [[noreturn]] void failFinding(const std::string& problem) const;
  void chooseColumns();
  int decideType();
  void addSymbol();
  std::vector<std::string> keyHeadings() const;
  void labelColumns();

  void takeRow();
  void takeLabels();
  bool isRefused();
  void takeCells();
  bool takeSingle();
  void takeFields();
  std::optional<double> number(std::size_t column);
  std::string where(std::size_t column) const;
  void noteEncoding(std::string_view text);

  Importer& importer_;
  const ImportSpec& spec_;
  const ImportRules& rules_;
  CsvScanner csv_;
  NumberReader numbers_;
  SymbolReport report_;
  std::vector<std::string> headings_;
  std::size_t width_ = 0;  ///< columns
  std::vector<std::size_t> keys_;
  std::vector<ValueColumn> values_;
  bool isWide_ = false;
  int type_ = ZDB_SET;
  std::vector<double> defaults_;  ///< of variables and equations
  std::unique_ptr<RecordIntake> records_;
};

}  // namespace zdb::tool
