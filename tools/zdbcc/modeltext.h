#pragma once

#include <optional>
#include <string>

namespace zdb::tool {

/// A file of a model, or of its data, as the kit is to get it.
struct ModelText {
  std::string name;  ///< for messages, and for the format by its ending
  /// What the kit cannot read by itself: standard input, a pipe, what gzip packed.
  std::optional<std::string> text = {};
};

/// Reads a file, or standard input for "-", if the kit cannot. Throws ToolError.
ModelText readModelText(const std::string& file);

}  // namespace zdb::tool
