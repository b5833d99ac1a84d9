// zdbcc sql: queries over the symbols of exchange files.
#include <sqlite3.h>

#include <iostream>
#include <iterator>
#include <memory>

#include "columns.h"
#include "contract/columnnames.h"
#include "exchangefile.h"
#include "guess.h"
#include "interrupt.h"
#include "rowwriter.h"
#include "symboltables.h"
#include "table.h"
#include "verbs.h"

namespace zdb::tool {

namespace {

struct SqlOptions {
  std::string file;
  std::string sql;
  std::vector<std::string> attached;
  SpecialForm specials = SpecialForm::Numbers;
  bool table = false;
  bool json = false;
};

using Statement = std::unique_ptr<sqlite3_stmt, decltype(&sqlite3_finalize)>;

/// A row of a result, cell by cell.
class ResultForm {
 public:
  virtual ~ResultForm() = default;
  virtual void text(std::string_view content) = 0;
  virtual void integer(long long value) = 0;
  virtual void number(double value) = 0;
  virtual void null() = 0;
  virtual void endRow() = 0;
};

/// As it comes.
class StreamedRows : public ResultForm {
 public:
  explicit StreamedRows(RowWriter& rows) : rows_(rows) {}
  void text(std::string_view content) override { rows_.text(content); }
  void integer(long long value) override { rows_.integer(value); }
  void number(double value) override { rows_.number(value, format_); }
  void null() override { rows_.null(); }
  void endRow() override { rows_.endRow(); }

 private:
  RowWriter& rows_;
  // Special values have become numbers or texts before.
  ValueFormat format_{FileRecords::specials()};
};

/// For people: all rows are kept until the columns' widths are known.
class AlignedRows : public ResultForm {
 public:
  void text(std::string_view content) override { cells_.emplace_back(content); }
  void integer(long long value) override { cells_.push_back(std::to_string(value)); }
  void number(double value) override { cells_.emplace_back(format_(value)); }
  void null() override { cells_.emplace_back(); }
  void endRow() override { rows_.push_back(std::move(cells_)), cells_.clear(); }

  void print(const std::vector<std::string>& names, Console& console) const {
    std::vector<Table::Column> columns;
    for (std::size_t i = 0; i < names.size(); ++i) columns.push_back({names[i], isNumeric(i)});
    Table table(columns);
    for (const std::vector<std::string>& row : rows_) table.add(row);
    table.print(console);
  }

 private:
  /// Whether the column's first cell that is not empty is a number.
  bool isNumeric(std::size_t column) const {
    for (const std::vector<std::string>& row : rows_) {
      const std::string& cell = row[column];
      if (!cell.empty()) return format_.parse(cell).has_value();
    }
    return false;
  }

  std::vector<std::string> cells_;
  std::vector<std::vector<std::string>> rows_;
  ValueFormat format_{FileRecords::specials()};
};

/// A database without tables of its own, to which those of exchange files are added.
class Session {
 public:
  Session(const SqlOptions& options, Console& console)
      : options_(options), console_(console), rows_(console, options.json) {
    if (sqlite3_open(":memory:", &db_) != SQLITE_OK || sqlite::addSymbolTables(db_) != SQLITE_OK) {
      const std::string problem = sqlite3_errmsg(db_);
      sqlite3_close(db_);
      throw ToolError("cannot start SQLite: " + problem);
    }
  }
  ~Session() { sqlite3_close(db_); }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  void attach(const std::string& file, const std::string& schema) {
    constexpr const char* kForms[] = {"specials=names", "specials=numbers", "specials=empty"};
    sqlite::attachFile(db_, file, schema, kForms[static_cast<int>(options_.specials)]);
    files_.push_back(file);
  }

  void attachAs(const std::string& name, const std::string& file) {
    const std::string sql = "ATTACH ':memory:' AS " + sqlite::quotedName(name);
    if (sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) fail();
    attach(file, name);
  }

  void run(const std::string& sql) {
    onlyQueries();
    const char* rest = sql.c_str();
    int count = 0;
    while (true) {
      const Statement statement = prepare(rest);
      if (statement == nullptr) break;
      if (count++ > 0 && !options_.json) console_.write("\n");
      show(statement.get());
    }
    if (count == 0) throw ToolError("there is no query");
  }

