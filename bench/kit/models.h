// The models that are solved repeatedly.
#pragma once

#include <random>
#include <vector>

/// Aborts with a message if a condition of the measurement is false.
void require(bool holds, const char* what);

/// An instance that frees itself.
class KitInstance {
 public:
  explicit KitInstance(void* handle) : handle_(handle) {}
  ~KitInstance();
  KitInstance(const KitInstance&) = delete;
  KitInstance& operator=(const KitInstance&) = delete;

  void* get() const { return handle_; }
  /// Solves from scratch; aborts unless the solution is optimal.
  void solve(const char* solver) const;
  void requireOptimal() const;

 private:
  void* handle_;
};

/// The diet: 77 foods, 9 nutrients, least cost. The parameter is price(food); in all models the
/// labels of the parameter are "1", "2", ...
inline constexpr int kFoods = 77;
inline constexpr int kNutrients = 9;
void* makeDiet(const std::vector<double>& prices);
std::vector<double> basePrices();

/// 200 supplies, 400 demands, every route open. The parameter is need(demand).
inline constexpr int kSupplies = 200;
inline constexpr int kDemands = 400;
void* makeTransport(const std::vector<double>& needs);
std::vector<double> baseNeeds();

/// One row over `columns` columns, each with a coefficient that is the parameter weight(column).
void* makeWide(int columns);

/// 50 limits over columns between 0 and 1, each in two of them. By column.
struct BroadModel {
  static constexpr int kLimits = 50;
  explicit BroadModel(int columns);

  double limit;
  std::vector<double> cost;  ///< of the first column 1
  std::vector<int> starts;
  std::vector<int> rows;
  std::vector<double> values;
};
/// An instance of it, in which the cost of the first column is the parameter fee(1).
void* makeBroad(const BroadModel& broad);

/// Values up to `spread` more or less than the base values, different in each scenario.
std::vector<double> scenario(const std::vector<double>& base, double spread, int number);
/// The same for one in ten of the values; the others are the base values.
std::vector<double> sparseScenario(const std::vector<double>& base, double spread, int number);
