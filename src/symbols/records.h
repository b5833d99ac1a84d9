#pragma once

#include "core/zdb.h"

// Finding and deleting records beyond what ZDB itself offers. Handles belong to the caller; null
// and false come with a message.
namespace zdb {

/// First or last record, of the universe too. Loads the symbol.
AbstractZDBSymbolIterator* findFirstRecord(ZDB& db, AbstractZDBSymbol* symbol);
AbstractZDBSymbolIterator* findLastRecord(ZDB& db, AbstractZDBSymbol* symbol);

/// First (or last) record of a slice; a text of one blank leaves its position open. Loads the
/// symbol, which is not the universe. Time in the records that share the fixed leading positions.
AbstractZDBSymbolIterator* findRecordSlice(ZDB& db, AbstractZDBSymbol* symbol,
                                           const char* const* texts, bool backwards);

/// Deletes the record under the handle, which stands on nothing from then on.
bool deleteRecord(ZDB& db, AbstractZDBSymbolIterator* record);

}  // namespace zdb
