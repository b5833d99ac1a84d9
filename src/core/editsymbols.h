#pragma once

namespace zdb {

class AbstractZDBSymbol;
class ZDB;

/// Removes a symbol from the table and deletes it; those after it move up. Fails for one that is a
/// domain of another symbol or has an alias. Takes time in all symbols.
/// REQUIRES the symbol is not the universe.
bool removeSymbol(ZDB& db, AbstractZDBSymbol* symbol);

/// Gives a symbol another name, also where it is a domain by name only. Fails for a name that
/// another symbol has. Loads the symbol first, since its source knows it by the old name. Takes
/// time in all symbols.
/// REQUIRES the symbol is not the universe.
bool renameSymbol(ZDB& db, AbstractZDBSymbol* symbol, const char* name);

}  // namespace zdb
