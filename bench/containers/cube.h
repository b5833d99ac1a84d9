#pragma once

#include <array>
#include <cstddef>
#include <tuple>
#include <vector>

/// A key of three labels.
using Key = std::array<int, 3>;

/// So many different points of a grid with so many labels a position.
struct Shape {
  std::array<int, 3> labels;
  std::size_t records;

  bool operator<(const Shape& other) const {
    return std::tie(labels, records) < std::tie(other.labels, other.records);
  }
};

/// Points that share no more of their keys than they do by chance.
constexpr Shape scattered(std::size_t records) {
  return {{400, 400, 400}, records};
}

/// All points of a grid in which six records each share their first two labels.
inline constexpr Shape kPrefixes{{400, 400, 6}, 960000};

/// The points of a shape, chosen at random.
struct Cube {
  std::vector<Key> inOrder;
  std::vector<Key> shuffled;
  std::vector<Key> probes;  ///< The same again in another random order.
};

/// The same points for the same shape in every run. Keeps the cubes it has made.
const Cube& cubeOf(const Shape& shape);
