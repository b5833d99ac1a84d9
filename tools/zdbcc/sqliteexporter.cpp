// A SQLite database with a table for each symbol.
#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "columns.h"
#include "console.h"
#include "exporter.h"
#include "symboltables.h"
#include "values.h"

namespace zdb::tool {

namespace {

namespace fs = std::filesystem;
using sqlite::quotedName;

// Names that no symbol has.
constexpr const char* kDescriptions = R"(
CREATE TABLE _symbols(number INTEGER PRIMARY KEY, name TEXT NOT NULL, type TEXT NOT NULL,
  subtype INTEGER NOT NULL, dimension INTEGER NOT NULL, domains TEXT NOT NULL,
  records INTEGER NOT NULL, text TEXT NOT NULL);
CREATE TABLE _labels(number INTEGER PRIMARY KEY, label TEXT NOT NULL COLLATE NOCASE UNIQUE);)";

/// A file that nobody takes for a database before it is complete: it is written beside the target,
/// without a journal, and takes its place in the end.
class SqliteExporter : public Exporter {
 public:
  explicit SqliteExporter(const ExportJob& job)
      : job_(job), part_(job.target + '.' + std::to_string(getpid()) + ".part") {
    std::error_code missing;
    if (!job.isForced && fs::exists(job.target, missing)) {
      throw ToolError(job.target + " exists; use --force to write over it");
    }
    if (fs::is_directory(job.target, missing)) throw ToolError(job.target + " is a folder");
    try {
      constexpr int kFlags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_EXCLUSIVE;
      require(sqlite3_open_v2(part_.c_str(), &db_, kFlags, nullptr));
      execute("PRAGMA journal_mode=OFF; PRAGMA synchronous=OFF; PRAGMA cache_size=-65536; BEGIN");
      execute(kDescriptions);
      writeLabels();
    } catch (...) {
      discard();
      throw;
    }
  }
  ~SqliteExporter() override { discard(); }

  void begin(const FileSymbol& symbol) override {
    describe(symbol);
    const std::string name = quotedName(symbol.name);
    if (symbol.isAlias()) {
      const bool isUniverse = symbol.aliasOf == "*";
      execute("CREATE VIEW " + name + " AS SELECT " + (isUniverse ? "label" : "*") + " FROM " +
              (isUniverse ? "_labels" : quotedName(symbol.aliasOf)));
      return;
    }
    dim_ = symbol.dim;
    const std::vector<std::string> names = columnNames(symbol);
    std::string columns;
    std::string key;
    std::string places;
    for (std::size_t i = 0; i < names.size(); ++i) {
      const bool isLabel = i < static_cast<std::size_t>(dim_);
      const char* separator = i > 0 ? ", " : "";
      const char* type = symbol.type == ZDB_SET ? " TEXT NOT NULL" : " REAL";
      columns += separator + quotedName(names[i]);
      columns += isLabel ? " TEXT NOT NULL COLLATE NOCASE" : type;
      places += i > 0 ? ", ?" : "?";
      if (isLabel) key += separator + quotedName(names[i]);
    }
    if (dim_ > 0) columns += ", PRIMARY KEY(" + key + ")) WITHOUT ROWID";
    execute("CREATE TABLE " + name + '(' + columns + (dim_ > 0 ? "" : ")"));
    insert_ = prepare("INSERT INTO " + name + " VALUES (" + places + ')');
    symbol_ = &symbol;
  }

  void record(const FileRecords& record) override {
    int column = 0;
    for (int d = 0; d < dim_; ++d) bind(++column, job_.file.label(record.keys()[d]));
    if (symbol_->type == ZDB_SET) {
      bind(++column, record.text());
    } else {
      for (int v = 0; v < symbol_->valueCount(); ++v) {
        // NULL if it is not a number.
        require(sqlite3_bind_double(insert_, ++column, *format_.number(record.values()[v])));
      }
    }
    step(insert_);
  }

  void end() override {
    sqlite3_finalize(insert_);
    insert_ = nullptr;
  }

  void finish() override {
    execute("COMMIT");
    sqlite3_close(db_);
    db_ = nullptr;
    bringToDisk();
    std::error_code failed;
    fs::rename(part_, job_.target, failed);
    if (failed) throw OutputError("cannot write " + job_.target + ": " + failed.message());
    part_.clear();
  }

 private:
  void bringToDisk() const {
    const int file = open(part_.c_str(), O_RDONLY | O_CLOEXEC);
    const bool isDone = file >= 0 && fsync(file) == 0;
    const int failure = errno;
    if (file >= 0) close(file);
    if (!isDone) throw OutputError("cannot write " + job_.target + ": " + std::strerror(failure));
  }

  void discard() {
    sqlite3_finalize(insert_);
    sqlite3_close(db_);
    insert_ = nullptr;
    db_ = nullptr;
    std::error_code unknown;
    if (!part_.empty()) fs::remove(part_, unknown);
  }

  void require(int code) const {
    if (code == SQLITE_OK || code == SQLITE_DONE) return;
    throw OutputError("cannot write " + job_.target + ": " + sqlite3_errmsg(db_));
  }

  void execute(const std::string& sql) const {
    require(sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, nullptr));
  }

  sqlite3_stmt* prepare(const std::string& sql) const {
    sqlite3_stmt* statement = nullptr;
    require(sqlite3_prepare_v2(db_, sql.c_str(), -1, &statement, nullptr));
    return statement;
  }

  void step(sqlite3_stmt* statement) const {
    require(sqlite3_step(statement));
    sqlite3_reset(statement);
  }

  /// The text stays until the statement has run.
  void bind(int column, std::string_view text) const {
    // Not null, which would stand for NULL.
    const char* bytes = text.empty() ? "" : text.data();
    const int size = static_cast<int>(text.size());
    require(sqlite3_bind_text(insert_, column, bytes, size, SQLITE_STATIC));
  }

  void writeLabels() {
    insert_ = prepare("INSERT INTO _labels VALUES (?, ?)");
    for (int i = 1; i <= job_.file.labelCount(); ++i) {
      require(sqlite3_bind_int(insert_, 1, i));
      bind(2, job_.file.label(i));
      step(insert_);
    }
    end();
  }

  void describe(const FileSymbol& symbol) {
    insert_ = prepare("INSERT INTO _symbols VALUES (?, ?, ?, ?, ?, ?, ?, ?)");
    const std::string domains = symbol.isAlias() ? symbol.aliasOf : domainText(symbol);
    require(sqlite3_bind_int(insert_, 1, symbol.number));
    bind(2, symbol.name);
    bind(3, typeName(symbol.type));
    require(sqlite3_bind_int(insert_, 4, symbol.isAlias() ? 0 : symbol.subtype()));
    require(sqlite3_bind_int(insert_, 5, symbol.dim));
    bind(6, domains);
    require(sqlite3_bind_int64(insert_, 7, symbol.recordCount));
    bind(8, symbol.text);
    step(insert_);
    end();
  }

  ExportJob job_;
  std::string part_;  ///< empty once it has become the target
  sqlite3* db_ = nullptr;
  sqlite3_stmt* insert_ = nullptr;
  const FileSymbol* symbol_ = nullptr;  ///< while it is written
  int dim_ = 0;
  ValueFormat format_{FileRecords::specials(), SpecialForm::Numbers};
};

}  // namespace

std::unique_ptr<Exporter> sqliteExporter(const ExportJob& job) {
  return std::make_unique<SqliteExporter>(job);
}

}  // namespace zdb::tool
