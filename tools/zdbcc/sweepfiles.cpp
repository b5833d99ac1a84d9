#include "sweepfiles.h"

#include <filesystem>
#include <iterator>

#include "console.h"

namespace zdb::tool {

std::string fingerprintFile(const std::string& results) {
  return results + ".sweep";
}

std::string aheadFile(const std::string& results) {
  return results + ".ahead";
}

std::string besideResults(const std::string& file, const std::string& results) {
  const auto folder = std::filesystem::path(results).parent_path();
  return printable(std::filesystem::proximate(file, folder.empty() ? "." : folder).string());
}

std::string readFingerprint(const std::string& results) {
  std::ifstream stream(fingerprintFile(results), std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

bool readWholeLine(std::ifstream& stream, std::string& line) {
  if (!std::getline(stream, line) || stream.eof()) return false;
  line += '\n';
  return true;
}

}  // namespace zdb::tool
