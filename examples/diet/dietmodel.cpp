#include "dietmodel.h"

#include <map>
#include <stdexcept>

namespace {

/// A model under construction, whose failures are exceptions. Label null stands for none.
class Model {
 public:
  Model() { check(zkitModelCreate(&model_, "diet")); }
  ~Model() { zkitModelFree(&model_); }
  Model(const Model&) = delete;
  Model& operator=(const Model&) = delete;

  int addSymbol(const char* name, int type, int dim, const char* text) {
    int symbol = 0;
    check(zkitAddSymbol(model_, name, type, dim, text, 0, &symbol));
    return symbol;
  }
  int addColumn(int symbol, const char* label, double lower, double level = 0) {
    int column = 0;
    check(zkitAddColumn(model_, symbol, &label, lower, ZKIT_INFINITY, level, &column));
    return column;
  }
  int addRow(int symbol, const char* label, int type) {
    int row = 0;
    check(zkitAddRow(model_, symbol, &label, type, 0, &row));
    return row;
  }
  void addCoefficient(int row, int column, double value) {
    check(zkitAddCoefficient(model_, row, column, value));
  }
  void addProduct(int row, int column1, int column2, double value) {
    check(zkitAddProduct(model_, row, column1, column2, value));
  }
  void minimise(int column) { check(zkitSetObjective(model_, column, 1)); }
  Instance finish() {
    void* instance = nullptr;
    check(zkitModelFinish(model_, nullptr, &instance));
    return Instance(instance);
  }

 private:
  void check(int result) const {
    if (result == 1) return;
    const char* reason = model_ == nullptr ? "out of memory" : zkitLastError(model_);
    throw std::runtime_error(std::string("cannot make the model: ") + reason);
  }

  zkitModel_t model_ = nullptr;
};

}  // namespace

Instance makeModel(const DietData& data) {
  Model model;
  const int cost = model.addSymbol("cost", ZKIT_VARIABLE, 0, "dollars a day");
  const int buy = model.addSymbol("buy", ZKIT_VARIABLE, 1, "units a day");
  const int price = model.addSymbol("price_var", ZKIT_VARIABLE, 1, "cents a unit");
  const int need = model.addSymbol("need_var", ZKIT_VARIABLE, 1, "needed a day");
  const int costOf = model.addSymbol("cost_of", ZKIT_EQUATION, 0, "");
  const int supply = model.addSymbol("supply", ZKIT_EQUATION, 1, "what the diet holds");

  const int costColumn = model.addColumn(cost, nullptr, -ZKIT_INFINITY);
  const int costRow = model.addRow(costOf, nullptr, ZKIT_EQUAL);
  model.addCoefficient(costRow, costColumn, 1);
  model.minimise(costColumn);

  std::map<std::int32_t, int> buyColumns;
  for (const auto& food : data.price.records()) {
    const int column = model.addColumn(buy, food.label(0), 0);
    const int priceColumn = model.addColumn(price, food.label(0), 0, food.value());
    model.addProduct(costRow, priceColumn, column, -0.01);
    buyColumns[food.number(0)] = column;
  }
  std::map<std::int32_t, int> supplyRows;
  for (const auto& nutrient : data.need.records()) {
    const int column = model.addColumn(need, nutrient.label(0), 0, nutrient.value());
    const int row = model.addRow(supply, nutrient.label(0), ZKIT_GREATER);
    model.addCoefficient(row, column, -1);
    supplyRows[nutrient.number(0)] = row;
  }
  for (const auto& content : data.content.records()) {
    const auto column = buyColumns.find(content.number(0));
    const auto row = supplyRows.find(content.number(1));
    // Without a price or a need there is nothing to decide.
    if (column == buyColumns.end() || row == supplyRows.end()) continue;
    const double dollars = data.price[{content.label(0)}] / 100;
    model.addCoefficient(row->second, column->second, content.value() * dollars);
  }
  return model.finish();
}
