/* What a host does with a data file: look things up, walk slices, change records. */
#ifndef DIET_EXPLORE_H
#define DIET_EXPLORE_H

#include "dietdata.h"

/* Prints unit and price of a food and its slice: each nutrient in one dollar's worth, with the days
 * that it lasts one adult. 1, or 0 after a message. */
int dietPrintFood(zdbHandle_t db, const DietSymbols* symbols, const char* food);

/* Prints the slice across: the five foods that hold most of a nutrient. 1, or 0 after a message. */
int dietPrintRichest(zdbHandle_t db, const DietSymbols* symbols, const char* nutrient);

/* Multiplies the price of a food; a dollar then buys less of it, so its contents are divided by the
 * same factor. 1, or 0 after a message. */
int dietRaisePrice(zdbHandle_t db, const DietSymbols* symbols, const char* food, double factor);

/* Sets what a dollar's worth of a food holds of a nutrient, which may be one it did not hold
 * before. 1, or 0 after a message. */
int dietEnrich(zdbHandle_t db, const DietSymbols* symbols, const char* food, const char* nutrient,
               double amount);

#endif
