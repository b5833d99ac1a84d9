#pragma once

#include "arrow/abi.h"
#include "symbols/bulk.h"

namespace zdb::arrow {

/// Puts the records of a stream into a symbol, all at once after the stream's end, and releases it.
/// Fails with a message. include/zdbx.h has the details.
/// REQUIRES the symbol is neither an alias nor the universe.
bool importStream(ZDB& db, AbstractZDBSymbol& symbol, Received<ArrowArrayStream>& stream,
                  PutMode mode, OnFailure onFailure, BulkOutcome& outcome);

}  // namespace zdb::arrow
