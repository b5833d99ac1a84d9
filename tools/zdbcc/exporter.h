#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "exchangefile.h"

namespace zdb::tool {

/// A form in which symbols leave an exchange file.
class Exporter {
 public:
  Exporter() = default;
  virtual ~Exporter() = default;
  Exporter(const Exporter&) = delete;
  Exporter& operator=(const Exporter&) = delete;

  /// For each symbol, aliases included, in the order of the file: begin(), record() for each of its
  /// records in key order, and end().
  virtual void begin(const FileSymbol& symbol) = 0;
  /// False if begin() writes a symbol as a whole, with job.isRead(), and needs no record().
  virtual bool takesRecords() const { return true; }
  virtual void record(const FileRecords& record) = 0;
  virtual void end() = 0;
  /// After all of them. Until then, nobody may take for complete what has been written.
  virtual void finish() {}
};

/// What is to be exported, and where to.
struct ExportJob {
  ExchangeFile& file;
  std::vector<FileSymbol> symbols;
  std::string target;
  bool isForced = false;  ///< may write over what is there
  /// Called by exporters that read records themselves, with how many it were; throws after Ctrl-C.
  std::function<void(std::uint64_t)> isRead;
};

/// A folder with a CSV file for each symbol and a file of specs, from which `import` makes the same
/// exchange file again; or JSON lines instead, without specs.
std::unique_ptr<Exporter> csvFolderExporter(const ExportJob& job);
std::unique_ptr<Exporter> jsonLinesFolderExporter(const ExportJob& job);
/// A SQLite database: a table for each symbol, a view for each alias.
std::unique_ptr<Exporter> sqliteExporter(const ExportJob& job);
/// A folder with a Parquet file for each symbol that has records, by DuckDB's library (see DuckDb).
std::unique_ptr<Exporter> parquetFolderExporter(const ExportJob& job, const std::string& library);

}  // namespace zdb::tool
