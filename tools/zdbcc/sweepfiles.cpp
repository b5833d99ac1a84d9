#include "sweepfiles.h"

#include <iterator>

namespace zdb::tool {

std::string fingerprintFile(const std::string& results) {
  return results + ".sweep";
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
