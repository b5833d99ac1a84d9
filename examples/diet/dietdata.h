/* The diet problem's data as a database: two sets and three parameters over them. */
#ifndef DIET_DIETDATA_H
#define DIET_DIETDATA_H

#include "host.h"

typedef struct {
  zdbSymbol_t food;     /* set; the text of a food is the unit that it is sold in */
  zdbSymbol_t nutrient; /* set; the text of a nutrient is its unit of measure */
  zdbSymbol_t content;  /* (food, nutrient): what one dollar's worth of the food holds */
  zdbSymbol_t price;    /* (food): cents a unit */
  zdbSymbol_t need;     /* (nutrient): what one adult needs a day */
} DietSymbols;

enum { DIET_SYMBOL_COUNT = 5 };

/* Names of the symbols, in the order above; the handle of symbol i, 0 <= i < DIET_SYMBOL_COUNT. */
extern const char* const dietSymbolNames[DIET_SYMBOL_COUNT];
zdbSymbol_t dietSymbol(const DietSymbols* symbols, int i);

/* Add the five symbols to an empty database; find them in one. Return 1, or 0 after a message. */
int dietAddSymbols(zdbHandle_t db, DietSymbols* symbols);
int dietFindSymbols(zdbHandle_t db, DietSymbols* symbols);

/* Fills the symbols from needs.csv and foods.csv in the folder. A content of zero gets no record.
 * Returns 1, or 0 after a message that names file and line. */
int dietReadCsv(zdbHandle_t db, const DietSymbols* symbols, const char* folder);

#endif
