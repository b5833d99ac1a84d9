// Refuses outputs that would be written over by mistake.
#include "outputfile.h"

#include <filesystem>

#include "console.h"
#include "exchangefile.h"

namespace zdb::tool {

namespace {

constexpr const char* kForce = "; use --force to write over it";

}  // namespace

bool isDataFile(const std::string& file) {
  try {
    const ExchangeFile readable(file);
    return true;
  } catch (const ToolError&) {
    return false;
  }
}

void checkOutput(const std::string& output, const std::vector<std::string>& inputs,
                 const Replaceable& replaceable) {
  std::error_code missing;
  for (const std::string& input : inputs) {
    if (std::filesystem::equivalent(output, input, missing)) {
      std::string problem = "the output " + output;
      problem.append(" is the input ").append(input).append(kForce);
      throw ToolError(problem);
    }
  }
  if (!std::filesystem::is_regular_file(output, missing) || replaceable.isOne(output)) {
    return;
  }
  throw ToolError(output + " exists and is not " + replaceable.what + kForce);
}

void checkNewOutput(const std::string& output, const std::vector<std::string>& inputs) {
  checkOutput(output, inputs, {"", [](const std::string&) { return true; }});
  std::error_code missing;
  if (std::filesystem::is_regular_file(output, missing))
    throw ToolError(output + " exists" + kForce);
}

}  // namespace zdb::tool
