// Finding and deleting records, in addition to what ZDB itself offers. Handles belong to the
// caller; if null or false is returned, there is a message.
#pragma once

#include "core/zdb.h"

namespace zdb {

/// First or last record; of the universe, label. Loads the symbol.
AbstractZDBSymbolIterator* findFirstRecord(ZDB& db, AbstractZDBSymbol* symbol);
AbstractZDBSymbolIterator* findLastRecord(ZDB& db, AbstractZDBSymbol* symbol);

/// First (or last) record of a slice; a text of one blank leaves its position free. Loads the
/// symbol. Takes time in the records that share the fixed leading positions.
/// REQUIRES the symbol is not the universe.
AbstractZDBSymbolIterator* findRecordSlice(ZDB& db, AbstractZDBSymbol* symbol,
                                           const char* const* texts, bool backwards);

/// Deletes the record at the handle, which has no record from then on.
bool deleteRecord(ZDB& db, AbstractZDBSymbolIterator* record);

}  // namespace zdb
