// Refuses outputs that would be written over by mistake.
#include "outputfile.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "console.h"
#include "zxf/format.h"

namespace zdb::tool {

namespace {

constexpr const char* kForce = "; use --force to write over it";

}  // namespace

// Also of a damaged one; records and labels are not looked at.
bool isDataFile(const std::string& file) {
  using zdb::zxfile::kMagic;
  std::ifstream input(file, std::ios::binary);
  if (!input)
    throw ToolError(file + " exists and cannot be read: " + std::strerror(errno) + kForce);
  std::array<char, kMagic.size()> start{};
  input.read(start.data(), start.size());
  return std::memcmp(start.data(), kMagic.data(), start.size()) == 0;
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
