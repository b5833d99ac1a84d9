#pragma once

#include <optional>
#include <string>
#include <vector>

#include "output.h"

namespace zdb::tool {

/// What a picture of a sweep shows.
struct SweepChart {
  std::string title;
  struct Point {
    std::string scenario;
    double objective;
  };
  std::vector<Point> points;   ///< those that have an objective, at least one
  std::size_t without = 0;     ///< scenarios that have none
  std::optional<double> base;  ///< objective of the model as it is
};

/// Draws the objectives as an SVG picture: a duration curve (the largest first, over the share of
/// scenarios that reach it) above a histogram. Base, least and largest are marked.
void drawSweepChart(const SweepChart& chart, Output& output);

}  // namespace zdb::tool
