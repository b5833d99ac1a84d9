#include "data.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <random>

std::vector<Row> makeRows(int count, Values values) {
  std::mt19937_64 random(42);
  std::uniform_int_distribution<int> label(1, kLabels);
  std::uniform_real_distribution<double> uniform(0, 10000);
  std::vector<Row> rows;
  while (rows.size() < static_cast<std::size_t>(count)) {
    while (rows.size() < static_cast<std::size_t>(count)) {
      const double value = uniform(random);
      const bool rounded = values == Values::TwoDecimals;
      rows.push_back({{label(random), label(random), label(random)},
                      rounded ? std::round(value * 100) / 100 : value});
    }
    std::sort(rows.begin(), rows.end(), [](const Row& a, const Row& b) { return a.key < b.key; });
    const auto end = std::unique(rows.begin(), rows.end(),
                                 [](const Row& a, const Row& b) { return a.key == b.key; });
    rows.erase(end, rows.end());
  }
  return rows;
}

ScratchFile::ScratchFile(const char* ending)
    : path_(std::filesystem::temp_directory_path() /
            ("bench_zxf_" + std::to_string(getpid()) + ending)) {}

ScratchFile::~ScratchFile() {
  std::error_code ignored;
  std::filesystem::remove(path_, ignored);
}

double ScratchFile::size() const {
  return static_cast<double>(std::filesystem::file_size(path_));
}
