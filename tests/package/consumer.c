/* A small host: makes a database and, given a file name, writes it and reads it back. */
#include <stdio.h>
#include <string.h>
#include <zdbcclib.h>

static int fail(zdbHandle_t db, const char* step) {
  char message[ZDB_TEXT_SIZE] = "";
  c__zdbgetlasterror(db, message);
  fprintf(stderr, "%s: %s\n", step, message);
  return 0;
}

static int fill(zdbHandle_t db) {
  const char* key = "bread";
  zdbSymbol_t price = NULL;
  zdbRecord_t record = NULL;
  if (!c__zdbaddsymbol(db, "price", 1, ZDB_PARAMETER, 0, "", &price) ||
      !c__zdbaddrecord(db, price, &key, &record)) {
    return fail(db, "fill");
  }
  const int done = c__zdbsetlevel(db, record, 2.5) && c__zdbfreesymboliterator(db, record);
  return done || fail(db, "set");
}

static int check(zdbHandle_t db) {
  const char* key = "BREAD";
  double value = 0;
  zdbSymbol_t price = NULL;
  zdbRecord_t record = NULL;
  if (!c__zdbfindsymbol(db, "Price", &price) || !c__zdbfindrecord(db, price, &key, &record) ||
      !c__zdbgetlevel(db, record, &value) || !c__zdbfreesymboliterator(db, record)) {
    return fail(db, "check");
  }
  return value == 2.5;
}

static int readBack(const char* file) {
  zdbHandle_t db = NULL;
  zdbxcreate(&db);
  const int done = (c__zdbinitfromzxf(db, file) || fail(db, "read")) && check(db);
  zdbfree(&db);
  return done;
}

int main(int argc, char** argv) {
  char message[ZDB_TEXT_SIZE];
  int status = 0;
  zdbHandle_t db = NULL;
  if (!c__xapiversion(ZDBCCLIB_API_VERSION, message, &status) || status != 1) return 1;
  if (!zdbcreate(&db, message, sizeof message)) return 1;
  int done = fill(db) && check(db);
  if (done && argc > 1) {
    done = (c__zdbwritezxf(db, argv[1], 0) || fail(db, "write")) && readBack(argv[1]);
  }
  zdbfree(&db);
  return done ? 0 : 1;
}
