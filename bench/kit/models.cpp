#include "models.h"

#include <cstdio>
#include <cstdlib>
#include <string>

#include "zkitdclib.h"

void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "failed: %s\n", what);
  std::abort();
}

KitInstance::~KitInstance() {
  zkitFreeInstance(&handle_);
}

void KitInstance::solve(const char* solver) const {
  char message[ZKIT_TEXT_SIZE];
  require(zkitSolve(handle_, solver, message, sizeof message) == 1, message);
  requireOptimal();
}

void KitInstance::requireOptimal() const {
  require(zkitModelStatus(handle_) == ZKIT_OPTIMAL, "optimal");
}

namespace {

constexpr double kInfinite = 1.0E300;

double uniform(std::mt19937& random, double low, double high) {
  return std::uniform_real_distribution<double>(low, high)(random);
}

/// Builds a model with the host's functions and checks each result.
class Builder {
 public:
  Builder() { require(zkitModelCreate(&model_, "bench") == 1, "zkitModelCreate"); }
  ~Builder() { zkitModelFree(&model_); }
  Builder(const Builder&) = delete;
  Builder& operator=(const Builder&) = delete;

  int symbol(const char* name, int type, int dim) {
    int number = 0;
    check(zkitAddSymbol(model_, name, type, dim, nullptr, 0, &number));
    return number;
  }
  int column(int symbol, std::initializer_list<int> key, double lower, double upper, double level) {
    int number = 0;
    check(zkitAddColumn(model_, symbol, labels(key), lower, upper, level, &number));
    return number;
  }
  int row(int symbol, std::initializer_list<int> key, int type, double rhs) {
    int number = 0;
    check(zkitAddRow(model_, symbol, labels(key), type, rhs, &number));
    return number;
  }
  void set(int row, int column, double value) {
    check(zkitAddCoefficient(model_, row, column, value));
  }
  void product(int row, int a, int b, double value) {
    check(zkitAddProduct(model_, row, a, b, value));
  }
  // Adds the cost, which is to be minimised, and returns the row that defines it.
  int objective() {
    const int cost = column(symbol("cost", ZKIT_VARIABLE, 0), {}, -kInfinite, kInfinite, 0);
    const int definition = row(symbol("costdef", ZKIT_EQUATION, 0), {}, ZKIT_EQUAL, 0);
    set(definition, cost, -1);
    check(zkitSetObjective(model_, cost, 1));
    return definition;
  }
  void* finish() {
    void* instance = nullptr;
    check(zkitModelFinish(model_, nullptr, &instance));
    return instance;
  }

 private:
  void check(int isDone) const { require(isDone == 1, zkitLastError(model_)); }
  const char* const* labels(std::initializer_list<int> key) {
    int position = 0;
    for (const int number : key) {
      texts_[position] = std::to_string(number);
      pointers_[position] = texts_[position].c_str();
      ++position;
    }
    return pointers_;
  }

  zkitModel_t model_ = nullptr;
  std::string texts_[2];
  const char* pointers_[2] = {};
};

}  // namespace

void* makeDiet(const std::vector<double>& prices) {
  std::mt19937 random(1);
  Builder model;
  const int cost = model.objective();
  const int supply = model.symbol("supply", ZKIT_EQUATION, 1);
  for (int n = 1; n <= kNutrients; ++n) model.row(supply, {n}, ZKIT_GREATER, 100);
  const int buy = model.symbol("buy", ZKIT_VARIABLE, 1);
  const int price = model.symbol("price_var", ZKIT_VARIABLE, 1);
  for (int f = 1; f <= kFoods; ++f) {
    const int amount = model.column(buy, {f}, 0, kInfinite, 0);
    const int level = model.column(price, {f}, 0, kInfinite, prices[f - 1]);
    model.product(cost, level, amount, 1);
    for (int n = 1; n <= kNutrients; ++n) {
      if (uniform(random, 0, 1) < 0.75) model.set(n, amount, uniform(random, 1, 30));
    }
  }
  return model.finish();
}

std::vector<double> basePrices() {
  std::mt19937 random(2);
  std::vector<double> prices(kFoods);
  for (double& price : prices) price = uniform(random, 5, 50);
  return prices;
}

