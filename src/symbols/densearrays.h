// Symbols to dense arrays and back. Arrays are row-major over the domains; a null domain is the set
// of all labels. `dims` are the sizes of the array, which are checked against the domains. All
// functions load what they need, check everything before they change anything, and on failure
// return false and leave a message. include/zdbcclib.h has the details.
// REQUIRES for all: the symbol is neither the universe nor an alias.
#pragma once

#include "core/zdb.h"

namespace zdb {

/// Over the symbol's own domains; fails if a record is outside them.
bool denseSymbolToArray(ZDB& db, double* array, const int* dims, AbstractZDBSymbol* symbol,
                        int field);
/// Over any domains; `dropped` receives the number of records outside them.
bool sparseSymbolToArray(ZDB& db, double* array, const int* dims, AbstractZDBSymbol* symbol,
                         AbstractZDBSymbol* const* domains, int field, int& dropped);
/// Over those labels of the domains that occur in records inside all of them; these labels become
/// the records of the `squeezed` sets. If the array is null, `dims` receives the sizes.
bool sparseSymbolToSqueezedArray(ZDB& db, double* array, int* dims, AbstractZDBSymbol* symbol,
                                 AbstractZDBSymbol* const* domains,
                                 AbstractZDBSymbol* const* squeezed, int field, int& dropped);
/// Replaces the records by the nonzero cells. Where `slices`, which may be null, has a set of one
/// record, the position is fixed to it, and only the records of that slice are replaced.
bool arrayToSymbol(ZDB& db, const double* array, AbstractZDBSymbol* const* domains,
                   AbstractZDBSymbol* const* slices, AbstractZDBSymbol* symbol, const int* dims);

}  // namespace zdb
