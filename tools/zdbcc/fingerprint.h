#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zdb::tool {

/// What the results of some work depend on, each thing by its name, so that work that was broken
/// off is not continued with something else.
class Fingerprint {
 public:
  /// A short value, such as an option's.
  void add(const std::string& name, const std::string& value);
  /// The bytes of a file, wherever it is.
  void addFile(const std::string& name, const std::string& file);
  /// A hash of what is too long; 64 bits, which tell accidents apart, not attacks.
  void addHash(const std::string& name, std::uint64_t hash);

  /// A line for each thing.
  std::string text() const;
  /// The names of what is not as in an earlier text, with commas; empty if nothing has changed.
  std::string changesSince(const std::string& earlier) const;

 private:
  std::vector<std::pair<std::string, std::string>> parts_;
};

/// The names of lines of one text of a fingerprint that another does not have, with commas.
std::string differingNames(std::string_view text, std::string_view other);

constexpr std::uint64_t kEmptyHash = 0xcbf29ce484222325;
/// The hash (64-bit FNV-1a) of what was hashed before, followed by some bytes.
std::uint64_t hashed(std::uint64_t before, std::string_view bytes);

}  // namespace zdb::tool
