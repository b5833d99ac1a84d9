#pragma once

#include "arrow/abi.h"
#include "symbols/bulk.h"

namespace zdb::arrow {

/// Fills `stream` with the records of a symbol or of a slice of it; an alias stands for its set. On
/// failure returns false with a message and leaves the stream as it is. include/zdbx.h
/// has the details.
bool exportStream(ZDB& db, AbstractZDBSymbol& symbol, const int* slice, std::int64_t batchRows,
                  ArrowArrayStream& stream, BulkOutcome& outcome);

}  // namespace zdb::arrow
