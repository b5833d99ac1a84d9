// The functions that implement the exported interface. Each runs in the frame of guard.h, checks
// its arguments in a fixed order and calls the database. zdbcclib.h documents them; here they have
// our own types. They are defined in zdbcoorg_*.cpp, one file per family.
#pragma once

#include "core/abstractzdbsymbol.h"
#include "core/zdb.h"
#include "symbols/zdbsymboliterator.h"
#include "zdbcclib.h"

namespace zdb {

class DomainViolation;

using zdbHandle_t = ZDB*;
using zdbSymbol_t = AbstractZDBSymbol*;
using zdbRecord_t = AbstractZDBSymbolIterator*;
using zdbDV_t = DomainViolation*;

#define ZDB_PLAIN(name, lower, result, parameters, arguments, ...) result name parameters;
#define ZDB_TEXT ZDB_PLAIN
#include "api/exports.def"

// Creating and freeing databases, called by the exported entries.

/// Creates a database in `*db` and empties the message buffer; returns 1 or 0. A failure is
/// reported in the last-error text of the database in `*db`, or on standard output if there is
/// none; the message buffer stays as it was.
int zdbCreate(zdbHandle_t* db, char* message, int messageSize);
/// The same with the companions loaded from `directory`; fails if that is null.
int zdbCreateD(zdbHandle_t* db, const char* directory, char* message, int messageSize);
/// Destroys the database in `*db`, if any, and sets it to null.
void zdbFree(zdbHandle_t* db);

// Not exported, for hosts that build the library into a program.

/// Finds a record by label numbers, in which 0 is a label like any other.
int zdbFindRecordInt(zdbHandle_t db, zdbSymbol_t symbol, const int* keys, zdbRecord_t* record);
zdbRecord_t zdbFindRecordIntPy(zdbHandle_t db, zdbSymbol_t symbol, const int* keys, int* status);

/// Removes all records, so that the next use loads the symbol again from the data source.
int zdbResetSymbol(zdbHandle_t db, zdbSymbol_t symbol);

/// Sets the callbacks and the five special values that their data uses. If `clear` is nonzero,
/// removes the records of all symbols first.
/// REQUIRES the callbacks are valid as long as the database.
int zdbSetDataCallbacks(zdbHandle_t db, int clear, zdbFindSymbolCallback_t findSymbol,
                        zdbReadStartCallback_t readStart, zdbReadRecordCallback_t readRecord,
                        zdbReadDoneCallback_t readDone, zdbElemTextCallback_t elemText,
                        zdbPrintCallback_t print, const double* specialValues, void* user);

/// Creates (destroys) the mutexes of the companion loaders, once for the process. Without them the
/// loaders lock nothing.
void zdbInitFunc();
void zdbFiniFunc();

}  // namespace zdb
