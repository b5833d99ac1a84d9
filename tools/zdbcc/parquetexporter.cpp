// A folder with a Parquet file for each symbol, which DuckDB's library writes.
#include <filesystem>

#include "columns.h"
#include "console.h"
#include "duckdb.h"
#include "exporter.h"
#include "recordstream.h"
#include "symboltables.h"
#include "values.h"
#include "zdbcc.hpp"

namespace zdb::tool {

namespace {

namespace fs = std::filesystem;

class ParquetExporter : public Exporter {
 public:
  ParquetExporter(const ExportJob& job, const std::string& library)
      : job_(job), folder_(job.target), duckDb_(library), db_(job.file.name()) {
    if (!job.isForced) refuseToWriteOver();
    std::error_code failed;
    fs::create_directories(folder_, failed);
    if (failed) throw ToolError("cannot make the folder " + job.target + ": " + failed.message());
    // With several, it holds all records to keep their order.
    duckDb_.run("SET threads=1");
  }

  bool takesRecords() const override { return false; }

  void begin(const FileSymbol& symbol) override {
    if (symbol.isAlias()) return;
    RecordStream records(job_.file, symbol, db_, job_.isRead);
    duckDb_.scan("records", records.content());
    const std::string part = fileOf(symbol).string() + ".part";
    std::error_code failed;
    try {
      duckDb_.run("COPY (SELECT * " + withNulls(symbol) + "FROM records) TO " +
                  sqlite::quotedText(part) + " (FORMAT parquet, COMPRESSION zstd)");
      duckDb_.run("DROP VIEW records");
    } catch (...) {
      fs::remove(part, failed);
      records.rethrow();
      throw;
    }
    fs::rename(part, fileOf(symbol), failed);
    if (!failed) return;
    throw OutputError("cannot write " + fileOf(symbol).string() + ": " + failed.message());
  }

  void record(const FileRecords& /*record*/) override {}
  void end() override {}

 private:
  void refuseToWriteOver() const {
    std::error_code missing;
    for (const FileSymbol& symbol : job_.symbols) {
      if (symbol.isAlias() || !fs::exists(fileOf(symbol), missing)) continue;
      throw ToolError(fileOf(symbol).string() + " exists; use --force to write over it");
    }
  }

  fs::path fileOf(const FileSymbol& symbol) const { return folder_ / (symbol.name + ".parquet"); }

  /// What is not a number is NULL.
  static std::string withNulls(const FileSymbol& symbol) {
    if (symbol.type == ZDB_SET) return "";
    std::string columns;
    for (const std::string& name : valueColumns(symbol)) {
      const std::string column = sqlite::quotedName(name);
      columns += columns.empty() ? "" : ", ";
      columns.append("CASE WHEN isnan(").append(column).append(") THEN NULL ELSE ");
      columns.append(column).append(" END AS ").append(column);
    }
    return "REPLACE (" + columns + ") ";
  }

  ExportJob job_;
  fs::path folder_;
  DuckDb duckDb_;
  zdbcc::Database db_;  ///< for its labels
};

}  // namespace

std::unique_ptr<Exporter> parquetFolderExporter(const ExportJob& job, const std::string& library) {
  return std::make_unique<ParquetExporter>(job, library);
}

}  // namespace zdb::tool
