#include "scenarios.h"

#include <math.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include "chart.h"
#include "dietmodel.h"
#include "zkitdclib.h"

enum { DAYS = 200, BAR_WIDTH = 40, MENU_SIZE = 160 };

/* A day's cheapest diet: its cost, and its foods with the dollars spent on each. */
typedef struct {
  int number;
  double cost;
  char menu[MENU_SIZE];
} Day;

/* The database with which the model is solved. */
typedef struct {
  zdbHandle_t data; /* the prices and needs as they are */
  zdbHandle_t db;
  void* instance;
  zdbSymbol_t price; /* of the day */
  zdbSymbol_t need;
  zdbSymbol_t buy;
  zdbSymbol_t cost;
  uint64_t random;
} Kitchen;

/* A number between -1 and 1; the same in every run (Marsaglia's xorshift64). */
static double nextRandom(Kitchen* kitchen) {
  kitchen->random ^= kitchen->random << 13;
  kitchen->random ^= kitchen->random >> 7;
  kitchen->random ^= kitchen->random << 17;
  return (double)(kitchen->random >> 11) / (double)(1ULL << 52) - 1;
}

static int solve(Kitchen* kitchen) {
  if (!c__zdbcallsolver(kitchen->db, "clp")) return hostFail(kitchen->db, "cannot solve");
  const int status = zkitModelStatus(kitchen->instance);
  if (status == ZKIT_OPTIMAL) return 1;
  fprintf(stderr, "diet_demo: no cheapest diet: %s\n", zkitModelStatusText(status));
  return 0;
}

/* ---- A diet ---- */

static int addToMenu(zdbHandle_t db, zdbRecord_t record, void* user) {
  Day* day = user;
  char food[ZDB_TEXT_SIZE];
  double units;
  if (!c__zdbgetkey(db, record, 0, food) || !c__zdbgetlevel(db, record, &units)) {
    return hostFail(db, "cannot read the diet");
  }
  if (units < 1e-9) return 1;
  const size_t length = strlen(day->menu);
  snprintf(day->menu + length, sizeof day->menu - length, "%s%s", length > 0 ? ", " : "", food);
  return 1;
}

static int readDay(Kitchen* kitchen, int number, Day* day) {
  const char* const all[] = {ZDB_ANY_LABEL};
  day->number = number;
  day->menu[0] = '\0';
  return hostGetValue(kitchen->db, kitchen->cost, NULL, &day->cost) &&
         hostWalkSlice(kitchen->db, kitchen->buy, all, addToMenu, day);
}

static int printFood(zdbHandle_t db, zdbRecord_t record, void* user) {
  const Kitchen* kitchen = user;
  char food[ZDB_TEXT_SIZE];
  const char* label = food;
  double units;
  double cents;
  if (!c__zdbgetkey(db, record, 0, food) || !c__zdbgetlevel(db, record, &units)) {
    return hostFail(db, "cannot read the diet");
  }
  if (units < 1e-9) return 1;
  if (!hostGetValue(db, kitchen->price, &label, &cents)) return 0;
  printf("     %-24s %10.7f dollars a day\n", food, units * cents / 100);
  return 1;
}

static int printDiet(Kitchen* kitchen, const Day* day) {
  const char* const all[] = {ZDB_ANY_LABEL};
  printf("   It costs %.10f dollars a day, %.2f dollars a year\n", day->cost, 365 * day->cost);
  return hostWalkSlice(kitchen->db, kitchen->buy, all, printFood, kitchen);
}

/* ---- Other days ---- */

typedef struct {
  Kitchen* kitchen;
  zdbSymbol_t target;
  double spread;
} Change;

static int changeRecord(zdbHandle_t data, zdbRecord_t record, void* user) {
  const Change* change = user;
  char label[ZDB_TEXT_SIZE];
  const char* labels[] = {label};
  double value;
  if (!c__zdbgetkey(data, record, 0, label) || !c__zdbgetlevel(data, record, &value)) {
    return hostFail(data, "cannot read a value");
  }
  value *= 1 + change->spread * nextRandom(change->kitchen);
  return hostSetValue(change->kitchen->db, change->target, labels, value);
}

/* Sets a parameter to the data's values, each up to `spread` more or less, also in the model. */
static int vary(Kitchen* kitchen, zdbSymbol_t source, zdbSymbol_t target, double spread) {
  const char* const all[] = {ZDB_ANY_LABEL};
  Change change = {kitchen, target, spread};
  int noMatch = 0;
  return hostWalkSlice(kitchen->data, source, all, changeRecord, &change) &&
         (c__zdbupdatemodelsymbol(kitchen->db, target, ZDB_UPDATE_FIX, target, ZDB_MISSING_KEEP,
                                  &noMatch) ||
          hostFail(kitchen->db, "cannot update the model"));
}

