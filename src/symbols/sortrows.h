#pragma once

#include <cstdint>

#include "symbols/columnreader.h"

namespace zdb {

/// Sorts the rows of a list by their keys; rows with the same key keep their order. Linear in rows
/// and positions: a radix sort of keys that are packed into as few bits as the labels need. Throws
/// std::bad_alloc, which leaves the list as it was.
/// REQUIRES all label numbers are between 1 and `highestLabel`, and the rows ascend.
void sortRows(const ColumnReader& columns, int highestLabel, RowList& list);

}  // namespace zdb
