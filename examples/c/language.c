/* A modelling language as host: its own tables hold the data, and a database reads a symbol through
 * callbacks when it is first needed. Here the tables are two arrays. */
#include <stdio.h>
#include <string.h>

#include "zdbcclib.h"

/* What the language has: labels by number, and one table with a key of two labels. */
enum { LABELS = 4, ROWS = 3, SHIP = 1 };
static const char* const kLabels[LABELS] = {"Bonn", "Ulm", "ATL", "ORD"};
static const int kKeys[ROWS][2] = {{1, 3}, {1, 4}, {2, 4}}; /* ascending, labels from 1 */
static const double kMiles[ROWS] = {4600, 4300, 4500};

typedef struct {
  int next; /* row of the table that is read next */
} Reader;

/* A short string is a length byte and the characters. */
static int isName(const char* text, const char* name) {
  const size_t length = strlen(name);
  return (unsigned char)text[0] == length && memcmp(text + 1, name, length) == 0;
}

/* Callbacks return 0 for success. */
static int findSymbol(const char* name, int* number, void* user) {
  (void)user;
  *number = SHIP;
  return isName(name, "miles") ? 0 : 1;
}

static int readStart(int number, int* count, void* user) {
  printf("the database asks for table %d\n", number);
  ((Reader*)user)->next = 0;
  *count = ROWS;
  return 0;
}

static int readRecord(int* key, double* values, int* firstChanged, void* user) {
  const int row = ((Reader*)user)->next++;
  memcpy(key, kKeys[row], sizeof kKeys[row]);
  values[0] = kMiles[row];
  *firstChanged = row == 0 || kKeys[row][0] != kKeys[row - 1][0] ? 1 : 2;
  return 0;
}

static int readDone(void* user) {
  (void)user;
  return 0;
}

static int print(const char* text, void* user) {
  (void)user;
  printf("log: %.*s\n", (unsigned char)text[0], text + 1);
  return 0;
}

/* The numbers of the labels are those of the language, which adds them in its order. */
static int serve(zdbHandle_t db, Reader* reader, zdbSymbol_t* miles) {
  int number = 0;
  for (int i = 0; i < LABELS; ++i) {
    if (!c__zdbmergeuel(db, kLabels[i], &number) || number != i + 1) return 0;
  }
  return c__zdbinitfromdmrf(db, findSymbol, readStart, readRecord, readDone, NULL, print, reader) &&
         c__zdbaddsymbol(db, "miles", 2, ZDB_PARAMETER, 0, "", miles);
}

int main(void) {
  static const char* const kRoute[] = {"Ulm", "ORD"};
  Reader reader = {0};
  zdbHandle_t db = NULL;
  zdbSymbol_t miles = NULL;
  zdbRecord_t record = NULL;
  char message[ZDB_TEXT_SIZE] = "";
  double value = 0;
  if (!zdbcreate(&db, message, sizeof message)) return 1;
  const int ok = serve(db, &reader, &miles) && c__zdbprintlog(db, "nothing is loaded yet") &&
                 c__zdbfindrecord(db, miles, kRoute, &record) &&
                 c__zdbgetlevel(db, record, &value) && c__zdbwritezxf(db, "routes.zxf", 0);
  if (record != NULL) c__zdbfreesymboliterator(db, record);
  if (ok) printf("from Ulm to ORD it is %g miles\n", value);
  if (!ok && c__zdbgetlasterror(db, message)) puts(message);
  zdbfree(&db);
  return !ok;
}
