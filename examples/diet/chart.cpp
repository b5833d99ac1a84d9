#include "chart.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace {

constexpr int kWidth = 900;
constexpr int kHeight = 420;
constexpr int kLeft = 70;
constexpr int kRight = 20;
constexpr int kTop = 50;
constexpr int kBottom = 60;

/// The numbers on an axis: multiples of `step`, low <= number <= high.
struct Axis {
  double low;
  double high;
  double step;
};

Axis axisFor(double least, double most) {
  const double rough = (most - least) / 5 > 0 ? (most - least) / 5 : most / 5;
  const double power = std::pow(10, std::floor(std::log10(rough)));
  const double times = rough / power;
  const double step = (times <= 1 ? 1 : times <= 2 ? 2 : times <= 5 ? 5 : 10) * power;
  return {std::floor(least / step) * step, std::ceil(most / step) * step, step};
}

Axis valueAxis(const Chart& chart) {
  const auto [least, most] = std::ranges::minmax(chart.values);
  return axisFor(std::min(least, chart.base), std::max(most, chart.base));
}

double xOf(const Chart& chart, std::size_t i) {
  return kLeft + static_cast<double>(kWidth - kLeft - kRight) * static_cast<double>(i) /
                     static_cast<double>(chart.values.size() - 1);
}

double yOf(const Axis& axis, double value) {
  const double part = (value - axis.low) / (axis.high - axis.low);
  return kHeight - kBottom - part * (kHeight - kTop - kBottom);
}

void drawGrid(std::FILE* out, const Axis& axis) {
  const int lines = static_cast<int>(std::lround((axis.high - axis.low) / axis.step));
  for (int i = 0; i <= lines; ++i) {
    const double value = axis.low + i * axis.step;
    const double y = yOf(axis, value);
    std::fprintf(out, "<path d='M%d %.1fH%d' stroke='#ddd'/>\n", kLeft, y, kWidth - kRight);
    std::fprintf(out, "<text x='%d' y='%.1f' text-anchor='end'>%.3g</text>\n", kLeft - 8, y + 4,
                 value);
  }
}

void drawTitles(std::FILE* out, const Chart& chart) {
  std::fprintf(out, "<text x='%d' y='28' font-size='18'>%s</text>\n", kLeft, chart.title.c_str());
  std::fprintf(out, "<text x='%d' y='%d' text-anchor='middle'>%s</text>\n",
               (kLeft + kWidth - kRight) / 2, kHeight - 15, chart.xTitle.c_str());
  std::fprintf(out,
               "<text transform='translate(20 %d) rotate(-90)' text-anchor='middle'>%s</text>\n",
               (kTop + kHeight - kBottom) / 2, chart.yTitle.c_str());
  for (std::size_t i = 0; i < chart.values.size(); i += (chart.values.size() + 7) / 8) {
    std::fprintf(out, "<text x='%.1f' y='%d' text-anchor='middle'>%zu</text>\n", xOf(chart, i),
                 kHeight - kBottom + 20, i + 1);
  }
}

void drawValues(std::FILE* out, const Chart& chart, const Axis& axis) {
  std::fprintf(out, "<polyline fill='none' stroke='#1f6fb4' stroke-width='1.5' points='");
  for (std::size_t i = 0; i < chart.values.size(); ++i) {
    std::fprintf(out, "%.1f,%.1f ", xOf(chart, i), yOf(axis, chart.values[i]));
  }
  std::fprintf(out, "'/>\n");
  const double y = yOf(axis, chart.base);
  std::fprintf(out, "<path d='M%d %.1fH%d' stroke='#c33' stroke-dasharray='6 4'/>\n", kLeft, y,
               kWidth - kRight);
  std::fprintf(out,
               "<text x='%d' y='%.1f' text-anchor='end' fill='#c33' stroke='white' "
               "stroke-width='4' paint-order='stroke'>%s</text>\n",
               kWidth - kRight - 4, y - 6, chart.baseText.c_str());
}

void draw(std::FILE* out, const Chart& chart) {
  const Axis axis = valueAxis(chart);
  std::fprintf(
      out,
      "<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 %d %d' font-family='sans-serif' "
      "font-size='13'>\n<rect width='%d' height='%d' fill='white'/>\n",
      kWidth, kHeight, kWidth, kHeight);
  drawGrid(out, axis);
  drawTitles(out, chart);
  drawValues(out, chart, axis);
  std::fprintf(out, "</svg>\n");
}

}  // namespace

void writeChart(const Chart& chart, const std::string& file) {
  std::FILE* out = std::fopen(file.c_str(), "w");
  bool isWritten = out != nullptr;
  if (isWritten) {
    draw(out, chart);
    isWritten = std::ferror(out) == 0;
    isWritten = std::fclose(out) == 0 && isWritten;
  }
  if (isWritten) return;
  throw std::runtime_error("cannot write " + file + ": " + std::strerror(errno));
}
