#pragma once

#include <string>
#include <string_view>

namespace zdb::tool {

enum class When { Auto, Always, Never };

/// What may be written to people who look on. It is decided once, when the command line is known.
struct Terminal {
  bool colorsOutput = false;
  bool colorsErrors = false;
  bool showsProgress = false;  ///< on standard error
  bool hasOutput = false;      ///< standard output is one
  int width = 80;              ///< of lines
};

/// Looks at the two descriptors and at the environment: NO_COLOR, TERM and COLUMNS.
Terminal findTerminal(int output, int errors, When color);

enum class Style { Bold, Red, Green };

/// The text in a style, if it is switched on.
std::string styled(std::string_view text, Style style, bool isOn);

}  // namespace zdb::tool
