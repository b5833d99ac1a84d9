#include "cube.h"

#include <algorithm>
#include <map>
#include <random>

namespace {

Cube make(const Shape& shape) {
  const auto [first, second, third] = shape.labels;
  const int points = first * second * third;
  std::mt19937 random(20240611);
  std::uniform_int_distribution<int> anyPoint(0, points - 1);
  std::vector<bool> taken(static_cast<std::size_t>(points));
  Cube cube;
  while (cube.shuffled.size() < shape.records) {
    const int point = anyPoint(random);
    if (taken[static_cast<std::size_t>(point)]) continue;
    taken[static_cast<std::size_t>(point)] = true;
    const int row = point / third;
    cube.shuffled.push_back({1 + row / second, 1 + row % second, 1 + point % third});
  }
  cube.inOrder = cube.shuffled;
  std::sort(cube.inOrder.begin(), cube.inOrder.end());
  cube.probes = cube.shuffled;
  std::shuffle(cube.probes.begin(), cube.probes.end(), random);
  return cube;
}

}  // namespace

const Cube& cubeOf(const Shape& shape) {
  static std::map<Shape, Cube> cubes;
  const auto found = cubes.find(shape);
  return found != cubes.end() ? found->second : cubes.emplace(shape, make(shape)).first->second;
}
