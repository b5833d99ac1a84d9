#include "dietdata.h"

#include <stdio.h>
#include <string.h>

#include "csvfile.h"

const char* const dietSymbolNames[DIET_SYMBOL_COUNT] = {"food", "nutrient", "content", "price",
                                                        "need"};

/* The state of the CSV callbacks. */
typedef struct {
  zdbHandle_t db;
  const DietSymbols* symbols;
} Import;

enum { FOOD_FIELD, FOOD_UNIT_FIELD, FOOD_PRICE_FIELD, FIRST_NUTRIENT_FIELD };
enum { NEED_FIELD, NEED_UNIT_FIELD, NEED_PER_DAY_FIELD, NEED_FIELD_COUNT };

static zdbSymbol_t addSet(zdbHandle_t db, const char* name, const char* text) {
  zdbSymbol_t set = NULL;
  if (!c__zdbaddsymbol(db, name, 1, ZDB_SET, 0, text, &set)) hostFail(db, name);
  return set;
}

static zdbSymbol_t addParameter(zdbHandle_t db, const char* name, int dim, const char* text,
                                const zdbSymbol_t* domains) {
  static const char* const kNoNames[] = {"", ""};
  zdbSymbol_t parameter = NULL;
  /* This call succeeds even if the symbol cannot be added: check the handle. */
  c__zdbaddsymbolx(db, name, dim, ZDB_PARAMETER, 0, text, domains, kNoNames, &parameter);
  if (parameter == NULL) hostFail(db, name);
  return parameter;
}

int dietAddSymbols(zdbHandle_t db, DietSymbols* symbols) {
  symbols->food = addSet(db, "food", "Foods and the units they are sold in");
  symbols->nutrient = addSet(db, "nutrient", "Nutrients and their units of measure");
  if (symbols->food == NULL || symbols->nutrient == NULL) return 0;
  const zdbSymbol_t domains[] = {symbols->food, symbols->nutrient};
  symbols->content =
      addParameter(db, "content", 2, "What one dollar's worth of a food holds", domains);
  symbols->price = addParameter(db, "price", 1, "Price of a unit in cents", domains);
  symbols->need = addParameter(db, "need", 1, "What one adult needs a day", domains + 1);
  return symbols->content != NULL && symbols->price != NULL && symbols->need != NULL;
}

int dietFindSymbols(zdbHandle_t db, DietSymbols* symbols) {
  zdbSymbol_t* const handles[DIET_SYMBOL_COUNT] = {
      &symbols->food, &symbols->nutrient, &symbols->content, &symbols->price, &symbols->need};
  for (int i = 0; i < DIET_SYMBOL_COUNT; ++i) {
    if (!c__zdbfindsymbol(db, dietSymbolNames[i], handles[i])) {
      return hostFail(db, "no diet data");
    }
  }
  return 1;
}

zdbSymbol_t dietSymbol(const DietSymbols* symbols, int i) {
  const zdbSymbol_t handles[DIET_SYMBOL_COUNT] = {symbols->food, symbols->nutrient,
                                                  symbols->content, symbols->price, symbols->need};
  return handles[i];
}

static int rowFail(const CsvRow* row, zdbHandle_t db) {
  char message[ZDB_TEXT_SIZE] = "";
  c__zdbgetlasterror(db, message);
  return csvFail(row, "%s", message);
}

/* Adds, not merges, since a duplicate label is an error in the data. Null after a message. */
static zdbRecord_t addRecord(const CsvRow* row, zdbHandle_t db, zdbSymbol_t symbol,
                             const char* const* labels) {
  zdbRecord_t record = NULL;
  if (!c__zdbaddrecord(db, symbol, labels, &record)) rowFail(row, db);
  return record;
}

static int endRecord(const CsvRow* row, zdbHandle_t db, zdbRecord_t record, int done) {
  if (!done) rowFail(row, db);
  c__zdbfreesymboliterator(db, record);
  return done;
}

static int addElement(const CsvRow* row, zdbHandle_t db, zdbSymbol_t set, const char* label,
                      const char* text) {
  zdbRecord_t record = addRecord(row, db, set, &label);
  return record != NULL && endRecord(row, db, record, c__zdbsetelemtext(db, record, text));
}

static int addValue(const CsvRow* row, zdbHandle_t db, zdbSymbol_t parameter,
                    const char* const* labels, double value) {
  zdbRecord_t record = addRecord(row, db, parameter, labels);
  return record != NULL && endRecord(row, db, record, c__zdbsetlevel(db, record, value));
}

static int checkHeading(const CsvRow* row, const char* const* wanted, int count) {
  for (int i = 0; i < count; ++i) {
    if (i >= row->count || strcmp(row->fields[i], wanted[i]) != 0) {
      return csvFail(row, "column %d of the heading must be \"%s\"", i + 1, wanted[i]);
    }
  }
  return 1;
}

static int readNeedsHeading(const CsvRow* row, void* user) {
  (void)user;
  static const char* const kWanted[NEED_FIELD_COUNT] = {"nutrient", "unit", "per_day"};
  return checkHeading(row, kWanted, NEED_FIELD_COUNT);
}

static int readNeed(const CsvRow* row, void* user) {
  const Import* import = user;
  const char* nutrient = row->fields[NEED_FIELD];
  double need;
  return csvNumber(row, NEED_PER_DAY_FIELD, &need) &&
         addElement(row, import->db, import->symbols->nutrient, nutrient,
                    row->fields[NEED_UNIT_FIELD]) &&
         addValue(row, import->db, import->symbols->need, &nutrient, need);
}

static int readFoodsHeading(const CsvRow* row, void* user) {
  static const char* const kWanted[FIRST_NUTRIENT_FIELD] = {"food", "unit", "price_cents"};
  const Import* import = user;
  if (!checkHeading(row, kWanted, FIRST_NUTRIENT_FIELD)) return 0;
  for (int i = FIRST_NUTRIENT_FIELD; i < row->count; ++i) {
    zdbRecord_t record = NULL;
    if (!c__zdbfindrecord(import->db, import->symbols->nutrient, &row->fields[i], &record)) {
      return csvFail(row, "no daily need is known for the nutrient \"%s\"", row->fields[i]);
    }
    c__zdbfreesymboliterator(import->db, record);
  }
  return 1;
}

static int readFood(const CsvRow* row, void* user) {
  const Import* import = user;
  const char* labels[] = {row->fields[FOOD_FIELD], NULL};
  double value;
  if (!csvNumber(row, FOOD_PRICE_FIELD, &value) ||
      !addElement(row, import->db, import->symbols->food, labels[0],
                  row->fields[FOOD_UNIT_FIELD]) ||
      !addValue(row, import->db, import->symbols->price, labels, value)) {
    return 0;
  }
  for (int i = FIRST_NUTRIENT_FIELD; i < row->count; ++i) {
    labels[1] = row->heading[i];
    if (!csvNumber(row, i, &value)) return 0;
    if (value > 0 && !addValue(row, import->db, import->symbols->content, labels, value)) return 0;
  }
  return 1;
}

int dietReadCsv(zdbHandle_t db, const DietSymbols* symbols, const char* folder) {
  Import import = {db, symbols};
  char file[4096];
  snprintf(file, sizeof file, "%s/needs.csv", folder);
  if (!csvReadFile(file, readNeedsHeading, readNeed, &import)) return 0;
  snprintf(file, sizeof file, "%s/foods.csv", folder);
  return csvReadFile(file, readFoodsHeading, readFood, &import);
}
