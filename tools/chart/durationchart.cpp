#include "chart/durationchart.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <string_view>

namespace zdb::chart {

namespace {

using Point = DurationChart::Point;

constexpr std::size_t kMostSteps = 2000;  // of a curve; more cannot be seen

/// A colour on light ground, and what stands for it on dark ground.
struct Color {
  unsigned light;
  unsigned dark;
};
constexpr Color kGround = {0xffffff, 0x14181e};
constexpr Color kInk = {0x1b2430, 0xe4e9ef};
constexpr Color kSoft = {0x556273, 0xa0adbb};
constexpr Color kRule = {0xd4dae2, 0x39434f};
constexpr Color kCurve = {0x1a66b0, 0x6fb3f2};
constexpr Color kBars = {0x7aaedd, 0x3f7fb8};
constexpr Color kBase = {0xb3362b, 0xf0857b};

template <typename... Values>
std::string format(const char* pattern, Values... values) {
  std::array<char, 512> text{};
  std::snprintf(text.data(), text.size(), pattern, values...);
  return text.data();
}

std::string lineColor(const Color& color) {
  return format(" linecolor rgb '#%06x'", color.light);
}

std::string textColor(const Color& color) {
  return format(" textcolor rgb '#%06x'", color.light);
}

/// A name that leaves room for other things.
std::string shortened(const std::string& name, std::size_t longest) {
  std::string text = plainText(name);
  if (text.size() <= longest) return text;
  std::size_t end = longest;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;  // of UTF-8
  return text.substr(0, end) + "...";
}

/// The least of 1, 2, 5, 10 ... times a power of ten that is not below.
double plainStep(double rough) {
  const double power = std::pow(10, std::floor(std::log10(rough)));
  const double times = rough / power;
  return (times <= 1 ? 1 : times <= 2 ? 2 : times <= 5 ? 5 : 10) * power;
}

/// The axis of values: multiples of `step` from `low` to `high`, which enclose all.
struct Axis {
  double low;
  double high;
  double step;
};

Axis axisAround(double least, double most) {
  // Values that hardly differ have an axis around them.
  const double size = std::max(std::abs(least), std::abs(most));
  const double width = most - least > 1e-9 * size ? most - least : size > 0 ? 0.1 * size : 1;
  const double step = plainStep(width / 6);
  return {std::floor((least - 0.04 * width) / step) * step,
          std::ceil((most + 0.04 * width) / step) * step, step};
}

/// Writes the script of a picture.
class Script {
 public:
  explicit Script(const DurationChart& chart) : chart_(chart), sorted_(chart.points) {
    std::ranges::stable_sort(sorted_, {}, &Point::value);
    const double base = chart.base.value_or(least().value);
    axis_ = axisAround(std::min(least().value, base), std::max(most().value, base));
  }

  std::string text() {
    start();
    curve();
    histogram();
    return text_;
  }

  std::string description() const {
    std::string words = chart_.subtitle + ". " + mark(chart_.mostTitle, most()) + "; " +
                        mark("median", median()) + "; " + mark(chart_.leastTitle, least());
    if (chart_.base) words += "; " + baseText();
    return words + ".";
  }

 private:
  const Point& least() const { return sorted_.front(); }
  const Point& most() const { return sorted_.back(); }
  const Point& median() const { return sorted_[sorted_.size() / 2]; }

  /// With two digits more than the steps of the axis have.
  std::string valueText(double value) const {
    const double size = std::max(std::abs(axis_.low), std::abs(axis_.high));
    const int digits = static_cast<int>(std::ceil(std::log10(size / axis_.step))) + 2;
    return format("%.*g", std::clamp(digits, 3, 15), value);
  }

  std::string mark(const std::string& title, const Point& point) const {
    return title + " " + valueText(point.value) + ": " + shortened(point.name, 24);
  }
  std::string baseText() const { return chart_.baseTitle + " " + valueText(*chart_.base); }

