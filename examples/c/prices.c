/* A host in plain C: puts a small table into a database by the column, walks its records, writes a
 * data file and reads it back. Run it with the name of the file. */
#include <stdio.h>

#include "zdbx.h"

enum { ROWS = 4, MOST = 16 };

static int fail(zdbHandle_t db, const char* step) {
  fprintf(stderr, "%s: %s\n", step, zdbx_error_text(db));
  return 0;
}

/* price(food, shop): label numbers for the texts, then all records in one call. */
static int fill(zdbHandle_t db) {
  static const char* const kFoods[ROWS] = {"milk", "bread", "milk", "tea"};
  static const char* const kShops[ROWS] = {"corner", "market", "market", "market"};
  static const double kPrices[ROWS] = {1.2, 2.4, 0.9, 3.6};
  const zdbx_texts foods = {.size = sizeof foods, .pointers = kFoods};
  const zdbx_texts shops = {.size = sizeof shops, .pointers = kShops};
  int32_t food[ROWS];
  int32_t shop[ROWS];
  const zdbx_columns records = {.size = sizeof records,
                                .rows = ROWS,
                                .keys = {{food, 0}, {shop, 0}},
                                .values = {{kPrices, 0}}};
  zdbSymbol_t price = NULL;
  zdbx_result result = {.size = sizeof result};
  if (!c__zdbaddsymbol(db, "price", 2, ZDB_PARAMETER, 0, "dollars", &price) ||
      !zdbx_add_labels(db, &foods, ROWS, food, ZDBX_UNDO, NULL) ||
      !zdbx_add_labels(db, &shops, ROWS, shop, ZDBX_UNDO, NULL) ||
      !zdbx_put_records(db, price, &records, ZDBX_MERGE, ZDBX_UNDO, &result)) {
    return fail(db, "fill");
  }
  printf("put %d records\n", (int)result.done);
  return 1;
}

/* One at a time, by a handle. Records are in the order of their label numbers. */
static int walk(zdbHandle_t db) {
  zdbSymbol_t price = NULL;
  zdbRecord_t record = NULL;
  if (!c__zdbfindsymbol(db, "price", &price) || !c__zdbfindfirstrecord(db, price, &record)) {
    return fail(db, "walk");
  }
  do {
    char food[ZDB_TEXT_SIZE] = "";
    char shop[ZDB_TEXT_SIZE] = "";
    double value = 0;
    c__zdbgetkey(db, record, 0, food);
    c__zdbgetkey(db, record, 1, shop);
    c__zdbgetlevel(db, record, &value);
    printf("%-6s %-7s %.2f\n", food, shop, value);
  } while (c__zdbrecordmovenext(db, record));
  return c__zdbfreesymboliterator(db, record);
}

/* Columns again, of a slice: what the market sells. */
static int readSlice(zdbHandle_t db) {
  const char* food[MOST];
  double value[MOST];
  int32_t slice[] = {ZDB_ANY, ZDB_ANY};
  const zdbx_buffers records = {
      .size = sizeof records, .rows = MOST, .labels = {{food, 0}}, .values = {{value, 0}}};
  zdbSymbol_t price = NULL;
  zdbx_result result = {.size = sizeof result};
  if (!c__zdbfindsymbol(db, "price", &price) || !c__zdbfinduel(db, "market", &slice[1]) ||
      !zdbx_get_records(db, price, slice, &records, &result)) {
    return fail(db, "read a slice");
  }
  printf("at the market:");
  for (int i = 0; i < (int)result.done; ++i) printf(" %s %.2f", food[i], value[i]);
  printf("\n");
  return 1;
}

static int save(const char* file) {
  zdbHandle_t db = NULL;
  if (!zdbcreate(&db, NULL, 0)) return 0;
  const int done = fill(db) && walk(db) && (c__zdbwritezxf(db, file, 0) || fail(db, "write"));
  zdbfree(&db);
  return done;
}

static int load(const char* file) {
  zdbHandle_t db = NULL;
  if (!zdbcreate(&db, NULL, 0)) return 0;
  const int done = (c__zdbinitfromzxf(db, file) || fail(db, "read")) && readSlice(db);
  zdbfree(&db);
  return done;
}

int main(int argc, char** argv) {
  if (argc != 2) {
    fprintf(stderr, "usage: prices FILE\n");
    return 2;
  }
  return save(argv[1]) && load(argv[1]) ? 0 : 1;
}
