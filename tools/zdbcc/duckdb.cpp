#include "duckdb.h"

#include <dlfcn.h>

#include <cstdint>
#include <cstdlib>
#include <memory>

#include "exitcode.h"

namespace zdb::tool {

namespace {

/// As DuckDB's C interface declares it; the members are its own.
struct DuckDbResult {
  std::uint64_t columnCount;
  std::uint64_t rowCount;
  std::uint64_t rowsChanged;
  void* columns;
  char* errorMessage;
  void* internal;
};

constexpr int kSuccess = 0;

std::string nameOf(const std::string& library) {
  if (!library.empty()) return library;
  const char* named = std::getenv("ZDBCC_DUCKDB");
  return named == nullptr || *named == '\0' ? "libduckdb.so" : named;
}

}  // namespace

struct DuckDb::Functions {
  explicit Functions(void* library) {
    find(library, open, "duckdb_open");
    find(library, close, "duckdb_close");
    find(library, connect, "duckdb_connect");
    find(library, disconnect, "duckdb_disconnect");
    find(library, arrowScan, "duckdb_arrow_scan");
    find(library, query, "duckdb_query");
    find(library, resultError, "duckdb_result_error");
    find(library, destroyResult, "duckdb_destroy_result");
  }

  template <typename Function>
  static void find(void* library, Function& function, const char* name) {
    function = reinterpret_cast<Function>(dlsym(library, name));
    if (function == nullptr) {
      throw ToolError(std::string("DuckDB's library has no function ") + name +
                      "; another version of it may have");
    }
  }

  int (*open)(const char* path, void** database);
  void (*close)(void** database);
  int (*connect)(void* database, void** connection);
  void (*disconnect)(void** connection);
  int (*arrowScan)(void* connection, const char* view, ArrowArrayStream* stream);
  int (*query)(void* connection, const char* sql, DuckDbResult* result);
  const char* (*resultError)(DuckDbResult* result);
  void (*destroyResult)(DuckDbResult* result);
};

// The library is never closed: it may have threads.
DuckDb::DuckDb(const std::string& library) {
  library_ = dlopen(nameOf(library).c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library_ == nullptr) {
    throw ToolError(std::string("Parquet needs DuckDB's library, which cannot be opened: ") +
                    dlerror() +
                    "; name one with --duckdb or in ZDBCC_DUCKDB (npm pack "
                    "@duckdb/node-bindings-linux-x64 fetches an archive that has it)");
  }
  auto functions = std::make_unique<Functions>(library_);
  if (functions->open(nullptr, &database_) != kSuccess) throw ToolError("cannot start DuckDB");
  if (functions->connect(database_, &connection_) != kSuccess) {
    functions->close(&database_);
    throw ToolError("cannot connect to DuckDB");
  }
  functions_ = functions.release();
}

DuckDb::~DuckDb() {
  functions_->disconnect(&connection_);
  functions_->close(&database_);
  delete functions_;
}

void DuckDb::scan(const std::string& view, ArrowArrayStream& stream) {
  if (functions_->arrowScan(connection_, view.c_str(), &stream) != kSuccess) {
    throw ToolError("DuckDB cannot read the records");
  }
}

void DuckDb::run(const std::string& sql) {
  DuckDbResult result{};
  const bool isDone = functions_->query(connection_, sql.c_str(), &result) == kSuccess;
  const char* problem = isDone ? nullptr : functions_->resultError(&result);
  const std::string text = problem == nullptr ? "it does not say why" : problem;
  functions_->destroyResult(&result);
  if (!isDone) throw ToolError("DuckDB: " + text);
}

}  // namespace zdb::tool