  void line(const std::string& words) { text_ += words + '\n'; }

  void start() {
    line("set encoding utf8");
    line("set terminal svg size 900,720 dynamic noenhanced font 'sans-serif,14'");
    line("set multiplot");
    line("set border 3" + lineColor(kSoft));
    line("set tics nomirror scale 0.5" + textColor(kInk));
    line("set grid ytics linetype 1" + lineColor(kRule));
    line("set format '%.10g'");
    line("set lmargin at screen 0.14");
    line("set rmargin at screen 0.95");
    words(1, chart_.title, 0.965, 18, kInk);
    words(2, chart_.subtitle, 0.925, 14, kSoft);
  }

  void words(int number, const std::string& text, double height, int size, const Color& color) {
    line(format("set label %d %s at screen 0.02,%g front font 'sans-serif,%d'", number,
                gnuplotText(shortened(text, 100)).c_str(), height, size) +
         textColor(color));
  }

  void titles(const std::string& x, const std::string& y) {
    line("set xlabel " + gnuplotText(x) + textColor(kInk));
    line("set ylabel " + gnuplotText(y) + textColor(kInk));
  }

  void range(char axis) { line(format("set %crange [%.17g:%.17g]", axis, axis_.low, axis_.high)); }

  // Each point has a step as wide as its share.
  void curve() {
    const auto count = static_cast<double>(sorted_.size());
    const std::size_t stride = (sorted_.size() + kMostSteps - 1) / kMostSteps;
    line("$curve << end");
    for (std::size_t i = 0; i < sorted_.size(); i += stride) {
      const Point& point = sorted_[sorted_.size() - 1 - i];
      line(format("%.17g %.17g", 100 * static_cast<double>(i) / count, point.value));
    }
    line(format("100 %.17g\nend", least().value));
    line("set tmargin at screen 0.80");
    line("set bmargin at screen 0.44");
    line("set key at screen 0.02,0.90 left top Left reverse maxrows 2 samplen 2 width 0" +
         textColor(kInk));
    line("set xrange [0:100]");
    range('y');
    line("set xtics 20");
    titles("share of " + chart_.unitTitle + " with at least this value, %", chart_.valueTitle);
    plotCurve();
  }

  void plotCurve() {
    block("most", 0, most());
    block("median", 50, median());
    block("least", 100, least());
    std::string plot = "plot $curve with steps linewidth 2" + lineColor(kCurve) + " notitle";
    if (chart_.base) {
      plot += format(", %.17g with lines dashtype 2 linewidth 1.5", *chart_.base) +
              lineColor(kBase) + " title " + gnuplotText(baseText());
    }
    line(plot + marked("most", 9, mark(chart_.mostTitle, most())) +
         marked("median", 7, mark("median", median())) +
         marked("least", 11, mark(chart_.leastTitle, least())));
  }

  void block(const char* name, double share, const Point& point) {
    line(format("$%s << end\n%g %.17g\nend", name, share, point.value));
  }

  // Of a shape of its own, for those who do not see the colours.
  static std::string marked(const char* name, int shape, const std::string& title) {
    return format(", $%s with points pointtype %d pointsize 1.1", name, shape) + lineColor(kCurve) +
           " title " + gnuplotText(title);
  }

  void histogram() {
    line("unset label 1; unset label 2; unset key");
    line("set tmargin at screen 0.34");
    line("set bmargin at screen 0.09");
    range('x');
    line(format("set xtics %.17g", axis_.step));
    titles(chart_.valueTitle, chart_.unitTitle);
    line("set style fill solid noborder");
    const int highest = bins();
    line("set yrange [0:*]");
    line(format("set ytics %g", std::max(1.0, plainStep(highest / 4.0))));
    if (chart_.base) {
      const char* form = "set arrow 1 from %.17g,graph 0 to %.17g,graph 1 nohead front dashtype 2";
      line(format(form, *chart_.base, *chart_.base) + " linewidth 1.5" + lineColor(kBase));
    }
    line("plot $bins with boxes" + lineColor(kBars));
  }

