#include "sweepchart.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "console.h"

namespace zdb::tool {

namespace {

using Point = SweepChart::Point;

constexpr double kWidth = 900;
constexpr double kLeft = 110;
constexpr double kRight = 30;
constexpr double kPlotWidth = kWidth - kLeft - kRight;

/// A part of the picture with axes of its own.
struct Panel {
  double top;
  double height;
  double bottom() const { return top + height; }
};
constexpr Panel kCurve = {80, 260};
constexpr Panel kHistogram = {440, 160};
constexpr double kHeight = 670;
constexpr double kTextHeight = 16;
constexpr std::size_t kMostPoints = 2000;  // of a curve; more cannot be seen

constexpr const char* kCurveColor = "#1f6fb4";
constexpr const char* kBaseColor = "#c33";

/// Multiples of `step` from `low` to `high`, which enclose what is shown.
struct Axis {
  double low;
  double high;
  double step;

  int ticks() const { return static_cast<int>(std::lround((high - low) / step)); }
  double tick(int i) const { return low + i * step; }
  double part(double value) const { return (value - low) / (high - low); }
};

Axis axisFor(double least, double most, int intervals) {
  // Values that hardly differ have an axis around them.
  const double size = std::max(std::abs(least), std::abs(most));
  const double width = most - least > 1e-9 * size ? most - least : size > 0 ? 0.1 * size : 1;
  const double rough = width / intervals;
  const double power = std::pow(10, std::floor(std::log10(rough)));
  const double times = rough / power;
  const double step = (times <= 1 ? 1 : times <= 2 ? 2 : times <= 5 ? 5 : 10) * power;
  Axis axis = {std::floor(least / step) * step, std::ceil(most / step) * step, step};
  if (axis.high <= axis.low) axis.high = axis.low + step;
  return axis;
}

/// A tick, with as many decimals as the step needs.
std::string tickText(double value, double step) {
  char text[64];
  const double size = std::max(std::abs(value), step);
  if (std::abs(value) < step / 2) return "0";
  if (size >= 1e9 || size < 1e-4) {
    const int digits =
        static_cast<int>(std::floor(std::log10(size)) - std::floor(std::log10(step)));
    std::snprintf(text, sizeof text, "%.*e", std::clamp(digits, 0, 15), value);
    return text;
  }
  const int decimals = std::max(0, static_cast<int>(-std::floor(std::log10(step) + 1e-9)));
  std::snprintf(text, sizeof text, "%.*f", decimals, value);
  return text;
}

std::string valueText(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.10g", value);
  return text;
}

std::string escaped(const std::string& text) {
  std::string result;
  for (const char c : printable(text)) {
    switch (c) {
      case '&':
        result += "&amp;";
        break;
      case '<':
        result += "&lt;";
        break;
      case '>':
        result += "&gt;";
        break;
      default:
        result += c;
    }
  }
  return result;
}

/// A name that leaves room for other things.
std::string shortened(const std::string& name) {
  constexpr std::size_t longest = 28;
  if (name.size() <= longest) return name;
  std::size_t end = longest;
  while (end > 0 && (static_cast<unsigned char>(name[end]) & 0xC0) == 0x80) --end;  // of UTF-8
  return name.substr(0, end) + "...";
}

class Drawing {
 public:
  Drawing(const SweepChart& chart, Output& output) : chart_(chart), output_(output) {
    points_ = chart.points;
    std::stable_sort(points_.begin(), points_.end(),
                     [](const Point& a, const Point& b) { return a.objective > b.objective; });
    const double least = points_.back().objective;
    const double most = points_.front().objective;
    const double base = chart.base.value_or(least);
    values_ = axisFor(std::min(least, base), std::max(most, base), 5);
    // Room for words below the lowest line, which the numbers of the other axis would meet.
    if (values_.part(std::min(least, base)) < 0.12) values_.low -= values_.step;
  }