void* makeTransport(const std::vector<double>& needs) {
  std::mt19937 random(3);
  Builder model;
  const int cost = model.objective();
  const int supply = model.symbol("supply", ZKIT_EQUATION, 1);
  const int demand = model.symbol("demand", ZKIT_EQUATION, 1);
  const int ship = model.symbol("ship", ZKIT_VARIABLE, 2);
  const int need = model.symbol("need_var", ZKIT_VARIABLE, 1);
  for (int s = 1; s <= kSupplies; ++s) model.row(supply, {s}, ZKIT_LESS, 150);
  for (int d = 1; d <= kDemands; ++d) {
    const int row = model.row(demand, {d}, ZKIT_GREATER, 0);
    model.set(row, model.column(need, {d}, 0, kInfinite, needs[d - 1]), -1);
  }
  for (int s = 1; s <= kSupplies; ++s) {
    for (int d = 1; d <= kDemands; ++d) {
      const int amount = model.column(ship, {s, d}, 0, kInfinite, 0);
      model.set(cost, amount, uniform(random, 1, 100));
      model.set(s, amount, 1);
      model.set(kSupplies + d, amount, 1);
    }
  }
  return model.finish();
}

std::vector<double> baseNeeds() {
  std::mt19937 random(4);
  std::vector<double> needs(kDemands);
  for (double& need : needs) need = uniform(random, 20, 80);
  return needs;
}

void* makeWide(int columns) {
  Builder model;
  const int cost = model.objective();
  const int limit = model.row(model.symbol("limit", ZKIT_EQUATION, 0), {}, ZKIT_LESS, columns);
  const int x = model.symbol("x", ZKIT_VARIABLE, 1);
  const int weight = model.symbol("weight_var", ZKIT_VARIABLE, 1);
  for (int k = 1; k <= columns; ++k) {
    const int column = model.column(x, {k}, 0, 1, 0);
    model.set(cost, column, -1);
    model.product(limit, model.column(weight, {k}, 0, kInfinite, 1), column, 1);
  }
  return model.finish();
}

BroadModel::BroadModel(int columns) : limit(columns / 100.0), cost(1, 1.0), starts(1, 0) {
  std::mt19937 random(5);
  while (static_cast<int>(cost.size()) < columns) cost.push_back(-uniform(random, 1, 2));
  for (int k = 0; k < columns; ++k) {
    const int row = static_cast<int>(random() % (kLimits - 1));
    rows.insert(rows.end(), {row, row + 1 + static_cast<int>(random() % (kLimits - 1 - row))});
    values.insert(values.end(), {uniform(random, 0.5, 1), uniform(random, 0.5, 1)});
    starts.push_back(static_cast<int>(rows.size()));
  }
}

void* makeBroad(const BroadModel& broad) {
  Builder model;
  const int cost = model.objective();
  const int limit = model.symbol("limit", ZKIT_EQUATION, 1);
  for (int i = 1; i <= BroadModel::kLimits; ++i) model.row(limit, {i}, ZKIT_LESS, broad.limit);
  const int x = model.symbol("x", ZKIT_VARIABLE, 1);
  const int fee = model.column(model.symbol("fee_var", ZKIT_VARIABLE, 1), {1}, 0, kInfinite, 1);
  const int columns = static_cast<int>(broad.cost.size());
  for (int k = 0; k < columns; ++k) {
    const int column = model.column(x, {k + 1}, 0, 1, 0);
    k == 0 ? model.product(cost, fee, column, 1) : model.set(cost, column, broad.cost[k]);
    for (int place = broad.starts[k]; place < broad.starts[k + 1]; ++place) {
      model.set(1 + broad.rows[place], column, broad.values[place]);
    }
  }
  return model.finish();
}

namespace {

std::vector<double> changed(const std::vector<double>& base, double spread, int number,
                            double share) {
  std::mt19937 random(static_cast<unsigned>(number) + 1000);
  std::vector<double> values = base;
  for (double& value : values) {
    const double factor = 1 + uniform(random, -spread, spread);
    if (uniform(random, 0, 1) < share) value *= factor;
  }
  return values;
}

}  // namespace

std::vector<double> scenario(const std::vector<double>& base, double spread, int number) {
  return changed(base, spread, number, 1.0);
}

std::vector<double> sparseScenario(const std::vector<double>& base, double spread, int number) {
  return changed(base, spread, number, 0.1);
}
