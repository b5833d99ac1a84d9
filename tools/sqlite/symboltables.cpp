#include "symboltables.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <optional>
#include <vector>

#include "columns.h"
#include "contract/names.h"
#include "exitcode.h"
#include "openfiles.h"
#include "slice.h"
#include "sqliteapi.h"
#include "values.h"

namespace zdb::sqlite {

using namespace zdb::tool;

namespace {

/// Name of the table of all labels, which no symbol that the database has made can have.
constexpr const char* kLabels = "_labels";
/// For blocks that a query comes back to: 12 million records of three labels and a double.
constexpr std::size_t kKeptBlocks = std::size_t{256} << 20;

/// A table; the base is what SQLite knows of it.
struct SymbolTable : sqlite3_vtab {
  SymbolTable(std::shared_ptr<const ExchangeFile> from, FileSymbol of, SpecialForm specials)
      : sqlite3_vtab(),
        file(std::move(from)),
        symbol(std::move(of)),
        format(FileRecords::specials(), specials) {}

  /// Labels that a position may have; at least 1.
  double labelsAt(int position) const;
  bool hasSortedLabels();

  std::shared_ptr<const ExchangeFile> file;
  FileSymbol symbol;
  ValueFormat format;

 private:
  std::optional<bool> hasSortedLabels_;
};

double SymbolTable::labelsAt(int position) const {
  double count = file->labelCount();
  const Domain& domain = symbol.domains[static_cast<std::size_t>(position)];
  if (!domain.relaxed && domain.name != "*") count = file->symbol(domain.name).recordCount;
  return std::max(count, 1.0);
}

bool SymbolTable::hasSortedLabels() {
  if (hasSortedLabels_) return *hasSortedLabels_;
  std::string before;
  hasSortedLabels_ = true;
  for (int i = 1; i <= file->labelCount() && *hasSortedLabels_; ++i) {
    std::string label = contract::lowerCase(file->label(i));
    hasSortedLabels_ = before <= label;  // as std::string compares: bytes without sign
    before = std::move(label);
  }
  return *hasSortedLabels_;
}

/// A walk through a table.
struct Cursor : sqlite3_vtab_cursor {
  explicit Cursor(const SymbolTable& of)
      : sqlite3_vtab_cursor(), table(of), slice{of.symbol}, records(*of.file, slice) {
    records.keepBlocks(kKeptBlocks);
  }

