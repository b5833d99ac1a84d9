/* What a host does with a data file: find records, walk slices, change records. */
#ifndef DIET_EXPLORE_H
#define DIET_EXPLORE_H

#include "dietdata.h"

/* Prints unit and price of a food and its slice: the nutrients in one dollar's worth, each with the
 * days that it lasts one adult. Returns 1, or 0 after a message. */
int dietPrintFood(zdbHandle_t db, const DietSymbols* symbols, const char* food);

/* Prints the five foods with most of a nutrient. Returns 1, or 0 after a message. */
int dietPrintRichest(zdbHandle_t db, const DietSymbols* symbols, const char* nutrient);

/* Multiplies the price of a food; a dollar then buys less of it, so its contents are divided by the
 * same factor. Returns 1, or 0 after a message. */
int dietRaisePrice(zdbHandle_t db, const DietSymbols* symbols, const char* food, double factor);

/* Sets how much of a nutrient a dollar's worth of a food contains, which may be a nutrient that it
 * did not contain before. Returns 1, or 0 after a message. */
int dietEnrich(zdbHandle_t db, const DietSymbols* symbols, const char* food, const char* nutrient,
               double amount);

#endif
