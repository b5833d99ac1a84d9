// What the tests of the exchange file share beside its content as plain data.
#pragma once

#include <algorithm>
#include <filesystem>
#include <functional>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "support/exchangefile.h"
#include "support/files.h"
#include "zxf/errors.h"

namespace zdb::test::zxf {

using zdb::test::TemporaryFolder;
using zdb::zxfile::Errc;

inline constexpr double kInfinity = std::numeric_limits<double>::infinity();

// "s1" from "s" and 1.
inline std::string numbered(std::string prefix, int number) {
  return prefix.append(std::to_string(number));
}

// "l1", "l2", ...
inline std::vector<std::string> makeLabels(int count) {
  std::vector<std::string> labels;
  for (int i = 1; i <= count; ++i) labels.push_back(numbered("l", i));
  return labels;
}

// A parameter over one dimension whose n-th value, from 0, is value(n).
inline Symbol column(std::string name, int count, const std::function<double(int)>& value) {
  Symbol symbol{std::move(name), 1};
  for (int i = 0; i < count; ++i) {
    symbol.keys.push_back(i + 1);
    symbol.values.push_back(value(i));
  }
  return symbol;
}

// A symbol of each type with a few records, texts, aliases and both kinds of domains.
inline Content smallContent() {
  const std::vector<double> row = {1.5, 0.0, -kInfinity, kInfinity, 1.0};
  const std::vector<double> rows = {1.5, 0.0, -kInfinity, kInfinity, 1.0, 2, 3, 4, 5, 6};
  const std::vector<double> miles = {2.5, 0.1, 1.0 / 3};
  return {{"seattle", "san-diego", "new york", "topeka"},
          {"first text", "", "first text"},
          {{"i", 1, 0, 0, "plants", {1, 2}, {1, 0}},
           {"j", 1, 0, 0, "", {2, 3, 4}, {0, 3, 0}},
           {"ii", 1, 4, 1},
           {"any", 1, 4, 0},
           {"d", 2, 1, 0, "miles", {1, 2, 2, 2, 2, 4}, miles, Domain::Strict, {"ii", "j"}},
           {"f", 0, 1, 0, "freight", {}, {90}},
           {"x", 2, 2, 3, "shipped", {1, 1, 1, 4}, rows, Domain::Relaxed, {"i", "gone"}},
           {"cost", 0, 3, 53, "", {}, row},
           {"empty", 3, 1, 0, "no records", {}, {}, Domain::Relaxed, {"*", "i", ""}}}};
}

inline Bytes readBytes(const std::string& path) {
  const std::string bytes = zdb::test::readFile(path);
  return {bytes.begin(), bytes.end()};
}

// Bytes from pairs of hexadecimal digits with blanks between them.
inline Bytes fromHex(const std::string& text) {
  std::istringstream hex(text);
  Bytes bytes;
  for (std::string byte; hex >> byte;) bytes.push_back(std::stoul(byte, nullptr, 16) & 0xFF);
  return bytes;
}

// All names in a folder, sorted, those beginning with '.' included.
inline std::vector<std::string> namesIn(const TemporaryFolder& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace zdb::test::zxf
