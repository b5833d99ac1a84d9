// The least-cost diet as a model: what to buy, with prices and needs that can be changed.
#pragma once

#include <memory>

#include "dietdata.h"
#include "zkitdclib.h"

/// A model instance that frees itself.
struct FreeInstance {
  void operator()(void* instance) const { zkitFreeInstance(&instance); }
};
using Instance = std::unique_ptr<void, FreeInstance>;

/// Makes a model instance from the data:
///
///     cost = sum over food of price_var(food) / 100 * buy(food)               dollars a day
///     sum over food of content(food, nutrient) * price(food) / 100 * buy(food)
///         >= need_var(nutrient)
///
/// where buy(food) >= 0 is in units a day; cost is minimised. price_var and need_var are updatable
/// parameters with the data as initial values; content is per dollar at the data's prices.
Instance makeModel(const DietData& data);
