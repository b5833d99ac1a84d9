#include "dietmodel.h"

#include <stdio.h>
#include <string.h>

#include "zkitdclib.h"

enum { MOST_FOODS = 256, MOST_NUTRIENTS = 32 };

/* The label of a food or nutrient, and its rows and columns in the model. */
typedef struct {
  char label[ZDB_TEXT_SIZE];
  int column;     /* buy(food) or need_var(nutrient) */
  int row;        /* supply(nutrient) */
  double dollars; /* price of a unit of the food in the data */
} Item;

typedef struct {
  zkitModel_t model;
  int buy;
  int price;
  int need;
  int supply;
  int costRow;
  Item foods[MOST_FOODS];
  int foodCount;
  Item nutrients[MOST_NUTRIENTS];
  int nutrientCount;
} Builder;

static int modelFail(const Builder* builder, const char* what) {
  fprintf(stderr, "diet_demo: %s: %s\n", what, zkitLastError(builder->model));
  return 0;
}

static Item* newItem(Item* items, int* count, int most, zdbHandle_t db, zdbRecord_t record) {
  if (*count == most) {
    fprintf(stderr, "diet_demo: more than %d foods or nutrients\n", most);
    return NULL;
  }
  Item* item = &items[*count];
  if (!c__zdbgetkey(db, record, 0, item->label)) {
    hostFail(db, "cannot read a label");
    return NULL;
  }
  ++*count;
  return item;
}

static const Item* findItem(const Item* items, int count, const char* label) {
  for (int i = 0; i < count; ++i) {
    if (strcmp(items[i].label, label) == 0) return &items[i];
  }
  return NULL;
}

static int addFood(zdbHandle_t db, zdbRecord_t record, void* user) {
  Builder* builder = user;
  double cents;
  int priceColumn;
  Item* food = newItem(builder->foods, &builder->foodCount, MOST_FOODS, db, record);
  if (food == NULL) return 0;
  if (!c__zdbgetlevel(db, record, &cents)) return hostFail(db, "cannot read a price");
  food->dollars = cents / 100;
  const char* label = food->label;
  return (zkitAddColumn(builder->model, builder->buy, &label, 0, ZKIT_INFINITY, 0, &food->column) &&
          zkitAddColumn(builder->model, builder->price, &label, 0, ZKIT_INFINITY, cents,
                        &priceColumn) &&
          zkitAddProduct(builder->model, builder->costRow, priceColumn, food->column, -0.01)) ||
         modelFail(builder, "cannot add a food to the model");
}

static int addNutrient(zdbHandle_t db, zdbRecord_t record, void* user) {
  Builder* builder = user;
  double need;
  Item* item = newItem(builder->nutrients, &builder->nutrientCount, MOST_NUTRIENTS, db, record);
  if (item == NULL) return 0;
  if (!c__zdbgetlevel(db, record, &need)) return hostFail(db, "cannot read a need");
  const char* label = item->label;
  return (zkitAddColumn(builder->model, builder->need, &label, 0, ZKIT_INFINITY, need,
                        &item->column) &&
          zkitAddRow(builder->model, builder->supply, &label, ZKIT_GREATER, 0, &item->row) &&
          zkitAddCoefficient(builder->model, item->row, item->column, -1)) ||
         modelFail(builder, "cannot add a nutrient to the model");
}

static int addContent(zdbHandle_t db, zdbRecord_t record, void* user) {
  Builder* builder = user;
  char food[ZDB_TEXT_SIZE];
  char nutrient[ZDB_TEXT_SIZE];
  double amount;
  if (!c__zdbgetkey(db, record, 0, food) || !c__zdbgetkey(db, record, 1, nutrient) ||
      !c__zdbgetlevel(db, record, &amount)) {
    return hostFail(db, "cannot read a content");
  }
  const Item* column = findItem(builder->foods, builder->foodCount, food);
  const Item* row = findItem(builder->nutrients, builder->nutrientCount, nutrient);
  if (column == NULL || row == NULL) return 1; /* no price or no need: nothing to decide */
  return zkitAddCoefficient(builder->model, row->row, column->column, amount * column->dollars) ||
         modelFail(builder, "cannot add a content to the model");
}

static int addSymbols(Builder* builder) {
  zkitModel_t model = builder->model;
  int cost;
  int costDefinition;
  int costColumn;
  return (zkitAddSymbol(model, "cost", ZKIT_VARIABLE, 0, "dollars a day", 0, &cost) &&
          zkitAddSymbol(model, "buy", ZKIT_VARIABLE, 1, "units a day", 0, &builder->buy) &&
          zkitAddSymbol(model, "price_var", ZKIT_VARIABLE, 1, "cents a unit", 0, &builder->price) &&
          zkitAddSymbol(model, "need_var", ZKIT_VARIABLE, 1, "needed a day", 0, &builder->need) &&
          zkitAddSymbol(model, "cost_of", ZKIT_EQUATION, 0, "", 0, &costDefinition) &&
          zkitAddSymbol(model, "supply", ZKIT_EQUATION, 1, "what the diet holds", 0,
                        &builder->supply) &&
          zkitAddColumn(model, cost, NULL, -ZKIT_INFINITY, ZKIT_INFINITY, 0, &costColumn) &&
          zkitAddRow(model, costDefinition, NULL, ZKIT_EQUAL, 0, &builder->costRow) &&
          zkitAddCoefficient(model, builder->costRow, costColumn, 1) &&
          zkitSetObjective(model, costColumn, 1)) ||
         modelFail(builder, "cannot start the model");
}

static int build(Builder* builder, zdbHandle_t data, const DietSymbols* symbols, void** instance) {
  const char* const all[] = {ZDB_ANY_LABEL, ZDB_ANY_LABEL};
  return addSymbols(builder) && hostWalkSlice(data, symbols->price, all, addFood, builder) &&
         hostWalkSlice(data, symbols->need, all, addNutrient, builder) &&
         hostWalkSlice(data, symbols->content, all, addContent, builder) &&
         (zkitModelFinish(builder->model, NULL, instance) ||
          modelFail(builder, "cannot make an instance"));
}

int dietMakeModel(zdbHandle_t data, const DietSymbols* symbols, void** instance) {
  static Builder builder; /* too large for some stacks */
  memset(&builder, 0, sizeof builder);
  *instance = NULL;
  if (!zkitModelCreate(&builder.model, "diet")) {
    fprintf(stderr, "diet_demo: cannot create a model\n");
    return 0;
  }
  const int done = build(&builder, data, symbols, instance);
  zkitModelFree(&builder.model);
  return done;
}
