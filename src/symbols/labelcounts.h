#pragma once

#include "core/zdb.h"

namespace zdb {

/// Sets `counters` (`length` of them, indexed by label number) to the number of times that each
/// label occurs in the keys of the `count` symbols of `list`, which are loaded if needed. False and
/// a message if there are fewer counters than labels, or a symbol is missing or cannot be loaded.
bool countLabels(ZDB& db, AbstractZDBSymbol* const* list, int count, int* counters, int length);

}  // namespace zdb
