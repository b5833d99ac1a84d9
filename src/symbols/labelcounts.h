#pragma once

#include "core/zdb.h"

namespace zdb {

/// Sets `counters` (indexed by label number, `length` long) to how often each label stands in a key
/// of the `count` symbols of `list`, which are loaded where needed. False and a message when there
/// is not a counter for every label, or a symbol is missing or cannot be loaded.
bool countLabels(ZDB& db, AbstractZDBSymbol* const* list, int count, int* counters, int length);

}  // namespace zdb
