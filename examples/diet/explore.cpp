#include "explore.h"

#include <algorithm>
#include <cstdio>
#include <utility>
#include <vector>

void printFood(const DietData& diet, const std::string& food) {
  const std::string unit = diet.food.elementText({food});
  std::printf("   %s costs %.2f cents for %s One dollar buys\n", food.c_str(), diet.price[{food}],
              unit.c_str());
  std::printf("     %-12s %9s  %-14s%8s\n", "nutrient", "amount", "unit", "days");
  for (const auto& content : diet.content.records({food, ZDB_ANY_LABEL})) {
    const char* nutrient = content.label(1);
    std::printf("     %-12s %9.2f  %-14s%8.1f\n", nutrient, content.value(),
                diet.nutrient.elementText({nutrient}).c_str(),
                content.value() / diet.need[{nutrient}]);
  }
}

void printRichest(const DietData& diet, const std::string& nutrient) {
  std::vector<std::pair<double, const char*>> foods;
  for (const auto& content : diet.content.records({ZDB_ANY_LABEL, nutrient})) {
    foods.emplace_back(content.value(), content.label(0));
  }
  std::ranges::stable_sort(foods, std::greater{}, &decltype(foods)::value_type::first);
  foods.resize(std::min<std::size_t>(foods.size(), 5));
  std::printf("\n   Most %s for a dollar\n", nutrient.c_str());
  for (const auto& [amount, food] : foods) {
    std::printf("     %-24s %9.2f  %s\n", food, amount,
                diet.nutrient.elementText({nutrient}).c_str());
  }
}

void raisePrice(const DietData& diet, const std::string& food, double factor) {
  diet.price.set({food}, diet.price[{food}] * factor);
  for (const auto& content : diet.content.records({food, ZDB_ANY_LABEL})) {
    diet.content.set(content.key(), content.value() / factor);
  }
}
