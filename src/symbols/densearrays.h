#pragma once

#include "core/zdb.h"

// Symbols to dense arrays and back. Arrays are row-major over the domains, null domains stand for
// all labels; `dims` are the sizes of the array, which must be those of the domains. Symbols are
// neither the universe nor an alias; include/zdbcclib.h tells the rest. All load what they need,
// check everything before they change anything, and return false with a message.
namespace zdb {

/// Over the symbol's own domains, in which every record must lie.
bool denseSymbolToArray(ZDB& db, double* array, const int* dims, AbstractZDBSymbol* symbol,
                        int field);
/// Over any domains; `dropped` counts the records outside.
bool sparseSymbolToArray(ZDB& db, double* array, const int* dims, AbstractZDBSymbol* symbol,
                         AbstractZDBSymbol* const* domains, int field, int& dropped);
/// Over the labels of the domains that occur in records inside all of them; these labels become the
/// records of the `squeezed` sets. Without an array `dims` receives the sizes.
bool sparseSymbolToSqueezedArray(ZDB& db, double* array, int* dims, AbstractZDBSymbol* symbol,
                                 AbstractZDBSymbol* const* domains,
                                 AbstractZDBSymbol* const* squeezed, int field, int& dropped);
/// Replaces the records by the cells that are not 0. With `slices`, which may be null, a position
/// with a set of one record is fixed, and only the records of that slice are replaced.
bool arrayToSymbol(ZDB& db, const double* array, AbstractZDBSymbol* const* domains,
                   AbstractZDBSymbol* const* slices, AbstractZDBSymbol* symbol, const int* dims);

}  // namespace zdb