 private:
  void onlyQueries() {
    // A name in double quotes that is not there is not a text.
    sqlite3_db_config(db_, SQLITE_DBCONFIG_DQS_DML, 0, nullptr);
    sqlite3_set_authorizer(db_, decide, this);
    constexpr int kOperations = 10000;  // about 0.1 ms
    sqlite3_progress_handler(
        db_, kOperations, [](void*) { return Interrupt::isRequested() ? 1 : 0; }, nullptr);
  }

  static int decide(void* session, int action, const char* name, const char* /*detail*/,
                    const char* /*schema*/, const char* /*view*/) {
    const bool isQuery = action == SQLITE_SELECT || action == SQLITE_READ ||
                         action == SQLITE_FUNCTION || action == SQLITE_RECURSIVE;
    const std::string_view pragma = action == SQLITE_PRAGMA ? name : "";
    if (isQuery || pragma == "table_info" || pragma == "table_list") return SQLITE_OK;
    static_cast<Session*>(session)->isRefused_ = true;
    return SQLITE_DENY;
  }

  /// The next statement, null if there is none; `rest` becomes what follows it.
  Statement prepare(const char*& rest) {
    while (*rest != '\0') {
      sqlite3_stmt* statement = nullptr;
      if (sqlite3_prepare_v2(db_, rest, -1, &statement, &rest) != SQLITE_OK) fail();
      if (statement == nullptr) continue;  // a comment or a semicolon
      Statement owned(statement, sqlite3_finalize);
      if (sqlite3_stmt_readonly(statement) == 0) isRefused_ = true, fail();
      return owned;
    }
    return {nullptr, sqlite3_finalize};
  }

  void show(sqlite3_stmt* statement) {
    const int count = sqlite3_column_count(statement);
    std::vector<std::string> names(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
      names[static_cast<std::size_t>(i)] = sqlite3_column_name(statement, i);
    }
    bool isLeft = step(statement);  // first, so that there is no heading if this fails
    if (options_.table) {
      AlignedRows aligned;
      for (; isLeft; isLeft = step(statement)) writeRow(statement, count, aligned);
      return aligned.print(names, console_);
    }
    // An object has a name once.
    if (options_.json) names = contract::positionNames(names, {});
    StreamedRows streamed(rows_);
    rows_.table(names, [&] {
      for (; isLeft; isLeft = step(statement)) writeRow(statement, count, streamed);
    });
  }

  bool step(sqlite3_stmt* statement) {
    const int code = sqlite3_step(statement);
    if (code == SQLITE_INTERRUPT) throw InterruptedError();
    if (code != SQLITE_ROW && code != SQLITE_DONE) fail();
    return code == SQLITE_ROW;
  }

  static void writeRow(sqlite3_stmt* statement, int count, ResultForm& form) {
    for (int i = 0; i < count; ++i) {
      const int type = sqlite3_column_type(statement, i);
      if (type == SQLITE_NULL) {
        form.null();
      } else if (type == SQLITE_INTEGER) {
        form.integer(sqlite3_column_int64(statement, i));
      } else if (type == SQLITE_FLOAT) {
        form.number(sqlite3_column_double(statement, i));
      } else {
        const void* bytes = sqlite3_column_blob(statement, i);
        const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement, i));
        form.text({static_cast<const char*>(bytes), size});
      }
    }
    form.endRow();
  }

  [[noreturn]] void fail() const {
    if (isRefused_) throw ToolError("only queries are run: nothing can be changed");
    const std::string message = sqlite3_errmsg(db_);
    throw ToolError(message + guess(message));
  }

