#include "dataset.h"

#include <algorithm>
#include <random>

namespace {

constexpr int kCube = Dataset::kLabels * Dataset::kLabels * Dataset::kLabels;

std::vector<std::string> makeLabels() {
  std::vector<std::string> labels;
  for (char position : {'i', 'j', 'k'}) {
    for (int n = 1; n <= Dataset::kLabels; ++n) labels.push_back(position + std::to_string(n));
  }
  return labels;
}

/// Records at random points of the cube, until there are enough.
std::vector<int> makePoints(std::mt19937& random) {
  std::vector<bool> taken(kCube);
  std::uniform_int_distribution<int> anyPoint(0, kCube - 1);
  std::vector<int> points;
  while (points.size() < Dataset::kRecords) {
    const int point = anyPoint(random);
    if (taken[static_cast<std::size_t>(point)]) continue;
    taken[static_cast<std::size_t>(point)] = true;
    points.push_back(point);
  }
  std::sort(points.begin(), points.end());
  return points;
}

Dataset make() {
  constexpr int n = Dataset::kLabels;
  std::mt19937 random(20240611);
  std::uniform_real_distribution<double> value(0, 1000);
  Dataset data;
  data.labels = makeLabels();
  for (int point : makePoints(random)) {
    data.keys.push_back({1 + point / (n * n), n + 1 + point / n % n, 2 * n + 1 + point % n});
    data.values.push_back(value(random));
  }
  for (const auto& key : data.keys) {
    const auto text = [&](int label) {
      return data.labels[static_cast<std::size_t>(label - 1)].c_str();
    };
    data.texts.push_back({text(key[0]), text(key[1]), text(key[2])});
  }
  data.shuffled = data.texts;
  std::shuffle(data.shuffled.begin(), data.shuffled.end(), random);
  return data;
}

}  // namespace

const Dataset& dataset() {
  static const Dataset data = make();
  return data;
}
