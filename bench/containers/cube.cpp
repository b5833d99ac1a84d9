#include "cube.h"

#include <algorithm>
#include <map>
#include <random>

namespace {

Cube make(std::size_t count) {
  constexpr int n = Cube::kLabels;
  constexpr int kPoints = n * n * n;
  std::mt19937 random(20240611);
  std::uniform_int_distribution<int> anyPoint(0, kPoints - 1);
  std::vector<bool> taken(kPoints);
  Cube cube;
  while (cube.shuffled.size() < count) {
    const int point = anyPoint(random);
    if (taken[static_cast<std::size_t>(point)]) continue;
    taken[static_cast<std::size_t>(point)] = true;
    cube.shuffled.push_back({1 + point / (n * n), 1 + point / n % n, 1 + point % n});
  }
  cube.inOrder = cube.shuffled;
  std::sort(cube.inOrder.begin(), cube.inOrder.end());
  cube.probes = cube.shuffled;
  std::shuffle(cube.probes.begin(), cube.probes.end(), random);
  return cube;
}

}  // namespace

const Cube& cubeOf(std::size_t count) {
  static std::map<std::size_t, Cube> cubes;
  const auto found = cubes.find(count);
  return found != cubes.end() ? found->second : cubes.emplace(count, make(count)).first->second;
}
