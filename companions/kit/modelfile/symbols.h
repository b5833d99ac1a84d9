// The symbols that the names in a model file need.
#pragma once

#include <string>
#include <vector>

#include "kit/modelfile/names.h"
#include "kit/names.h"

namespace zdb::kit::modelfile {

/// A symbol that names in a file need.
struct PlannedSymbol {
  std::string name;
  std::string written;  ///< as in the file
  std::string example;  ///< the first name in the file that needs it
  int dim = 0;
};

/// The symbols of the rows or of the columns of a file, in order of first use.
class PlannedSymbols {
 public:
  /// The index of the symbol of a name, which is added if it is new. Throws a ReadError that shows
  /// both names if an earlier one gives the symbol another dimension or another spelling (other
  /// characters before the replacement, or other letter case).
  int add(const SymbolicName& name, const std::string& whole);

  /// Adds a symbol that no name in the file needs, and returns its index.
  /// REQUIRES !has(name).
  int addOwn(const std::string& name, int dim);

  bool has(const std::string& name) const;

  /// REQUIRES !has(name).
  void rename(int symbol, const std::string& name);

  const std::vector<PlannedSymbol>& all() const { return symbols_; }

 private:
  std::vector<PlannedSymbol> symbols_;
  kit::NumberByName byName_;
};

/// A name that neither list has: `name` followed by `suffix` and, if necessary, a number from 2 on.
/// Throws a ReadError if it is too long for the name of a symbol.
std::string freeName(const std::string& name, const std::string& suffix,
                     const PlannedSymbols& columns, const PlannedSymbols& rows);

}  // namespace zdb::kit::modelfile