  void draw() {
    print(
        "<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 %g %g' width='%g' height='%g' "
        "font-family='sans-serif' font-size='13'>\n<rect width='%g' height='%g' fill='white'/>\n",
        kWidth, kHeight, kWidth, kHeight, kWidth, kHeight);
    text(kLeft, 28, "start", "font-size='18'", chart_.title);
    text(kLeft, 52, "start", "fill='#555'", subtitle());
    drawCurve();
    drawHistogram();
    output_.write("</svg>\n");
  }

 private:
  template <typename... Values>
  void print(const char* format, Values... values) {
    char line[512];
    std::snprintf(line, sizeof line, format, values...);
    output_.write(line);
  }

  void text(double x, double y, const char* anchor, const char* style, const std::string& words) {
    print("<text x='%.1f' y='%.1f' text-anchor='%s' %s>", x, y, anchor, style);
    output_.write(escaped(words) + "</text>\n");
  }

  std::string subtitle() const {
    std::string words = counted(points_.size(), "scenario");
    if (chart_.without > 0)
      words += ", and " + std::to_string(chart_.without) + " without a solution";
    if (chart_.base) words += "; base " + valueText(*chart_.base);
    return words;
  }

  double yOf(double objective) const {
    return kCurve.bottom() - values_.part(objective) * kCurve.height;
  }
  double xOf(double share) const { return kLeft + share * kPlotWidth; }

  void drawCurve() {
    for (int i = 0; i <= values_.ticks(); ++i) {
      const double y = yOf(values_.tick(i));
      print("<path d='M%g %.1fH%g' stroke='#ddd'/>\n", kLeft, y, kWidth - kRight);
      text(kLeft - 8, y + 4, "end", "", tickText(values_.tick(i), values_.step));
    }
    for (int percent = 0; percent <= 100; percent += 20) {
      text(xOf(percent / 100.0), kCurve.bottom() + 20, "middle", "",
           std::to_string(percent) + " %");
    }
    titles(kCurve, "share of scenarios with at least this objective", "objective");
    drawSteps();
    if (chart_.base) drawBase();
    drawExtremes();
  }

  void titles(const Panel& panel, const char* x, const char* y) {
    text(xOf(0.5), panel.bottom() + 42, "middle", "", x);
    print("<text transform='translate(20 %.1f) rotate(-90)' text-anchor='middle'>%s</text>\n",
          panel.top + panel.height / 2, y);
  }

  // Each scenario has a step as wide as its share.
  void drawSteps() {
    print("<path fill='none' stroke='%s' stroke-width='1.5' d='M%.1f %.1f", kCurveColor, xOf(0),
          yOf(points_.front().objective));
    const auto count = static_cast<double>(points_.size());
    const std::size_t stride = (points_.size() + kMostPoints - 1) / kMostPoints;
    for (std::size_t i = 0; i < points_.size(); i += stride) {
      const std::size_t end = std::min(i + stride, points_.size());
      print("V%.1fH%.1f", yOf(points_[i].objective), xOf(static_cast<double>(end) / count));
    }
    output_.write("'/>\n");
  }

  void drawBase() {
    const double y = yOf(*chart_.base);
    print("<path d='M%g %.1fH%g' stroke='%s' stroke-dasharray='6 4'/>\n", kLeft, y, kWidth - kRight,
          kBaseColor);
    // In the middle, and away from the curve, which falls from left to right.
    const auto above = std::count_if(points_.begin(), points_.end(), [&](const Point& point) {
      return point.objective > *chart_.base;
    });
    const bool isRight = 2 * static_cast<std::size_t>(above) < points_.size();
    mark(xOf(isRight ? 0.62 : 0.38), isRight ? y - 6 : y + kTextHeight, isRight ? "start" : "end",
         kBaseColor, "base " + valueText(*chart_.base));
  }

