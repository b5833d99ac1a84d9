#pragma once

#include <array>
#include <cstddef>
#include <tuple>
#include <vector>

/// A key of three labels.
using Key = std::array<int, 3>;

/// A number of different points of a grid, and the number of labels per position.
struct Shape {
  std::array<int, 3> labels;
  std::size_t records;

  bool operator<(const Shape& other) const {
    return std::tie(labels, records) < std::tie(other.labels, other.records);
  }
};

/// Points that share parts of their keys only by chance.
constexpr Shape scattered(std::size_t records) {
  return {{400, 400, 400}, records};
}

/// All points of a grid in which six records each share their first two labels.
inline constexpr Shape kPrefixes{{400, 400, 6}, 960000};

/// The points of a shape, chosen at random.
struct Cube {
  std::vector<Key> inOrder;
  std::vector<Key> shuffled;
  std::vector<Key> probes;  ///< the same in another random order
};

/// The same points for the same shape in every run. Caches the cubes.
const Cube& cubeOf(const Shape& shape);