  const SymbolTable& table;
  Slice slice;
  SliceRecords records;
  bool isAtEnd = true;
  sqlite3_int64 row = 0;
};

SymbolTable& tableOf(sqlite3_vtab* table) {
  return *static_cast<SymbolTable*>(table);
}
Cursor& cursorOf(sqlite3_vtab_cursor* cursor) {
  return *static_cast<Cursor*>(cursor);
}

/// Runs what may throw; the text of an exception goes to `message`, for SQLite to free.
template <typename Work>
int guarded(char*& message, Work work) {
  try {
    return work();
  } catch (const std::bad_alloc&) {
    return SQLITE_NOMEM;
  } catch (const std::exception& failure) {
    sqlite3_free(message);
    message = sqlite3_mprintf("%s", failure.what());
    return SQLITE_ERROR;
  }
}

/// What an argument of CREATE VIRTUAL TABLE means, which SQLite hands over as it was written.
std::string unquoted(std::string_view argument) {
  argument = contract::withoutLeadingBlanks(contract::withoutEndingBlanks(argument));
  const char quote = argument.empty() ? '\0' : argument.front();
  const bool isQuoted =
      argument.size() >= 2 && (quote == '\'' || quote == '"') && argument.back() == quote;
  if (!isQuoted) return std::string(argument);
  std::string text;
  for (std::size_t i = 1; i + 1 < argument.size(); ++i) {
    text += argument[i];
    if (argument[i] == quote) ++i;  // it is doubled
  }
  return text;
}

SpecialForm specialForm(std::string_view argument) {
  if (argument == "specials=names") return SpecialForm::Names;
  if (argument == "specials=numbers") return SpecialForm::Numbers;
  if (argument == "specials=empty") return SpecialForm::Empty;
  throw ToolError("the third argument is specials=names, numbers or empty, not " +
                  std::string(argument));
}

std::string declaration(const FileSymbol& symbol) {
  const std::vector<std::string> names = columnNames(symbol);
  const auto dim = static_cast<std::size_t>(symbol.dim);
  const char* valueType = symbol.type == ZDB_SET ? " TEXT" : " REAL";
  std::string columns;
  std::string key;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (i > 0) columns += ", ";
    columns += quotedName(names[i]) + (i < dim ? " TEXT COLLATE NOCASE" : valueType);
    if (i < dim) key += (i > 0 ? ", " : "") + quotedName(names[i]);
  }
  if (dim == 0) return "CREATE TABLE t(" + columns + ")";
  return "CREATE TABLE t(" + columns + ", PRIMARY KEY(" + key + ")) WITHOUT ROWID";
}

int connectTable(sqlite3* db, void* files, int count, const char* const* words,
                 sqlite3_vtab** table, char** message) {
  return guarded(*message, [&] {
    constexpr int kFirst = 3;  // after the names of module, schema and table
    if (count != kFirst + 2 && count != kFirst + 3) {
      throw ToolError("zdbcc takes an exchange file and a symbol: USING zdbcc('FILE', 'SYMBOL')");
    }
    const std::string form = count > kFirst + 2 ? unquoted(words[kFirst + 2]) : "specials=numbers";
    const SpecialForm specials = specialForm(form);
    std::shared_ptr<const ExchangeFile> file =
        static_cast<OpenFiles*>(files)->open(unquoted(words[kFirst]));
    FileSymbol symbol = file->symbol(unquoted(words[kFirst + 1]));
    if (const int code = sqlite3_declare_vtab(db, declaration(symbol).c_str()); code != SQLITE_OK) {
      *message = sqlite3_mprintf("%s", sqlite3_errmsg(db));
      return code;
    }
    sqlite3_vtab_config(db, SQLITE_VTAB_DIRECTONLY);
    *table = new SymbolTable(std::move(file), std::move(symbol), specials);
    return SQLITE_OK;
  });
}

// Another function than connectTable(), or SQLite would take the module's name for a table.
int createTable(sqlite3* db, void* files, int count, const char* const* words, sqlite3_vtab** table,
                char** message) {
  return connectTable(db, files, count, words, table, message);
}

int disconnectTable(sqlite3_vtab* table) {
  delete &tableOf(table);
  return SQLITE_OK;
}

/// Positions by bit.
using Positions = int;
static_assert(ZDB_MAX_DIM < 31);

bool isIn(Positions positions, int position) {
  return (positions >> position & 1) != 0;
}

bool isNumber(const SymbolTable& table, int column) {
  return column < 0 || column >= table.symbol.dim;
}

/// Has SQLite hand over, in the order of the positions, the labels that some must have.
Positions takeEqualities(const SymbolTable& table, sqlite3_index_info& info) {
  std::vector<int> constraints(static_cast<std::size_t>(table.symbol.dim), -1);
  for (int i = 0; i < info.nConstraint; ++i) {
    const auto& constraint = info.aConstraint[i];
    const bool isUsable = constraint.usable != 0 && constraint.op == SQLITE_INDEX_CONSTRAINT_EQ &&
                          !isNumber(table, constraint.iColumn);
    if (!isUsable) continue;
    // By another collation, other labels might be equal than those that are found here.
    const std::string_view collation = sqlite3_vtab_collation(&info, i);
    if (!contract::isSameText(collation, "NOCASE") && !contract::isSameText(collation, "BINARY")) {
      continue;
    }
    constraints[static_cast<std::size_t>(constraint.iColumn)] = i;
  }
  Positions fixed = 0;
  int handedOver = 0;
  for (std::size_t d = 0; d < constraints.size(); ++d) {
    if (constraints[d] < 0) continue;
    fixed |= 1 << d;
    // SQLite checks it again: for BINARY, the label that is found may differ in case.
    info.aConstraintUsage[constraints[d]].argvIndex = ++handedOver;
  }
  return fixed;
}

// In units of about 0.1 us, what it takes to hand over a record; unpacking one takes a fifth.
void estimate(const SymbolTable& table, Positions fixed, sqlite3_index_info& info) {
  constexpr double kBlock = 16384;
  constexpr double kUnpacking = 0.2;
  constexpr double kFinding = 10;
  double rows = table.symbol.recordCount;
  double read = rows;
  bool isLeading = true;
  for (int d = 0; d < table.symbol.dim; ++d) {
    isLeading = isLeading && isIn(fixed, d);
    if (!isIn(fixed, d)) continue;
    rows /= table.labelsAt(d);
    if (isLeading) read /= table.labelsAt(d);
  }
  const bool isUnique = table.symbol.dim > 0 && fixed == (1 << table.symbol.dim) - 1;
  if (isUnique) {
    info.idxFlags = SQLITE_INDEX_SCAN_UNIQUE;
    rows = std::min(rows, 1.0);
  }
  // A seek among the blocks that are kept is some comparisons, another one unpacks a block.
  const double record = 4.0 * table.symbol.dim + 8.0 * table.symbol.valueCount() + 1;
  double seek = 0;
  if (isIn(fixed, 0)) {
    seek = table.symbol.recordCount * record > kKeptBlocks ? kUnpacking * kBlock : kFinding;
  }
  info.estimatedRows = static_cast<sqlite3_int64>(std::ceil(rows));
  info.estimatedCost = 1 + rows + seek + kUnpacking * read;
}

/// Whether the records come in the order that is asked for, which is that of texts: they are in the
/// order of the labels' numbers. GROUP BY is no exception, though equal labels are together: where
/// ORDER BY has the same columns, SQLite takes for sorted what it was told is grouped.
bool isInOrder(SymbolTable& table, Positions fixed, const sqlite3_index_info& info) {
  int next = 0;  // position that has to come next
  for (int i = 0; i < info.nOrderBy; ++i) {
    const int column = info.aOrderBy[i].iColumn;
    if (isNumber(table, column)) return false;
    if (isIn(fixed, column)) continue;
    while (isIn(fixed, next)) ++next;
    if (column != next++ || info.aOrderBy[i].desc != 0) return false;
  }
  return table.hasSortedLabels();
}

int planQuery(sqlite3_vtab* base, sqlite3_index_info* info) {
  SymbolTable& table = tableOf(base);
  return guarded(table.zErrMsg, [&] {
    const Positions fixed = takeEqualities(table, *info);
    info->idxNum = fixed;
    estimate(table, fixed, *info);
    info->orderByConsumed = info->nOrderBy > 0 && isInOrder(table, fixed, *info) ? 1 : 0;
    return SQLITE_OK;
  });
}

int openCursor(sqlite3_vtab* base, sqlite3_vtab_cursor** cursor) {
  SymbolTable& table = tableOf(base);
  return guarded(table.zErrMsg, [&] {
    *cursor = new Cursor(table);
    return SQLITE_OK;
  });
}

int closeCursor(sqlite3_vtab_cursor* cursor) {
  delete &cursorOf(cursor);
  return SQLITE_OK;
}

int advance(Cursor& cursor) {
  return guarded(cursor.pVtab->zErrMsg, [&] {
    cursor.isAtEnd = !cursor.records.next();
    ++cursor.row;
    return SQLITE_OK;
  });
}

int nextRecord(sqlite3_vtab_cursor* cursor) {
  return advance(cursorOf(cursor));
}

/// Number of the label that a value is equal to, or 0.
int labelOf(const ExchangeFile& file, sqlite3_value* value) {
  const int type = sqlite3_value_type(value);
  if (type == SQLITE_NULL || type == SQLITE_BLOB) return 0;
  const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value));
  if (text == nullptr) throw std::bad_alloc();
  return file.findLabel({text, static_cast<std::size_t>(sqlite3_value_bytes(value))});
}

