#include "scenarios.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <stdexcept>

#include "dietmodel.h"
#ifdef DIET_HAS_CHART
#include "chart/durationchart.h"
#endif

namespace {

constexpr int kDays = 200;
constexpr int kBarWidth = 40;

/// A day's cheapest diet: its cost and its foods.
struct Day {
  int number = 0;
  double cost = 0;
  std::string menu;
};

/// The data as they are, and the database with which the model of them is solved.
class Kitchen {
 public:
  explicit Kitchen(const std::string& file) : data_(file), instance_(makeModel(data_)) {
    db_.readModel(instance_.get());
    buy_ = db_.symbol("buy");
    cost_ = db_.symbol("cost");
    price_ = db_.addParameter("price", 1);
    need_ = db_.addParameter("need", 1);
  }

  /// Sets prices and needs to the data's, each up to so much more or less.
  void vary(double priceSpread, double needSpread) {
    vary(data_.price, price_, priceSpread);
    vary(data_.need, need_, needSpread);
  }
  Day solve(int number) {
    db_.solve("clp");
    const int status = zkitModelStatus(instance_.get());
    if (status != ZKIT_OPTIMAL) {
      throw std::runtime_error(std::string("no cheapest diet: ") + zkitModelStatusText(status));
    }
    Day day = {number, cost_[{}], ""};
    for (const auto& food : buy_.records()) {
      if (isBought(food)) day.menu.append(day.menu.empty() ? "" : ", ").append(food.label(0));
    }
    return day;
  }
  void printDiet() const {
    for (const auto& food : buy_.records()) {
      if (!isBought(food)) continue;
      std::printf("     %-24s %10.7f dollars a day\n", food.label(0),
                  food.value() * price_[food.key()] / 100);
    }
  }

 private:
  static bool isBought(const zdbcc::Records::Record& food) { return food.value() >= 1e-9; }
  void vary(const zdbcc::Symbol& source, const zdbcc::Symbol& target, double spread) {
    for (const auto& record : source.records()) {
      target.set(record.key(), record.value() * (1 + spread * nextRandom()));
    }
    target.updateModel();
  }
  /// A number between -1 and 1; the same in every run (Marsaglia's xorshift64).
  double nextRandom() {
    random_ ^= random_ << 13;
    random_ ^= random_ >> 7;
    random_ ^= random_ << 17;
    return static_cast<double>(random_ >> 11) / static_cast<double>(1ULL << 52) - 1;
  }

  DietData data_;
  Instance instance_;
  zdbcc::Database db_;
  zdbcc::Symbol buy_;
  zdbcc::Symbol cost_;
  zdbcc::Symbol price_;
  zdbcc::Symbol need_;
  std::uint64_t random_ = 0x9E3779B97F4A7C15ULL;
};

void showProgress(int done) {
  if (isatty(STDOUT_FILENO) == 0) return;
  const std::string bar(static_cast<std::size_t>(kBarWidth * done / kDays), '#');
  std::printf("\r   [%-*s] day %d of %d", kBarWidth, bar.c_str(), done, kDays);
  if (done == kDays) std::printf("\r\033[K");
  std::fflush(stdout);
}

std::vector<Day> solveDays(Kitchen& kitchen) {
  std::vector<Day> days;
  for (int number = 1; number <= kDays; ++number) {
    kitchen.vary(0.3, 0.1);
    days.push_back(kitchen.solve(number));
    showProgress(number);
  }
  return days;
}

#ifdef DIET_HAS_CHART
void write(const std::string& text, const std::string& file) {
  std::ofstream output(file, std::ios::binary);
  if (output << text && output.flush()) return;
  throw std::runtime_error("cannot write " + file + ": " + std::strerror(errno));
}

/// Says why if there can be no picture, since gnuplot is missing: the days are solved all the same.
void drawDays(const std::vector<Day>& days, double base, const std::string& file) {
  zdb::chart::DurationChart chart;
  chart.title = "The cheapest diet when prices and needs change";
  chart.subtitle = std::to_string(days.size()) + " days";
  chart.valueTitle = "dollars a day";
  chart.unitTitle = "days";
  chart.leastTitle = "cheapest";
  chart.mostTitle = "dearest";
  chart.base = base;
  for (const Day& day : days) {
    chart.points.push_back({"day " + std::to_string(day.number), day.cost});
  }
  try {
    write(drawDurationChart(chart), file);
    std::printf("   Chart: %s\n", file.c_str());
  } catch (const zdb::chart::ChartError& failure) {
    std::printf("   No chart: %s\n", failure.what());
  }
}
#else
/// The sources that draw it are the tool's, which are not installed with the examples.
void drawDays(const std::vector<Day>& /*days*/, double /*base*/, const std::string& /*file*/) {
  std::printf("   No chart: the demo is built without what draws it\n");
}
#endif

void printDay(const char* which, const Day& day) {
  std::printf("   %-9s %5d  %8.4f  %s\n", which, day.number, day.cost, day.menu.c_str());
}

}  // namespace

void runScenarios(const std::string& file, const std::string& chart) {
  std::printf("\n5. The cheapest diet\n");
  Kitchen kitchen(file);
  kitchen.vary(0, 0);
  const Day base = kitchen.solve(0);
  std::printf("   It costs %.10f dollars a day, %.2f dollars a year\n", base.cost, 365 * base.cost);
  kitchen.printDiet();

  std::printf("\n6. Other days\n");
  const auto start = std::chrono::steady_clock::now();
  std::vector<Day> days = solveDays(kitchen);
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
  std::printf(
      "   %d days with prices up to 30%% and needs up to 10%% off, solved in %.2f seconds\n", kDays,
      seconds.count());
  std::ranges::sort(days, {}, &Day::cost);
  std::printf("   %-9s %5s  %8s  %s\n", "", "day", "dollars", "foods");
  printDay("cheapest", days.front());
  printDay("median", days[days.size() / 2]);
  printDay("dearest", days.back());
  drawDays(days, base.cost, chart);
}