static void showProgress(int done) {
  if (!isatty(STDOUT_FILENO)) return;
  const int filled = BAR_WIDTH * done / DAYS;
  printf("\r   [");
  for (int i = 0; i < BAR_WIDTH; ++i) putchar(i < filled ? '#' : ' ');
  printf("] day %d of %d", done, DAYS);
  if (done == DAYS) printf("\r\033[K");
  fflush(stdout);
}

static int solveDays(Kitchen* kitchen, const DietSymbols* symbols, Day* days) {
  for (int i = 0; i < DAYS; ++i) {
    if (!vary(kitchen, symbols->price, kitchen->price, 0.3) ||
        !vary(kitchen, symbols->need, kitchen->need, 0.1) || !solve(kitchen) ||
        !readDay(kitchen, i + 1, &days[i])) {
      return 0;
    }
    showProgress(i + 1);
  }
  return 1;
}

static int byCost(const void* a, const void* b) {
  const double left = ((const Day*)a)->cost;
  const double right = ((const Day*)b)->cost;
  return (left > right) - (left < right);
}

static void printDay(const char* which, const Day* day) {
  printf("   %-9s %5d  %8.4f  %s\n", which, day->number, day->cost, day->menu);
}

static int drawDays(const Day* days, double base, const char* file) {
  double values[DAYS];
  for (int i = 0; i < DAYS; ++i) values[i] = days[i].cost;
  const Chart chart = {"The cheapest diet when prices and needs change",
                       "day",
                       "dollars a day",
                       values,
                       DAYS,
                       base,
                       "prices and needs of the data"};
  return chartWrite(&chart, file);
}

static double secondsNow(void) {
  struct timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return (double)now.tv_sec + (double)now.tv_nsec / 1e9;
}

static int printDays(Kitchen* kitchen, const DietSymbols* symbols, double base, const char* chart) {
  static Day days[DAYS];
  const double start = secondsNow();
  if (!solveDays(kitchen, symbols, days)) return 0;
  printf("   %d days with prices up to 30%% and needs up to 10%% off, solved in %.2f seconds\n",
         DAYS, secondsNow() - start);
  if (!drawDays(days, base, chart)) return 0;
  qsort(days, DAYS, sizeof days[0], byCost);
  printf("   %-9s %5s  %8s  %s\n", "", "day", "dollars", "foods");
  printDay("cheapest", &days[0]);
  printDay("median", &days[DAYS / 2]);
  printDay("dearest", &days[DAYS - 1]);
  printf("   Chart: %s\n", chart);
  return 1;
}

/* ---- Both ---- */

static int addParameter(Kitchen* kitchen, const char* name, zdbSymbol_t* symbol) {
  return c__zdbaddsymbol(kitchen->db, name, 1, ZDB_PARAMETER, 0, "", symbol) ||
         hostFail(kitchen->db, "cannot add a parameter");
}

static int takeModel(Kitchen* kitchen) {
  zdbHandle_t db = kitchen->db;
  return (c__zdbinitfromdict(db, kitchen->instance) && c__zdbinitupdate(db, kitchen->instance) &&
          c__zdbfindsymbol(db, "buy", &kitchen->buy) &&
          c__zdbfindsymbol(db, "cost", &kitchen->cost)) ||
         hostFail(db, "cannot load the model");
}

static int cook(Kitchen* kitchen, const DietSymbols* symbols, const char* chart) {
  Day base;
  printf("\n5. The cheapest diet\n");
  if (!takeModel(kitchen) || !addParameter(kitchen, "price", &kitchen->price) ||
      !addParameter(kitchen, "need", &kitchen->need) ||
      !vary(kitchen, symbols->price, kitchen->price, 0) ||
      !vary(kitchen, symbols->need, kitchen->need, 0) || !solve(kitchen) ||
      !readDay(kitchen, 0, &base) || !printDiet(kitchen, &base)) {
    return 0;
  }
  printf("\n6. Other days\n");
  return printDays(kitchen, symbols, base.cost, chart);
}

int dietScenarios(const char* file, const char* chart) {
  Kitchen kitchen = {.random = 0x9E3779B97F4A7C15ULL};
  DietSymbols symbols;
  kitchen.data = hostOpen(file);
  int done = kitchen.data != NULL && dietFindSymbols(kitchen.data, &symbols) &&
             dietMakeModel(kitchen.data, &symbols, &kitchen.instance);
  kitchen.db = done ? hostCreate() : NULL;
  done = done && kitchen.db != NULL && cook(&kitchen, &symbols, chart);
  zdbfree(&kitchen.db);
  zdbfree(&kitchen.data);
  zkitFreeInstance(&kitchen.instance);
  return done;
}