  void drawExtremes() {
    const Point& most = points_.front();
    const Point& least = points_.back();
    dot(xOf(0), yOf(most.objective));
    mark(xOf(0) + 8, yOf(most.objective) - 6, "start", kCurveColor,
         "largest " + valueText(most.objective) + ": " + shortened(most.scenario));
    dot(xOf(1), yOf(least.objective));
    mark(xOf(1) - 8, yOf(least.objective) + kTextHeight, "end", kCurveColor,
         "least " + valueText(least.objective) + ": " + shortened(least.scenario));
  }

  void dot(double x, double y) {
    print("<circle cx='%.1f' cy='%.1f' r='4' fill='%s'/>\n", x, y, kCurveColor);
  }

  // Readable also over a line.
  void mark(double x, double y, const char* anchor, const char* color, const std::string& words) {
    const std::string style =
        std::string("fill='") + color + "' stroke='white' stroke-width='4' paint-order='stroke'";
    text(x, y, anchor, style.c_str(), words);
  }

  void drawHistogram() {
    const Axis bins = binAxis();
    std::vector<int> counts(static_cast<std::size_t>(bins.ticks()));
    for (const Point& point : points_) {
      const int bin = static_cast<int>((point.objective - bins.low) / bins.step);
      ++counts[static_cast<std::size_t>(std::clamp(bin, 0, bins.ticks() - 1))];
    }
    const int highest = *std::max_element(counts.begin(), counts.end());
    const Axis heights = countAxis(highest);
    for (int i = 0; i <= heights.ticks(); ++i) {
      const double y = kHistogram.bottom() - heights.part(heights.tick(i)) * kHistogram.height;
      print("<path d='M%g %.1fH%g' stroke='#ddd'/>\n", kLeft, y, kWidth - kRight);
      text(kLeft - 8, y + 4, "end", "", tickText(heights.tick(i), heights.step));
    }
    for (int i = 0; i < bins.ticks(); ++i) drawBar(bins, heights, i, counts[i]);
    for (int i = 0; i <= values_.ticks(); ++i) {
      const double x = xOf(values_.part(values_.tick(i)));
      print("<path d='M%.1f %.1fv5' stroke='#555'/>\n", x, kHistogram.bottom());
      text(x, kHistogram.bottom() + 20, "middle", "", tickText(values_.tick(i), values_.step));
    }
    if (chart_.base) {
      print("<path d='M%.1f %.1fV%.1f' stroke='%s' stroke-dasharray='6 4'/>\n",
            xOf(values_.part(*chart_.base)), kHistogram.top - 8, kHistogram.bottom(), kBaseColor);
    }
    titles(kHistogram, "objective", "scenarios");
  }

  // Bins that divide the steps of the axis of values: 5 to 25, more where there are more scenarios.
  Axis binAxis() const {
    const int each = points_.size() >= 200 ? 5 : points_.size() >= 30 ? 2 : 1;
    return {values_.low, values_.high, values_.step / each};
  }

  static Axis countAxis(int highest) {
    Axis axis = axisFor(0, highest, 4);
    if (axis.step < 1) axis = {0, static_cast<double>(highest), 1};
    return axis;
  }

  void drawBar(const Axis& bins, const Axis& heights, int bin, int count) {
    if (count == 0) return;
    const double x = xOf(bins.part(bins.tick(bin)));
    const double width = kPlotWidth / bins.ticks();
    const double height = heights.part(count) * kHistogram.height;
    print("<rect x='%.1f' y='%.1f' width='%.1f' height='%.1f' fill='%s' fill-opacity='0.6'/>\n",
          x + 1, kHistogram.bottom() - height, std::max(width - 2, 0.5), height, kCurveColor);
  }

  const SweepChart& chart_;
  Output& output_;
  std::vector<Point> points_;  ///< the largest first
  Axis values_{};
};

}  // namespace

void drawSweepChart(const SweepChart& chart, Output& output) {
  Drawing(chart, output).draw();
}

}  // namespace zdb::tool
