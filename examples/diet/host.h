/* The few steps with a database that every part of the program needs. */
#ifndef DIET_HOST_H
#define DIET_HOST_H

#include "zdbcclib.h"

/* Prints "diet_demo: <what>: <last error of db>" on standard error. Returns 0, so that a step that
 * fails can `return hostFail(...)`. */
int hostFail(zdbHandle_t db, const char* what);

/* Create an empty database, and one from a file, whose records are read on first use. The caller
 * frees the database with zdbfree. Null after a message. */
zdbHandle_t hostCreate(void);
zdbHandle_t hostOpen(const char* file);

/* Finds the record with these labels and gets its value; sets it, adding the record if there is
 * none. Returns 1, or 0 after a message. */
int hostGetValue(zdbHandle_t db, zdbSymbol_t symbol, const char* const* labels, double* value);
int hostSetValue(zdbHandle_t db, zdbSymbol_t symbol, const char* const* labels, double value);

/* Finds the record with these labels and gets its text (256 bytes). Returns 1, or 0
 * after a message. */
int hostGetText(zdbHandle_t db, zdbSymbol_t set, const char* const* labels, char* text);

/* Number of records of a symbol; -1 after a message. */
int hostCount(zdbHandle_t db, zdbSymbol_t symbol);

/* Called for each record of a walk; a result of 0 ends it as a failure. */
typedef int (*HostVisitor)(zdbHandle_t db, zdbRecord_t record, void* user);

/* Visits the records of a slice in key order. The label ZDB_ANY_LABEL matches any label. Fails if
 * the slice has no records. Returns 1, or 0 after a message. */
int hostWalkSlice(zdbHandle_t db, zdbSymbol_t symbol, const char* const* labels, HostVisitor visit,
                  void* user);

#endif
