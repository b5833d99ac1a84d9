// A line chart as an SVG file.
#pragma once

#include <string>
#include <vector>

struct Chart {
  std::string title;
  std::string xTitle;
  std::string yTitle;
  std::vector<double> values;  ///< positive, at least two
  double base = 0;             ///< drawn as a dashed line
  std::string baseText;
};

/// Throws std::runtime_error if the file cannot be written.
void writeChart(const Chart& chart, const std::string& file);
