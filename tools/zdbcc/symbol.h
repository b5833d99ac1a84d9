#pragma once

#include <string>
#include <vector>

#include "zdbcclib.h"

namespace zdb::tool {

/// One domain of a symbol. A relaxed domain is only a name: the file has no set with that name.
struct Domain {
  std::string name;
  bool relaxed = false;
};

/// What is said about a symbol before any of its records is read.
struct SymbolInfo {
  std::string name;
  int type = ZDB_SET;
  int dim = 0;
  std::string text;
  std::vector<Domain> domains;  ///< `dim` entries; none for an alias
  std::string aliasOf;          ///< for an alias, the name of its set, else empty

  bool isAlias() const { return type == ZDB_ALIAS; }
  /// The set of all labels, which every file has under the name "*".
  bool isUniverse() const { return name == "*"; }
  int valueCount() const {
    return type == ZDB_VARIABLE || type == ZDB_EQUATION ? ZDB_MAX_VALUES : 1;
  }
};

}  // namespace zdb::tool
