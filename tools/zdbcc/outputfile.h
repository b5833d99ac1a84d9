#pragma once

#include <functional>
#include <string>
#include <vector>

namespace zdb::tool {

bool isDataFile(const std::string& file);

/// A kind of file that an output of that kind may replace.
struct Replaceable {
  const char* what = "a data file";
  std::function<bool(const std::string& file)> isOne = isDataFile;
};

/// Refuses, with ToolError, to write over what was probably not meant: one of the inputs, or an
/// existing file of another kind. To be called before anything is computed.
void checkOutput(const std::string& output, const std::vector<std::string>& inputs,
                 const Replaceable& replaceable = {});

/// The same, where nothing that exists may be replaced.
void checkNewOutput(const std::string& output, const std::vector<std::string>& inputs);

}  // namespace zdb::tool
