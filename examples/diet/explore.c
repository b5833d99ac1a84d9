#include "explore.h"

#include <stdio.h>
#include <string.h>

enum { TOP_COUNT = 5, NUTRIENT_POSITION = 1, FOOD_POSITION = 0 };

static int printNutrient(zdbHandle_t db, zdbRecord_t record, void* user) {
  const DietSymbols* symbols = user;
  char nutrient[ZDB_TEXT_SIZE];
  char unit[ZDB_TEXT_SIZE];
  const char* label = nutrient;
  double amount;
  double need;
  if (!c__zdbgetkey(db, record, NUTRIENT_POSITION, nutrient) ||
      !c__zdbgetlevel(db, record, &amount)) {
    return hostFail(db, "cannot read a content");
  }
  if (!hostGetText(db, symbols->nutrient, &label, unit) ||
      !hostGetValue(db, symbols->need, &label, &need)) {
    return 0;
  }
  printf("     %-12s %9.2f  %-14s%8.1f\n", nutrient, amount, unit, amount / need);
  return 1;
}

int dietPrintFood(zdbHandle_t db, const DietSymbols* symbols, const char* food) {
  const char* const slice[] = {food, ZDB_ANY_LABEL};
  char unit[ZDB_TEXT_SIZE];
  double price;
  if (!hostGetText(db, symbols->food, &food, unit) ||
      !hostGetValue(db, symbols->price, &food, &price)) {
    return 0;
  }
  printf("   %s costs %.2f cents for %s One dollar buys\n", food, price, unit);
  printf("     %-12s %9s  %-14s%8s\n", "nutrient", "amount", "unit", "days");
  return hostWalkSlice(db, symbols->content, slice, printNutrient, (void*)symbols);
}

typedef struct {
  char food[ZDB_TEXT_SIZE];
  double amount;
} Holding;

/* The largest so far, in descending order. */
typedef struct {
  Holding entries[TOP_COUNT];
  int count;
} Top;

static void insertHolding(Top* top, const Holding* holding) {
  int at = top->count;
  while (at > 0 && top->entries[at - 1].amount < holding->amount) --at;
  if (at == TOP_COUNT) return;
  if (top->count < TOP_COUNT) ++top->count;
  const size_t after = (size_t)(top->count - 1 - at);
  memmove(&top->entries[at + 1], &top->entries[at], after * sizeof top->entries[0]);
  top->entries[at] = *holding;
}

static int collectTop(zdbHandle_t db, zdbRecord_t record, void* user) {
  Holding holding;
  if (!c__zdbgetkey(db, record, FOOD_POSITION, holding.food) ||
      !c__zdbgetlevel(db, record, &holding.amount)) {
    return hostFail(db, "cannot read a content");
  }
  insertHolding(user, &holding);
  return 1;
}

int dietPrintRichest(zdbHandle_t db, const DietSymbols* symbols, const char* nutrient) {
  const char* const slice[] = {ZDB_ANY_LABEL, nutrient};
  char unit[ZDB_TEXT_SIZE];
  Top top = {.count = 0};
  if (!hostGetText(db, symbols->nutrient, &nutrient, unit) ||
      !hostWalkSlice(db, symbols->content, slice, collectTop, &top)) {
    return 0;
  }
  printf("\n   Most %s for a dollar\n", nutrient);
  for (int i = 0; i < top.count; ++i) {
    printf("     %-24s %9.2f  %s\n", top.entries[i].food, top.entries[i].amount, unit);
  }
  return 1;
}

static int divideContent(zdbHandle_t db, zdbRecord_t record, void* user) {
  const double* factor = user;
  double amount;
  return (c__zdbgetlevel(db, record, &amount) && c__zdbsetlevel(db, record, amount / *factor)) ||
         hostFail(db, "cannot change a content");
}

int dietRaisePrice(zdbHandle_t db, const DietSymbols* symbols, const char* food, double factor) {
  const char* const slice[] = {food, ZDB_ANY_LABEL};
  double price;
  return hostGetValue(db, symbols->price, &food, &price) &&
         hostSetValue(db, symbols->price, &food, price * factor) &&
         hostWalkSlice(db, symbols->content, slice, divideContent, &factor);
}

int dietEnrich(zdbHandle_t db, const DietSymbols* symbols, const char* food, const char* nutrient,
               double amount) {
  const char* const labels[] = {food, nutrient};
  return hostSetValue(db, symbols->content, labels, amount);
}
