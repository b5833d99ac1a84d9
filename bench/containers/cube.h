#pragma once

#include <array>
#include <cstddef>
#include <vector>

/// A key of three labels.
using Key = std::array<int, 3>;

/// Different points of a cube of 400 labels a position, chosen at random.
struct Cube {
  static constexpr int kLabels = 400;

  std::vector<Key> inOrder;
  std::vector<Key> shuffled;
  std::vector<Key> probes;  ///< The same again in another random order.
};

/// The same points for the same count in every run. Keeps the cubes it has made.
const Cube& cubeOf(std::size_t count);
