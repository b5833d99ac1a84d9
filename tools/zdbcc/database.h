#pragma once

#include <string>
#include <vector>

#include "symbol.h"

namespace zdb::tool {

/// A symbol of a database.
struct Symbol : SymbolInfo {
  zdbSymbol_t handle = nullptr;
};

/// A database of the library, either empty or read from a data file. All functions throw ToolError
/// with the library's own message if a call fails. Records are read when they are first needed.
class Database {
 public:
  Database();
  explicit Database(const std::string& fileName);
  ~Database();
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  zdbHandle_t handle() const { return db_; }

  int labelCount();
  /// Text of a label.
  /// REQUIRES 1 <= number <= labelCount().
  std::string label(int number);

  int symbolCount();
  /// The symbol at a position in the file; for an alias, the alias itself.
  /// REQUIRES 0 <= position < symbolCount().
  Symbol symbolAt(int position);
  /// Finds a symbol by name without regard to case; for an alias, its set.
  Symbol findSymbol(const std::string& name);

  /// Number of records. Reads all of them.
  int recordCount(const Symbol& symbol);
  /// Removes the records from memory. Neither they nor their number can be read again.
  void forgetRecords(const Symbol& symbol);

  /// Throws ToolError with the last-error text if `succeeded` is 0.
  void require(int succeeded) const;

 private:
  int info(int key);
  int symbolNumber(zdbSymbol_t symbol, int key);
  std::string symbolText(zdbSymbol_t symbol, int key);
  Symbol describe(zdbSymbol_t handle);
  std::vector<Domain> domains(zdbSymbol_t handle, int dim);

  zdbHandle_t db_ = nullptr;
};

/// Walks the records of a symbol in key order:
///     for (RecordCursor record(db, symbol); record.valid(); record.next()) ...
class RecordCursor {
 public:
  RecordCursor(Database& db, const Symbol& symbol);
  ~RecordCursor();
  RecordCursor(const RecordCursor&) = delete;
  RecordCursor& operator=(const RecordCursor&) = delete;

  bool valid() const { return left_ > 0; }
  void next();
  /// Label numbers and values of the record; valid until next().
  const int* keys() const { return keys_; }
  const double* values() const { return values_; }
  /// Element text of a record of a set; empty if it has none.
  const char* text();

 private:
  void read();

  Database& db_;
  int dim_;
  int left_;
  zdbRecord_t record_ = nullptr;
  int keys_[ZDB_MAX_DIM] = {};
  double values_[ZDB_MAX_VALUES] = {};
  char text_[ZDB_TEXT_SIZE] = "";
};

}  // namespace zdb::tool
