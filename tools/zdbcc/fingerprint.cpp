#include "fingerprint.h"

#include <array>
#include <cstdio>

#include "bytesource.h"
#include "console.h"

namespace zdb::tool {

std::uint64_t hashed(std::uint64_t before, std::string_view bytes) {
  constexpr std::uint64_t prime = 0x100000001b3;
  for (const char byte : bytes) before = (before ^ static_cast<unsigned char>(byte)) * prime;
  return before;
}

void Fingerprint::add(const std::string& name, const std::string& value) {
  parts_.emplace_back(name, printable(value));
}

void Fingerprint::addFile(const std::string& name, const std::string& file) {
  ByteSource source(file);
  std::array<char, 1 << 16> piece;
  std::uint64_t hash = kEmptyHash;
  while (const std::size_t size = source.read(piece.data(), piece.size())) {
    hash = hashed(hash, {piece.data(), size});
  }
  addHash(name, hash);
}

void Fingerprint::addHash(const std::string& name, std::uint64_t hash) {
  char digits[17];
  std::snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(hash));
  add(name, digits);
}

std::string Fingerprint::text() const {
  std::string text;
  for (const auto& [name, value] : parts_) text.append(name).append(": ").append(value) += '\n';
  return text;
}

std::string Fingerprint::changesSince(const std::string& earlier) const {
  return differingNames(text(), earlier);
}

std::string differingNames(std::string_view text, std::string_view other) {
  const std::string lines = '\n' + std::string(other);
  std::string names;
  while (!text.empty()) {
    const std::string line(text.substr(0, text.find('\n') + 1));
    text.remove_prefix(line.size());
    if (lines.find('\n' + line) != std::string::npos) continue;
    names.append(names.empty() ? "" : ", ").append(line.substr(0, line.find(": ")));
  }
  return names;
}

}  // namespace zdb::tool
