#include "database.h"

#include "console.h"
#include "guess.h"

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

std::array<double, ZDB_SV_COUNT> Database::specials() const {
  std::array<double, ZDB_SV_COUNT> values{};
  require(c__zdbgetspecialvalues(db_, values.data()));
  return values;
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
  if (c__zdbfindsymbol(db_, name.c_str(), &handle) != 0) return describe(handle);
  Guess guess(name);
  for (int i = 0; i < symbolCount(); ++i) guess.consider(symbolAt(i).name);
  throw ToolError("there is no symbol " + name + guess.text());
}

void Database::requireLabels(const std::vector<std::string>& labels) {
  for (const std::string& label : labels) {
    int number = 0;
    if (c__zdbfinduel(db_, label.c_str(), &number) != 0 && number >= 0) continue;
    Guess guess(label);
    for (int i = 1; i <= labelCount(); ++i) guess.consider(this->label(i));
    throw ToolError("there is no label " + label + guess.text());
  }
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

}  // namespace zdb::tool
