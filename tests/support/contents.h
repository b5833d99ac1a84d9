// Symbols with domains, and whole databases as text, for the tests of where data come from.
#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "api/client.h"

using Symbols = std::vector<zdbSymbol_t>;

/// Adds a symbol; a position whose domain is null goes by `name`.
inline zdbSymbol_t add(const Database& db, const char* name, int type, int userInfo,
                       const Symbols& domains, const char* text = "",
                       const char* byName = "by_name") {
  const std::vector<const char*> names(domains.size(), byName);
  zdbSymbol_t symbol = nullptr;
  c__zdbaddsymbolx(db, name, static_cast<int>(domains.size()), type, userInfo, text, domains.data(),
                   names.data(), &symbol);
  EXPECT_NE(symbol, nullptr) << db.error();
  return symbol;
}

inline zdbSymbol_t symbolOf(const Database& db, const char* name) {
  zdbSymbol_t symbol = nullptr;
  EXPECT_EQ(c__zdbfindsymbolwithalias(db, name, &symbol), 1) << db.error();
  return symbol;
}

/// The message of a call that failed, "" of one that did not.
inline std::string said(const Database& db, int result) {
  return result == 1 ? "" : db.error();
}

/// Merges a record and sets its level.
inline void put(const Database& db, zdbSymbol_t symbol, const Labels& key, double level) {
  Record record(db, symbol, key);
  EXPECT_EQ(c__zdbsetlevel(db, record, level), 1) << db.error();
}

/// The records of a symbol in key order, with their values, sets with their texts; the message if
/// they cannot be loaded.
inline std::string records(const Database& db, zdbSymbol_t symbol) {
  int count = 0;
  if (c__zdbsymbolinfo(db, symbol, ZDB_SYMBOL_RECORDS, &count, nullptr, nullptr) != 1) {
    return db.error();
  }
  const int dim = db.info(symbol, ZDB_SYMBOL_DIM);
  const int type = db.info(symbol, ZDB_SYMBOL_TYPE);
  std::ostringstream all;
  Record record(db);
  if (c__zdbfindfirstrecord(db, symbol, &record) != 1) return "";
  do {
    all << " " << record.key(dim) << "=";
    char text[ZDB_TEXT_SIZE];
    if (type == ZDB_SET && c__zdbgetelemtext(db, record, text) == 1) all << text;
    int keys[ZDB_MAX_DIM];
    double values[ZDB_MAX_VALUES];
    EXPECT_EQ(c__zdbgetrecordraw(db, record, dim, keys, values), 1);
    const int width = type == ZDB_SET ? 0 : type == ZDB_PARAMETER ? 1 : ZDB_MAX_VALUES;
    for (int v = 0; v < width; ++v) all << (v == 0 ? "" : "/") << values[v];
  } while (c__zdbrecordmovenext(db, record) == 1);
  return all.str();
}
inline std::string records(const Database& db, const char* name) {
  return records(db, symbolOf(db, name));
}

/// The names of a symbol's domains, "?" after those that are known by name only.
inline std::string domains(const Database& db, zdbSymbol_t symbol) {
  char names[ZDB_MAX_DIM][ZDB_TEXT_SIZE];
  Symbols found(ZDB_MAX_DIM);
  const int dim = db.info(symbol, ZDB_SYMBOL_DIM);
  EXPECT_EQ(n__zdbgetdomain(db, symbol, dim, found.data(), names[0]), 1) << db.error();
  std::string all;
  for (int d = 0; d < dim; ++d) all.append(" ").append(names[d]).append(found[d] ? "" : "?");
  return all;
}

/// What there is to know of a symbol but its storage.
inline std::string describe(const Database& db, zdbSymbol_t symbol) {
  std::string text;
  for (const int key : {ZDB_SYMBOL_NUMBER, ZDB_SYMBOL_DIM, ZDB_SYMBOL_TYPE, ZDB_SYMBOL_USER_INFO}) {
    text += std::to_string(db.info(symbol, key)) + " ";
  }
  const std::string name = db.infoText(symbol, ZDB_SYMBOL_NAME);
  text += name + " '" + db.infoText(symbol, ZDB_SYMBOL_TEXT) + "'" + domains(db, symbol);
  if (db.info(symbol, ZDB_SYMBOL_TYPE) != ZDB_ALIAS) return text + records(db, symbol) + "\n";
  zdbSymbol_t target = nullptr;
  EXPECT_EQ(c__zdbfindsymbol(db, name.c_str(), &target), 1);
  return text + " of " + db.infoText(target, ZDB_SYMBOL_NAME) + "\n";
}

/// Labels and symbols of a database in their order.
inline std::string describe(const Database& db) {
  std::string text;
  char label[ZDB_TEXT_SIZE];
  for (int n = 1; c__zdbgetuelbyindex(db, n, label) == 1; ++n) text.append(label).append(" ");
  text += "\n";
  zdbSymbol_t symbol = nullptr;
  for (int n = 0; c__zdbgetsymbolbynumber(db, n, &symbol) == 1; ++n) text += describe(db, symbol);
  return text;
}
