/* A host written in C: fills a database, walks it, frees everything. Each step names itself, so
 * that a failure shows where it was. */

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "zdbcclib.h"

static const char* step = "start";
static zdbHandle_t db = NULL;

static void check(int holds, int line) {
  char message[ZDB_TEXT_SIZE] = "";
  if (holds) return;
  c__zdbgetlasterror(db, message);
  printf("c_client.c:%d: step \"%s\" failed: %s\n", line, step, message);
  exit(1);
}
#define CHECK(condition) check((condition) ? 1 : 0, __LINE__)

static void checkVersion(void) {
  const int codes[] = {ZDB_CODE_BOOL, ZDB_CODE_TEXT_OUT};
  char message[ZDB_TEXT_SIZE];
  int status = 0;
  step = "version";
  CHECK(c__xapiversion(ZDBCCLIB_API_VERSION, message, &status) && status == 1);
  CHECK(c__xcheck("zdbGetLastError", 1, codes, message));
}

static void fill(zdbSymbol_t cost) {
  static const char* const keys[][2] = {
      {"bread", "winter"}, {"bread", "summer"}, {"apples", "summer"}};
  double value = 1.5;
  int i;
  step = "fill";
  for (i = 0; i < 3; ++i, value += 1) {
    zdbRecord_t record;
    CHECK(c__zdbaddrecord(db, cost, keys[i], &record));
    CHECK(c__zdbsetlevel(db, record, value));
    CHECK(c__zdbfreesymboliterator(db, record));
  }
}

static void walk(zdbSymbol_t cost) {
  const char* slice[] = {" ", "summer"};
  char text[2][ZDB_TEXT_SIZE];
  char* keys[] = {text[0], text[1]};
  double sum = 0;
  int count = 0;
  zdbRecord_t record;
  step = "walk";
  CHECK(c__zdbfindfirstrecordslice(db, cost, slice, &record));
  do {
    double level;
    CHECK(c__zdbgetlevel(db, record, &level));
    CHECK(c__zdbgetkeys(db, record, 2, keys));
    CHECK(strcmp(keys[1], "summer") == 0);
    sum += level;
    ++count;
  } while (c__zdbrecordmovenext(db, record));
  CHECK(count == 2 && sum == 6.0);
  CHECK(c__zdbdeleterecord(db, record));
  CHECK(c__zdbfreesymboliterator(db, record));
}

int main(void) {
  char message[ZDB_TEXT_SIZE] = "";
  const char* names[] = {"food", "season"};
  zdbSymbol_t food;
  zdbSymbol_t cost;
  zdbSymbol_t domains[] = {NULL, NULL};
  int records = 0;

  checkVersion();
  step = "create";
  CHECK(zdbcreate(&db, message, sizeof message));
  step = "symbols";
  CHECK(c__zdbaddsymbol(db, "food", 1, ZDB_SET, 0, "what there is to eat", &food));
  domains[0] = food;
  CHECK(c__zdbaddsymbolx(db, "cost", 2, ZDB_PARAMETER, 0, "", domains, names, &cost) &&
        cost != NULL);
  fill(cost);
  walk(cost);
  step = "count";
  CHECK(c__zdbsymbolinfo(db, cost, ZDB_SYMBOL_RECORDS, &records, NULL, NULL) && records == 2);
  step = "error";
  CHECK(!c__zdbaddsymbol(db, "cost", 1, ZDB_SET, 0, "", &food));
  CHECK(c__zdbgetlasterror(db, message) && strcmp(message, "Symbol cost exists already") == 0);
  step = "free";
  CHECK(zdbfree(&db) && db == NULL);
  return 0;
}
