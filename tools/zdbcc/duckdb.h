#pragma once

#include <string>

#include "zdbx.h"

namespace zdb::tool {

/// A database of DuckDB in memory. Its library is opened at run time: nothing else needs it.
class DuckDb {
 public:
  /// Opens the library with this file name, or if it is empty the one that ZDBCC_DUCKDB names, or
  /// the system's. Throws ToolError, which says where to get one.
  explicit DuckDb(const std::string& library);
  ~DuckDb();
  DuckDb(const DuckDb&) = delete;
  DuckDb& operator=(const DuckDb&) = delete;

  /// Makes the stream a view, which can be read once and ends with the stream. The stream stays the
  /// caller's.
  void scan(const std::string& view, ArrowArrayStream& stream);
  void run(const std::string& sql);

 private:
  struct Functions;

  void* library_ = nullptr;
  Functions* functions_ = nullptr;
  void* database_ = nullptr;
  void* connection_ = nullptr;
};

}  // namespace zdb::tool
