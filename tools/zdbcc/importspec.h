// What is to be imported, as users write it:
//
//     flights=flights.csv:origin(airport),destination(airport)->count
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zdbcclib.h"

namespace zdb::tool {

/// A column, by its heading or its number.
struct ColumnName {
  std::string heading;
  std::size_t number = 0;  ///< from 1; 0: by heading
};

/// The domain of a position.
struct DomainName {
  std::string name = "*";
  bool isGiven = false;    ///< written in the spec
  bool isRelaxed = false;  ///< only a name
  bool grows = false;      ///< the labels that occur become elements of the set
};

struct KeyColumn {
  ColumnName column;
  DomainName domain;
};

/// A column of values, or several.
struct ValueColumns {
  enum class Form { One, Range, Others };
  Form form = Form::One;  ///< Others: all columns that are not keys
  ColumnName first;
  ColumnName last;                   ///< of a range
  std::optional<std::size_t> field;  ///< of a variable or equation, ZDB_LEVEL to ZDB_SCALE
};

struct ImportSpec {
  std::optional<int> type;  ///< ZDB_SET to ZDB_ALIAS; none: what the data show
  int userInfo = 0;
  std::string name;  ///< "*" for labels only
  std::string text;
  std::string file;  ///< for an alias, the name of its set
  bool hasColumns = false;
  std::vector<KeyColumn> keys;
  bool hasValues = false;
  std::vector<ValueColumns> values;
  DomainName lastDomain;  ///< of the position that several value columns make

  bool isAlias() const { return type == ZDB_ALIAS; }
  bool isUniverse() const { return name == "*"; }
  bool hasFields() const { return type == ZDB_VARIABLE || type == ZDB_EQUATION; }
  /// Whether the headings of value columns become labels.
  bool isWide() const;
};

/// The file of specs in a folder that was exported.
inline constexpr const char* kSpecFile = "import.specs";

/// Throws WrongUseError, with the text and what is wrong with it.
ImportSpec parseSpec(const std::string& text);

/// The specs in a file: one a line (a text in quotes may have several), comments from # on. Files
/// in them are looked for from the folder in which it stands. Throws ToolError with file and line.
std::vector<ImportSpec> readSpecs(const std::string& file);

/// How specs write a name that has other characters than letters, digits and underscores, and a
/// text.
std::string specName(std::string_view name);
std::string specText(std::string_view text);

}  // namespace zdb::tool
