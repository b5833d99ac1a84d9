// What a host does with a data file: find records, walk slices, change records.
#pragma once

#include <string>

#include "dietdata.h"

/// Prints unit and price of a food and its slice: the nutrients in one dollar's worth, each with
/// the days that it lasts one adult.
void printFood(const DietData& diet, const std::string& food);

/// Prints the five foods with most of a nutrient.
void printRichest(const DietData& diet, const std::string& nutrient);

/// Multiplies the price of a food; a dollar then buys less of it, so its contents are divided by
/// the same factor.
void raisePrice(const DietData& diet, const std::string& food, double factor);
