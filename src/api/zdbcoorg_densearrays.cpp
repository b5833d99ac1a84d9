// Symbols to dense arrays and back.
#include <algorithm>

#include "api/checks.h"
#include "api/guard.h"
#include "api/zdbcoorg.h"
#include "symbols/densearrays.h"

namespace zdb {

namespace {

constexpr const char* kUniverseArray = "Cannot convert the Universe to or from an array";

/// Checks a symbol and replaces an alias by its set, whose dimension is the one that counts.
bool arraySymbolGiven(Call call, zdbSymbol_t& symbol) {
  if (!symbolGiven(call, symbol)) return false;
  symbol = symbol->aliasTarget;
  return userSymbolGiven(call, symbol, kUniverseArray);
}

/// Whether an array is given, which may be missing for a scalar.
bool givenForPositions(Call call, const AbstractZDBSymbol* symbol, const void* array,
                       const char* name) {
  return symbol->dim == 0 || call.given(array, name);
}

}  // namespace

int zdbDenseSymbolToDenseArray(zdbHandle_t db, double* array, const int* dims, zdbSymbol_t symbol,
                               int field) {
  return guarded(__func__, db, [&](Call call) {
    return call.given(array, "array") && arraySymbolGiven(call, symbol) &&
           givenForPositions(call, symbol, dims, "dims") &&
           denseSymbolToArray(*db, array, dims, symbol, field);
  });
}

int zdbSparseSymbolToDenseArray(zdbHandle_t db, double* array, const int* dims, zdbSymbol_t symbol,
                                const zdbSymbol_t* domains, int field, int* dropped) {
  return guarded(__func__, db, [&](Call call) {
    return call.given(array, "array") && arraySymbolGiven(call, symbol) &&
           givenForPositions(call, symbol, dims, "dims") &&
           givenForPositions(call, symbol, domains, "domains") && call.given(dropped, "dropped") &&
           sparseSymbolToArray(*db, array, dims, symbol, domains, field, *dropped);
  });
}

int zdbSparseSymbolToSqzdArray(zdbHandle_t db, double* array, int* dims, zdbSymbol_t symbol,
                               const zdbSymbol_t* domains, const zdbSymbol_t* squeezed, int field,
                               int* dropped) {
  return guarded(__func__, db, [&](Call call) {
    if (!arraySymbolGiven(call, symbol) || !givenForPositions(call, symbol, dims, "dims") ||
        !givenForPositions(call, symbol, domains, "domains") ||
        !givenForPositions(call, symbol, squeezed, "squeezed")) {
      return false;
    }
    for (int d = 0; d < symbol->dim; ++d) {
      if (!call.givenAt(squeezed[d], "squeezed", d)) return false;
    }
    return call.given(dropped, "dropped") &&
           sparseSymbolToSqueezedArray(*db, array, dims, symbol, domains, squeezed, field,
                                       *dropped);
  });
}

int zdbDenseArrayToSymbol(zdbHandle_t db, const double* array, const zdbSymbol_t* domains,
                          zdbSymbol_t symbol, const int* dims) {
  return guarded(__func__, db, [&](Call call) {
    return call.given(array, "array") && arraySymbolGiven(call, symbol) &&
           givenForPositions(call, symbol, domains, "domains") &&
           givenForPositions(call, symbol, dims, "dims") &&
           arrayToSymbol(*db, array, domains, nullptr, symbol, dims);
  });
}

int zdbDenseArraySlicesToSymbol(zdbHandle_t db, const double* array, const zdbSymbol_t* domains,
                                const zdbSymbol_t* slices, zdbSymbol_t symbol, const int* dims) {
  return guarded(__func__, db, [&](Call call) {
    if (!call.given(array, "array") || !arraySymbolGiven(call, symbol) ||
        !givenForPositions(call, symbol, domains, "domains") ||
        !givenForPositions(call, symbol, slices, "slices")) {
      return false;
    }
    // If no position is free, there are no sizes.
    const bool isCell = std::all_of(slices, slices + symbol->dim,
                                    [](zdbSymbol_t slice) { return slice != nullptr; });
    return (isCell || call.given(dims, "dims")) &&
           arrayToSymbol(*db, array, domains, slices, symbol, dims);
  });
}

}  // namespace zdb