int startQuery(sqlite3_vtab_cursor* base, int fixed, const char* /*plan*/, int /*count*/,
               sqlite3_value** values) {
  Cursor& cursor = cursorOf(base);
  cursor.isAtEnd = true;
  cursor.row = 0;
  const int code = guarded(cursor.pVtab->zErrMsg, [&] {
    for (int d = 0; d < cursor.table.symbol.dim; ++d) {
      int& label = cursor.slice.labels[static_cast<std::size_t>(d)];
      label = isIn(fixed, d) ? labelOf(*cursor.table.file, *values++) : 0;
      if (isIn(fixed, d) && label == 0) return SQLITE_DONE;
    }
    cursor.records.restart();
    return SQLITE_OK;
  });
  if (code == SQLITE_OK) return advance(cursor);
  return code == SQLITE_DONE ? SQLITE_OK : code;
}

int isAfterLast(sqlite3_vtab_cursor* cursor) {
  return cursorOf(cursor).isAtEnd ? 1 : 0;
}

/// The text lives as long as the file, that is, the table.
void giveText(sqlite3_context* context, std::string_view text) {
  sqlite3_result_text(context, text.data(), static_cast<int>(text.size()), SQLITE_STATIC);
}

void giveValue(sqlite3_context* context, const ValueFormat& format, double value) {
  if (const std::optional<double> number = format.number(value)) {
    return sqlite3_result_double(context, *number);  // NULL if it is not a number
  }
  ValueFormat writer = format;
  const std::string_view name = writer(value);
  if (name.empty()) return sqlite3_result_null(context);
  sqlite3_result_text(context, name.data(), static_cast<int>(name.size()), SQLITE_TRANSIENT);
}

