#include "modeltext.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "bytesource.h"
#include "exitcode.h"

namespace zdb::tool {

namespace {

/// Pipes may never end, and a small file may unpack to anything.
constexpr std::size_t kMostBytes = std::size_t{1} << 30;
constexpr std::size_t kPiece = std::size_t{1} << 18;
constexpr std::string_view kPackedEnding = ".gz";

bool isPacked(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  return stream.get() == 0x1f && stream.get() == 0x8b;
}

std::string readAll(const std::string& file) {
  ByteSource source(file);
  std::string text;
  for (;;) {
    const std::size_t size = text.size();
    text.resize(size + kPiece);
    const std::size_t count = source.read(text.data() + size, kPiece);
    text.resize(size + count);
    if (count == 0) return text;
    if (text.size() > kMostBytes) {
      throw ToolError(source.name() + " has more than 1 GiB, which is too much");
    }
  }
}

void readText(std::string& file, std::optional<std::string>& text) {
  std::error_code missing;
  const bool isRegular = std::filesystem::is_regular_file(file, missing);
  const bool isOurs =
      file == "-" || std::filesystem::is_fifo(file, missing) || (isRegular && isPacked(file));
  if (!isOurs) return;
  text = readAll(file);
  if (file == "-") file = "standard input";
  if (isRegular && file.ends_with(kPackedEnding)) file.resize(file.size() - kPackedEnding.size());
}

}  // namespace

ModelSource withTexts(ModelSource source) {
  readText(source.file, source.text);
  readText(source.data, source.dataText);
  return source;
}

void requireOneStandardInput(const std::vector<std::string>& inputs) {
  if (std::count(inputs.begin(), inputs.end(), "-") <= 1) return;
  throw WrongUseError("standard input, -, can be read once only");
}

}  // namespace zdb::tool
