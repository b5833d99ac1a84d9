#include "database.h"

#include "console.h"

namespace zdb::tool {

namespace {

using Text = char[ZDB_TEXT_SIZE];

void checkLibraryVersion() {
  Text message = "";
  int status = 0;
  if (c__xapiversion(ZDBCCLIB_API_VERSION, message, &status) == 0) throw ToolError(message);
}

}  // namespace

Database::Database() {
  checkLibraryVersion();
  Text message = "";
  if (zdbcreate(&db_, message, sizeof message) == 0) throw ToolError(message);
}

Database::Database(const std::string& fileName) : Database() {
  if (c__zdbinitfromzxf(db_, fileName.c_str()) != 0) return;
  Text message = "";
  c__zdbgetlasterror(db_, message);
  throw ToolError("cannot read " + fileName + ": " + message);  // the database is freed on the way
}

Database::~Database() {
  zdbfree(&db_);
}

void Database::require(int succeeded) const {
  if (succeeded != 0) return;
  Text message = "";
  c__zdbgetlasterror(db_, message);
  throw ToolError(message);
}

int Database::info(int key) {
  int number = 0;
  require(c__zdbinfo(db_, key, &number, nullptr, nullptr));
  return number;
}

int Database::labelCount() {
  return info(ZDB_INFO_LABELS);
}

std::string Database::label(int number) {
  Text text = "";
  require(c__zdbgetuelbyindex(db_, number, text));
  return text;
}

int Database::symbolCount() {
  return info(ZDB_INFO_SYMBOLS);
}

Symbol Database::symbolAt(int position) {
  zdbSymbol_t handle = nullptr;
  require(c__zdbgetsymbolbynumber(db_, position, &handle));
  return describe(handle);
}

Symbol Database::findSymbol(const std::string& name) {
  zdbSymbol_t handle = nullptr;
  require(c__zdbfindsymbol(db_, name.c_str(), &handle));
  return describe(handle);
}

int Database::symbolNumber(zdbSymbol_t symbol, int key) {
  int number = 0;
  require(c__zdbsymbolinfo(db_, symbol, key, &number, nullptr, nullptr));
  return number;
}

std::string Database::symbolText(zdbSymbol_t symbol, int key) {
  Text text = "";
  require(c__zdbsymbolinfo(db_, symbol, key, nullptr, nullptr, text));
  return text;
}

Symbol Database::describe(zdbSymbol_t handle) {
  Symbol symbol;
  symbol.handle = handle;
  symbol.name = symbolText(handle, ZDB_SYMBOL_NAME);
  symbol.type = symbolNumber(handle, ZDB_SYMBOL_TYPE);
  symbol.dim = symbolNumber(handle, ZDB_SYMBOL_DIM);
  symbol.text = symbolText(handle, ZDB_SYMBOL_TEXT);
  if (symbol.isAlias()) {
    symbol.aliasOf = findSymbol(symbol.name).name;
  } else if (symbol.isUniverse()) {
    symbol.domains = {{"*"}};
  } else {
    symbol.domains = domains(handle, symbol.dim);
  }
  return symbol;
}

std::vector<Domain> Database::domains(zdbSymbol_t handle, int dim) {
  zdbSymbol_t sets[ZDB_MAX_DIM] = {};
  Text texts[ZDB_MAX_DIM] = {};
  char* names[ZDB_MAX_DIM];
  for (int d = 0; d < ZDB_MAX_DIM; ++d) names[d] = texts[d];
  require(c__zdbgetdomain(db_, handle, dim, sets, names));
  std::vector<Domain> result(static_cast<std::size_t>(dim));
  for (int d = 0; d < dim; ++d) {
    result[static_cast<std::size_t>(d)] = {texts[d], sets[d] == nullptr};
  }
  return result;
}

int Database::recordCount(const Symbol& symbol) {
  return symbolNumber(symbol.handle, ZDB_SYMBOL_RECORDS);
}

void Database::forgetRecords(const Symbol& symbol) {
  require(c__zdbclearsymbol(db_, symbol.handle));
}

RecordCursor::RecordCursor(Database& db, const Symbol& symbol)
    : db_(db), dim_(symbol.dim), left_(db.recordCount(symbol)) {
  if (!valid()) return;
  db_.require(c__zdbfindfirstrecord(db_.handle(), symbol.handle, &record_));
  read();
}

RecordCursor::~RecordCursor() {
  if (record_ != nullptr) c__zdbfreesymboliterator(db_.handle(), record_);
}

void RecordCursor::next() {
  if (--left_ == 0) return;
  db_.require(c__zdbrecordmovenext(db_.handle(), record_));
  read();
}

void RecordCursor::read() {
  db_.require(c__zdbgetrecordraw(db_.handle(), record_, dim_, keys_, values_));
}

const char* RecordCursor::text() {
  db_.require(c__zdbgetelemtext(db_.handle(), record_, text_));
  return text_;
}

}  // namespace zdb::tool