  /// What is meant by the table or column that SQLite says is not there.
  std::string guess(const std::string& message) const {
    const auto after = message.find(": ");
    const bool isTable = message.starts_with("no such table: ");
    if (!isTable && !message.starts_with("no such column: ")) return "";
    std::string name = message.substr(after + 2);
    if (const auto dot = name.rfind('.'); dot != std::string::npos) name = name.substr(dot + 1);
    Guess guess(name);
    for (const std::string& file : files_) {
      const ExchangeFile opened(file);
      for (const FileSymbol& symbol : opened.symbols()) {
        if (isTable) guess.consider(symbol.name);
        if (isTable || symbol.isAlias()) continue;
        for (const std::string& column : columnNames(symbol)) guess.consider(column);
      }
    }
    return guess.text();
  }

  const SqlOptions& options_;
  Console& console_;
  RowWriter rows_;
  sqlite3* db_ = nullptr;
  std::vector<std::string> files_;
  bool isRefused_ = false;
};

void runSql(const SqlOptions& options, Console& console) {
  if (options.table && options.json) throw WrongUseError("--table and --json exclude each other");
  Session session(options, console);
  session.attach(options.file, "main");
  for (const std::string& word : options.attached) {
    const auto equals = word.find('=');
    if (equals == 0 || equals == std::string::npos) {
      throw WrongUseError("--attach needs NAME=FILE, not " + printable(word));
    }
    session.attachAs(word.substr(0, equals), word.substr(equals + 1));
  }
  std::string sql = options.sql;
  if (sql == "-") sql.assign(std::istreambuf_iterator<char>(std::cin), {});
  const Interrupt interruptible;
  session.run(sql);
}

}  // namespace

Verb sqlVerb() {
  return {
      .name = "sql",
      .summary = "Answers queries in SQL over the symbols of exchange files",
      .details =
          R"(Each symbol is a table of SQLite, with the columns that `zdbcc dump` writes: the
labels, which are the primary key, then the values. An alias is a table with the records of its set,
and `_labels` has all labels of the file. Nothing is copied into a database: records are read from
the file as the query asks for them, and memory does not grow with them, except for what SQLite
itself keeps, such as groups.

- Labels are texts that compare without regard to case. A query for one or more leading labels, as
in `WHERE origin = 'ATL'`, goes straight to these records; other labels are compared while reading.
- `ORDER BY` sorts by the text of labels; without it, records come in the order of their keys.
- Names that SQL has for itself are written in double quotes: `"order"`. Texts have single quotes.
- Several queries are separated by semicolons. Only queries are run: nothing can be changed.

The result is written as CSV, with an empty field for `NULL`.)",
      .operands = {{.name = "FILE",
                    .kind = Kind::ExchangeFile,
                    .text = "Exchange file whose symbols are the tables",
                    .target = into(&SqlOptions::file)},
                   {.name = "SQL",
                    .text = "Queries; `-` reads them from standard input",
                    .target = into(&SqlOptions::sql)}},
      .options = {{.name = "attach",
                   .value = "NAME=FILE",
                   .text = "Add the symbols of another file, as NAME.SYMBOL",
                   .target = into(&SqlOptions::attached)},
                  {.name = "specials",
                   .value = "HOW",
                   .kind = Kind::Choice,
                   .text = "What special values are in the tables",
                   .details = "`numbers` are infinities, 0 for `Eps`, and `NULL` for `Undef` and "
                              "`NA`; `names` are the texts that `zdbcc dump` writes; `empty` is "
                              "`NULL` for all.",
                   .target = into(&SqlOptions::specials, {"names", "numbers", "empty"})},
                  {.name = "table",
                   .text = "Write aligned columns, for people; all rows are kept in memory",
                   .target = into(&SqlOptions::table)},
                  jsonOption(&SqlOptions::json)},
      .examples = {{"zdbcc sql flights.zxf 'SELECT sum(value), count(*) FROM flights'",
                    "A total, in one pass over the file"},
                   {"zdbcc sql flights.zxf --table "
                    "'SELECT origin, sum(value) total FROM flights GROUP BY origin "
                    "ORDER BY total DESC LIMIT 5'",
                    "The five busiest airports"},
                   {"zdbcc sql new.zxf --attach old=old.zxf "
                    "'SELECT * FROM main.city EXCEPT SELECT * FROM old.city'",
                    "What one file has and another has not"}},
      .action = runs(runSql)};
}

}  // namespace zdb::tool
