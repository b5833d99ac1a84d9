/* The least-cost diet as a model: what to buy, with prices and needs that can be changed. */
#ifndef DIET_DIETMODEL_H
#define DIET_DIETMODEL_H

#include "dietdata.h"

/* Makes a model instance from the data:
 *
 *     cost = sum over food of price_var(food) / 100 * buy(food)               dollars a day
 *     sum over food of content(food, nutrient) * price(food) / 100 * buy(food)
 *         >= need_var(nutrient)
 *
 * where buy(food) >= 0 is in units a day; cost is minimised. price_var and need_var are updatable
 * parameters with the data as initial values; content is per dollar at the data's prices. Returns 1
 * and an instance, which the caller frees with zkitFreeInstance, or 0 after a message. */
int dietMakeModel(zdbHandle_t data, const DietSymbols* symbols, void** instance);

#endif
