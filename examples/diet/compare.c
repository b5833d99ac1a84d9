#include "compare.h"

#include <stdio.h>
#include <string.h>

#include "dietdata.h"

/* One file. */
typedef struct {
  zdbHandle_t db;
  DietSymbols symbols;
} Side;

/* A symbol in both files, while its records are compared. */
typedef struct {
  const char* name;
  int dim;
  zdbHandle_t oldDb;
  zdbSymbol_t oldSymbol;
  int changes;
} Comparison;

static int openSide(Side* side, const char* file) {
  side->db = hostOpen(file);
  return side->db != NULL && dietFindSymbols(side->db, &side->symbols);
}

static int printCounts(Side* before, Side* after) {
  printf("   %-44s %10s %10s\n", "symbol", "before", "after");
  for (int i = 0; i < DIET_SYMBOL_COUNT; ++i) {
    const int oldCount = hostCount(before->db, dietSymbol(&before->symbols, i));
    const int newCount = hostCount(after->db, dietSymbol(&after->symbols, i));
    if (oldCount < 0 || newCount < 0) return 0;
    printf("   %-44s %10d %10d", dietSymbolNames[i], oldCount, newCount);
    if (newCount != oldCount) printf("   %+8d", newCount - oldCount);
    printf("\n");
  }
  return 1;
}

static void printKey(const char* name, const char* const* labels, int dim) {
  char key[2 * ZDB_TEXT_SIZE + 64];
  snprintf(key, sizeof key, "%s(%s%s%s)", name, labels[0], dim > 1 ? ", " : "",
           dim > 1 ? labels[1] : "");
  printf("   %-44s ", key);
}

static void printNew(Comparison* comparison, const char* const* labels, double value) {
  ++comparison->changes;
  printKey(comparison->name, labels, comparison->dim);
  printf("%10s %10.2f        new\n", "-", value);
}

static void printChange(Comparison* comparison, const char* const* labels, double old,
                        double value) {
  ++comparison->changes;
  printKey(comparison->name, labels, comparison->dim);
  printf("%10.2f %10.2f   %+7.1f%%\n", old, value, 100 * (value - old) / old);
}

static int compareRecord(zdbHandle_t db, zdbRecord_t record, void* user) {
  Comparison* comparison = user;
  char texts[2][ZDB_TEXT_SIZE] = {"", ""};
  char* const rows[] = {texts[0], texts[1]};
  const char* const labels[] = {texts[0], texts[1]};
  double value;
  if (!c__zdbgetkeys(db, record, comparison->dim, rows) || !c__zdbgetlevel(db, record, &value)) {
    return hostFail(db, "cannot read a record");
  }
  zdbRecord_t oldRecord = NULL;
  if (!c__zdbfindrecord(comparison->oldDb, comparison->oldSymbol, labels, &oldRecord)) {
    printNew(comparison, labels, value);
    return 1;
  }
  double old;
  const int done = c__zdbgetlevel(comparison->oldDb, oldRecord, &old);
  c__zdbfreesymboliterator(comparison->oldDb, oldRecord);
  if (!done) return hostFail(comparison->oldDb, "cannot read a record");
  if (old != value) printChange(comparison, labels, old, value);
  return 1;
}

static int printChanges(const Side* before, const Side* after) {
  static const char* const kEvery[] = {ZDB_ANY_LABEL, ZDB_ANY_LABEL};
  const Comparison comparisons[] = {
      {"price", 1, before->db, before->symbols.price, 0},
      {"need", 1, before->db, before->symbols.need, 0},
      {"content", 2, before->db, before->symbols.content, 0},
  };
  const zdbSymbol_t symbols[] = {after->symbols.price, after->symbols.need, after->symbols.content};
  int changes = 0;
  printf("\n   %-44s %10s %10s   %8s\n", "record", "before", "after", "change");
  for (int i = 0; i < 3; ++i) {
    Comparison comparison = comparisons[i];
    if (!hostWalkSlice(after->db, symbols[i], kEvery, compareRecord, &comparison)) return 0;
    changes += comparison.changes;
  }
  printf("   %d records differ\n", changes);
  return 1;
}

int dietCompare(const char* before, const char* after) {
  Side sides[2] = {{.db = NULL}, {.db = NULL}};
  const int done = openSide(&sides[0], before) && openSide(&sides[1], after) &&
                   printCounts(&sides[0], &sides[1]) && printChanges(&sides[0], &sides[1]);
  zdbfree(&sides[0].db);
  zdbfree(&sides[1].db);
  return done;
}
