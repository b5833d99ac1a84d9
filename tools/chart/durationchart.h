#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "chart/gnuplot.h"

namespace zdb::chart {

/// Values of many scenarios of the same weight.
struct DurationChart {
  struct Point {
    std::string name;
    double value;
  };

  std::string title;
  std::string subtitle;
  std::string valueTitle = "objective";
  std::string unitTitle = "scenarios";  ///< what the points are
  std::string leastTitle = "least";
  std::string mostTitle = "largest";
  std::string baseTitle = "base";
  std::vector<Point> points;   ///< at least one
  std::optional<double> base;  ///< a value to compare with
};

/// Draws an SVG picture: a duration curve (the largest value first, over the share of points that
/// reach it) above a histogram, with base, least, median (the upper one of
/// two) and largest value marked. The picture has
/// a title and a description for readers of screens, and colours for light and for dark ground.
/// Throws ChartError if gnuplot is missing or fails. About 50 ms.
std::string drawDurationChart(const DurationChart& chart);

}  // namespace zdb::chart
