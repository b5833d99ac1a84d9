#include "columns.h"

#include <cstdio>
#include <cstdlib>
#include <map>
#include <numeric>
#include <random>
#include <string>

#include <algorithm>

namespace {

Columns spread(std::size_t records) {
  constexpr int n = Columns::kLabels;
  const std::size_t step = std::size_t{n} * n * n / records;
  std::mt19937 random(20240611);
  std::uniform_int_distribution<std::size_t> anywhere(0, step - 1);
  std::uniform_real_distribution<double> value(0, 1000);
  Columns made;
  for (std::size_t i = 0; i < records; ++i) {
    const int point = static_cast<int>(i * step + anywhere(random));
    const int key[] = {1 + point / (n * n), n + 1 + point / n % n, 2 * n + 1 + point % n};
    for (std::size_t d = 0; d < 3; ++d) made.keys[d].push_back(key[d]);
    made.values.push_back(value(random));
  }
  return made;
}

Columns shuffled(const Columns& sorted) {
  std::vector<std::size_t> order(sorted.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::shuffle(order.begin(), order.end(), std::mt19937(4711));
  Columns made;
  for (const std::size_t row : order) {
    for (std::size_t d = 0; d < 3; ++d) made.keys[d].push_back(sorted.keys[d][row]);
    made.values.push_back(sorted.values[row]);
  }
  return made;
}

}  // namespace

void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "bench_bulk: %s failed\n", what);
  std::abort();
}

zdbx_columns Columns::view(std::size_t from, std::size_t count) const {
  zdbx_columns records = {};
  records.size = sizeof records;
  records.rows = static_cast<std::int64_t>(count);
  for (std::size_t d = 0; d < 3; ++d) records.keys[d].data = keys[d].data() + from;
  records.values[0].data = values.data() + from;
  return records;
}

const Columns& sortedColumns(std::size_t records) {
  static std::map<std::size_t, Columns> made;
  if (!made.contains(records)) made.emplace(records, spread(records));
  return made.at(records);
}

const Columns& shuffledColumns(std::size_t records) {
  static std::map<std::size_t, Columns> made;
  if (!made.contains(records)) made.emplace(records, shuffled(sortedColumns(records)));
  return made.at(records);
}

Target::Target(int storage) {
  for (int i = 1; i <= 3 * Columns::kLabels; ++i) db_.addLabel("l" + std::to_string(i));
  db_.setDefaultStorage(storage);
  symbol_ = db_.addParameter("p", 3);
}

void Target::put(const zdbx_columns& records) {
  require(symbol_.put(records).done == records.rows, "putting all");
}
