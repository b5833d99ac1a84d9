// The symbols that the names of a model file ask for.
#pragma once

#include <string>
#include <vector>

#include "kit/modelfile/names.h"
#include "kit/names.h"

namespace zdb::kit::modelfile {

/// A symbol that the names of a file ask for.
struct PlannedSymbol {
  std::string name;
  std::string written;  ///< as in the file
  std::string example;  ///< the name in the file that asked for it first
  int dim = 0;
};

/// The symbols of the rows or of the columns of a file, in order of first use.
class PlannedSymbols {
 public:
  /// The symbol of a name, counted from 0. Throws a Complaint that shows both names when an earlier
  /// one gives the symbol another dimension or, before the replacing of characters or in letter
  /// case, another spelling.
  int add(const SymbolicName& name, const std::string& whole);

  /// Adds a symbol of our own making. REQUIRES: !has(name).
  int addOwn(const std::string& name, int dim);

  bool has(const std::string& name) const;

  /// Calls the symbol otherwise. REQUIRES: !has(name).
  void rename(int symbol, const std::string& name);

  const std::vector<PlannedSymbol>& all() const { return symbols_; }

 private:
  std::vector<PlannedSymbol> symbols_;
  kit::NumberByName byName_;
};

/// A name that neither list has: `name` followed by `suffix` and, if need be, a number from 2 on.
/// Throws a Complaint when it would be longer than a symbol's name can be.
std::string freeName(const std::string& name, const std::string& suffix,
                     const PlannedSymbols& columns, const PlannedSymbols& rows);

}  // namespace zdb::kit::modelfile
