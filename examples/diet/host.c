#include "host.h"

#include <stdio.h>

int hostFail(zdbHandle_t db, const char* what) {
  char message[ZDB_TEXT_SIZE] = "";
  c__zdbgetlasterror(db, message);
  fprintf(stderr, "diet_demo: %s: %s\n", what, message);
  return 0;
}

zdbHandle_t hostCreate(void) {
  zdbHandle_t db = NULL;
  char message[ZDB_TEXT_SIZE] = "";
  if (!zdbcreate(&db, message, sizeof message)) {
    fprintf(stderr, "diet_demo: cannot create a database: %s\n", message);
  }
  return db;
}

zdbHandle_t hostOpen(const char* file) {
  zdbHandle_t db = hostCreate();
  if (db != NULL && !c__zdbinitfromzxf(db, file)) {
    hostFail(db, file);
    zdbfree(&db);
  }
  return db;
}

int hostGetValue(zdbHandle_t db, zdbSymbol_t symbol, const char* const* labels, double* value) {
  zdbRecord_t record = NULL;
  if (!c__zdbfindrecord(db, symbol, labels, &record)) return hostFail(db, "cannot find a value");
  const int done = c__zdbgetlevel(db, record, value);
  c__zdbfreesymboliterator(db, record);
  return done || hostFail(db, "cannot get a value");
}

int hostSetValue(zdbHandle_t db, zdbSymbol_t symbol, const char* const* labels, double value) {
  zdbRecord_t record = NULL;
  if (!c__zdbmergerecord(db, symbol, labels, &record)) return hostFail(db, "cannot add a record");
  const int done = c__zdbsetlevel(db, record, value);
  c__zdbfreesymboliterator(db, record);
  return done || hostFail(db, "cannot set a value");
}

int hostGetText(zdbHandle_t db, zdbSymbol_t set, const char* const* labels, char* text) {
  zdbRecord_t record = NULL;
  if (!c__zdbfindrecord(db, set, labels, &record)) return hostFail(db, "cannot find an element");
  const int done = c__zdbgetelemtext(db, record, text);
  c__zdbfreesymboliterator(db, record);
  return done || hostFail(db, "cannot get a text");
}

int hostCount(zdbHandle_t db, zdbSymbol_t symbol) {
  int count = -1;
  if (!c__zdbsymbolinfo(db, symbol, ZDB_SYMBOL_RECORDS, &count, NULL, NULL)) {
    hostFail(db, "cannot count records");
    return -1;
  }
  return count;
}

int hostWalkSlice(zdbHandle_t db, zdbSymbol_t symbol, const char* const* labels, HostVisitor visit,
                  void* user) {
  zdbRecord_t record = NULL;
  if (!c__zdbfindfirstrecordslice(db, symbol, labels, &record)) {
    return hostFail(db, "cannot walk a slice");
  }
  int going;
  do {
    going = visit(db, record, user);
  } while (going && c__zdbrecordmovenext(db, record));
  c__zdbfreesymboliterator(db, record);
  return going;
}