int giveColumn(sqlite3_vtab_cursor* base, sqlite3_context* context, int column) {
  const Cursor& cursor = cursorOf(base);
  const SymbolTable& table = cursor.table;
  const FileRecords& record = cursor.records.record();
  if (column < table.symbol.dim) {
    giveText(context, table.file->label(record.keys()[column]));
  } else if (table.symbol.type == ZDB_SET) {
    giveText(context, record.text());
  } else {
    giveValue(context, table.format, record.values()[column - table.symbol.dim]);
  }
  return SQLITE_OK;
}

int giveRow(sqlite3_vtab_cursor* cursor, sqlite3_int64* row) {
  *row = cursorOf(cursor).row;
  return SQLITE_OK;
}

const sqlite3_module& module() {
  static const sqlite3_module functions = [] {
    sqlite3_module result{};
    result.xCreate = createTable;
    result.xConnect = connectTable;
    result.xBestIndex = planQuery;
    result.xDisconnect = disconnectTable;
    result.xDestroy = disconnectTable;
    result.xOpen = openCursor;
    result.xClose = closeCursor;
    result.xFilter = startQuery;
    result.xNext = nextRecord;
    result.xEof = isAfterLast;
    result.xColumn = giveColumn;
    result.xRowid = giveRow;
    return result;
  }();
  return functions;
}

std::string doubled(std::string_view text, char quote) {
  std::string result(1, quote);
  for (const char c : text) result.append(c == quote ? 2 : 1, c);
  return result + quote;
}

bool execute(sqlite3* db, const std::string& sql) {
  return sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK;
}

std::string textOf(sqlite3_value* value) {
  const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value));
  return text == nullptr ? "" : text;
}

void attachFunction(sqlite3_context* context, int count, sqlite3_value** values) {
  sqlite3* db = sqlite3_context_db_handle(context);
  char* message = nullptr;
  const int code = guarded(message, [&] {
    const std::string file = textOf(values[0]);
    const std::string schema = count > 1 ? textOf(values[1]) : "temp";
    sqlite3_result_int(context, attachFile(db, file, schema, "specials=numbers"));
    return SQLITE_OK;
  });
  if (code == SQLITE_NOMEM) sqlite3_result_error_nomem(context);
  if (message != nullptr) sqlite3_result_error(context, message, -1);
  sqlite3_free(message);
}

}  // namespace

std::string quotedText(std::string_view text) {
  return doubled(text, '\'');
}

std::string quotedName(std::string_view name) {
  return doubled(name, '"');
}

int attachFile(sqlite3* db, const std::string& file, const std::string& schema,
               const std::string& specials) {
  const ExchangeFile opened(file);
  const auto add = [&](const std::string& table, const std::string& symbol) {
    return execute(db, "CREATE VIRTUAL TABLE " + quotedName(schema) + '.' + quotedName(table) +
                           " USING zdbcc(" + quotedText(file) + ", " + quotedText(symbol) + ", " +
                           specials + ')');
  };
  const bool hasLabels = std::any_of(
      opened.symbols().begin(), opened.symbols().end(),
      [](const FileSymbol& symbol) { return contract::isSameText(symbol.name, kLabels); });
  bool isDone = execute(db, "SAVEPOINT zdbcc_attach") && (hasLabels || add(kLabels, "*"));
  for (const FileSymbol& symbol : opened.symbols()) {
    isDone = isDone && add(symbol.name, symbol.name);
  }
  if (isDone && execute(db, "RELEASE zdbcc_attach")) {
    return static_cast<int>(opened.symbols().size());
  }
  const std::string problem = sqlite3_errmsg(db);
  execute(db, "ROLLBACK TO zdbcc_attach");
  execute(db, "RELEASE zdbcc_attach");
  throw ToolError(problem);
}

int addSymbolTables(sqlite3* db) {
  const int code = sqlite3_create_module_v2(db, "zdbcc", &module(), new OpenFiles, [](void* files) {
    delete static_cast<OpenFiles*>(files);
  });
  return code;
}

int addAttachFunction(sqlite3* db) {
  constexpr int kFlags = SQLITE_UTF8 | SQLITE_DIRECTONLY;
  for (const int count : {1, 2}) {
    const int result = sqlite3_create_function_v2(db, "zdbcc_attach", count, kFlags, nullptr,
                                                  attachFunction, nullptr, nullptr, nullptr);
    if (result != SQLITE_OK) return result;
  }
  return SQLITE_OK;
}

}  // namespace zdb::sqlite
