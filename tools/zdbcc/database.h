#pragma once

#include <array>
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

  /// The values that stand for the special ones.
  std::array<double, ZDB_SV_COUNT> specials() const;

  int labelCount();
  /// Text of a label.
  /// REQUIRES 1 <= number <= labelCount().
  std::string label(int number);

  int symbolCount();
  /// The symbol at a position in the file; for an alias, the alias itself.
  /// REQUIRES 0 <= position < symbolCount().
  Symbol symbolAt(int position);
  /// Finds a symbol by name without regard to case; for an alias, its set. A name that is not there
  /// is answered with a guess.
  Symbol findSymbol(const std::string& name);

  /// Throws ToolError, with a guess, for the first label that is not there.
  void requireLabels(const std::vector<std::string>& labels);

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

}  // namespace zdb::tool
