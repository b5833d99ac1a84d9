// Symbols of exchange files as SQLite's virtual tables. They are read from the file as a query asks
// for their records: memory does not grow with these.
//
//     CREATE VIRTUAL TABLE flights USING zdbcc('model.zxf', 'flights');
//
// The columns are those of zdbcc dump. Labels are texts that compare without regard to case, as
// they do in the file, and together the primary key; values are REAL, and texts of sets TEXT.
// Special values are as ValueFormat writes them; a third argument, such as specials=names, says
// how: by default as numbers, and Undef and NA, which are none, as NULL.
#pragma once

#include <string>
#include <string_view>

struct sqlite3;

namespace zdb::sqlite {

/// Adds the module `zdbcc`. Its tables are not for views, triggers and other parts of a schema that
/// a stranger may have written: they open files. Returns a code of SQLite.
int addSymbolTables(sqlite3* db);

/// Adds the function zdbcc_attach(FILE [, SCHEMA]), which makes a table of each symbol of a file,
/// by default in `temp`, and one of all labels, `_labels`; it gives the number of symbols.
int addAttachFunction(sqlite3* db);

/// What zdbcc_attach() does, with an argument for special values. If it throws ToolError, no table
/// has been made.
int attachFile(sqlite3* db, const std::string& file, const std::string& schema,
               const std::string& specials);

/// A text as a literal, a name as an identifier of SQL.
std::string quotedText(std::string_view text);
std::string quotedName(std::string_view name);

}  // namespace zdb::sqlite