  /// The count of the highest. Their width divides the steps of the axis: more where there are more
  /// points.
  int bins() {
    const double each = sorted_.size() >= 200 ? 5 : sorted_.size() >= 30 ? 2 : 1;
    const double width = axis_.step / each;
    const auto last =
        static_cast<std::ptrdiff_t>(std::lround((axis_.high - axis_.low) / width)) - 1;
    std::vector<int> counts(static_cast<std::size_t>(last) + 1);
    for (const Point& point : sorted_) {
      const auto bin = static_cast<std::ptrdiff_t>((point.value - axis_.low) / width);
      ++counts[static_cast<std::size_t>(std::clamp<std::ptrdiff_t>(bin, 0, last))];
    }
    line("$bins << end");
    for (std::size_t i = 0; i < counts.size(); ++i) {
      const double middle = axis_.low + (static_cast<double>(i) + 0.5) * width;
      if (counts[i] > 0) line(format("%.17g %d %.17g", middle, counts[i], 0.94 * width));
    }
    line("end");
    return *std::ranges::max_element(counts);
  }

  const DurationChart& chart_;
  std::vector<Point> sorted_;  ///< the least first
  Axis axis_{};
  std::string text_;
};

std::string escaped(std::string_view text) {
  std::string result;
  for (const char c : plainText(text)) {
    if (c == '&') result += "&amp;";
    if (c == '<') result += "&lt;";
    if (c != '&' && c != '<') result += c;
  }
  return result;
}

/// How a colour that gnuplot writes in either of its forms looks on dark ground.
std::string darkRules(const Color& color) {
  const unsigned r = color.light >> 16;
  const unsigned g = color.light >> 8 & 255;
  const unsigned b = color.light & 255;
  std::string rules;
  for (const std::string& written :
       {format("rgb(%3u, %3u, %3u)", r, g, b), format("rgb(%u,%u,%u)", r, g, b)}) {
    for (const char* part : {"stroke", "fill", "color"}) {
      rules += format("[%s='%s']{%s:#%06x}\n", part, written.c_str(), part, color.dark);
    }
  }
  return rules;
}

/// Title, description and colours in place of gnuplot's own.
std::string head(const DurationChart& chart, const std::string& description) {
  std::string text = "<title id='chart-title'>" + escaped(chart.title) + "</title>\n" +
                     "<desc id='chart-description'>" + escaped(description) + "</desc>\n";
  text += format("<style>\nsvg{background:#%06x}\n@media (prefers-color-scheme:dark){\n",
                 kGround.light);
  text += format("svg{background:#%06x}\n", kGround.dark);
  for (const Color& color : {kInk, kSoft, kRule, kCurve, kBars, kBase}) text += darkRules(color);
  return text + "}\n</style>\n";
}

/// Replaces what begins and ends so; false if it is not there.
bool replace(std::string& text, std::string_view begin, std::string_view end,
             std::string_view replacement) {
  const std::size_t from = text.find(begin);
  const std::size_t to = from == text.npos ? text.npos : text.find(end, from);
  if (to == text.npos) return false;
  text.replace(from, to + end.size() - from, replacement);
  return true;
}

}  // namespace

std::string drawDurationChart(const DurationChart& chart) {
  Script script(chart);
  std::string picture = runGnuplot(script.text());
  while (replace(picture, "<title>gnuplot_plot", "</title>", "")) {  // shown beside the mouse
  }
  const bool isKnown =
      replace(picture, "<svg", "\n",
              "<svg role='img' aria-labelledby='chart-title chart-description'\n") &&
      replace(picture, "<title>", "</desc>\n", head(chart, script.description()));
  if (!isKnown) throw ChartError("this version of gnuplot writes SVG in an unknown form");
  return picture;
}

}  // namespace zdb::chart
