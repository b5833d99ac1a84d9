#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace zdb::chart {

/// A picture cannot be drawn.
class ChartError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Throws ChartError, which says what to install, unless the program gnuplot can be run: for who
/// wants to know before long work.
void requireGnuplot();

/// Has gnuplot run a script, without the settings of the user, and returns what it prints, such as
/// an SVG picture. Throws ChartError with gnuplot's words if it fails.
std::string runGnuplot(const std::string& script);

/// A text without what breaks a line or a file of UTF-8: question marks stand for it.
std::string plainText(std::string_view text);

/// A plain text in a script of gnuplot, which takes it as it is: quotes, backticks and backslashes
/// do nothing.
std::string gnuplotText(std::string_view text);

}  // namespace zdb::chart
