// Scripts over the exchange file library. A message is the numbers of the errors that a call left.
#include <sys/stat.h>

#include <filesystem>
#include <map>

#include "fuzz/zxf/reseal.h"
#include "script/driver.h"
#include "support/allocations.h"
#include "support/zxffunctions.h"
#include "zxf/bytes.h"
#include "zxf_testing.h"

namespace {

zdb::script::FunctionTable makeTable() {
  using zdb::script::Function;
  zdb::script::FunctionTable table = zdb::test::zxf::functionTable();
  table.emplace("XCheck", Function::make("XCheck", &C__XCheck, false));
  table.emplace("XAPIVersion", Function::make("XAPIVersion", &C__XAPIVersion, false));
  return table;
}

// lie FILE SECTION BYTE HEX: reads a file with other bytes from one of a section on, and checksums
// that hold; the first error. The section is that of the labels or symbols, or the whole file. What
// was read stays as the file "lie".
std::string lie(zdb::script::Run& /*run*/, const zdb::script::Statement& statement) {
  static const std::map<std::string, int> fields = {{"labels", 40}, {"symbols", 88}};
  const std::vector<zdb::script::Token>& words = statement.arguments;
  zdb::test::zxf::Bytes bytes = zdb::test::zxf::readBytes(words.at(0).text);
  const auto field = fields.find(words.at(1).text);
  std::uint64_t at = std::stoull(words.at(2).text);
  if (field != fields.end())
    at += zdb::zxfile::loadInt<std::uint64_t>(bytes.data() + field->second);
  const zdb::test::zxf::Bytes others = zdb::test::zxf::fromHex(words.at(3).text);
  std::copy(others.begin(), others.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
  reseal(bytes);
  std::ofstream("lie", std::ios::binary) << std::string(bytes.begin(), bytes.end());
  const zdb::test::Allocations allocations;
  const int error = zdb::test::zxf::errorsOf(bytes).at(0);
  const bool isModest = allocations.largest() < 1U << 20;
  return std::to_string(error) + (isModest ? "" : ", and takes memory");
}

// flip BYTE: makes a file "flipped" of "small" with one bit of a byte changed.
std::string flip(zdb::script::Run& /*run*/, const zdb::script::Statement& statement) {
  std::string bytes = zdb::test::readFile("small");
  bytes.at(std::stoul(statement.arguments.at(0).text)) ^= 1;
  std::ofstream("flipped", std::ios::binary) << bytes;
  return "done";
}

class ZxfHost : public zdb::script::Host {
 public:
  ZxfHost() : Host(makeTable()) {
    words["lie"] = lie;
    words["flip"] = flip;
    words["cd"] = [](auto&, const auto& statement) {
      std::filesystem::current_path(statement.arguments.at(0).text);
      return std::string("done");
    };
  }

  void* create(const zdb::script::Way&) override {
    void* zxf = nullptr;
    XCreate(&zxf);
    return zxf;
  }
  void destroy(void* object) override { XFree(&object); }
  void mark(void* object) override { message(object); }
  std::string message(void* object) override {
    std::string numbers;
    while (const int number = C__zxfGetLastError(object)) {
      numbers += (numbers.empty() ? "" : " ") + std::to_string(number);
    }
    return numbers;
  }
};

}  // namespace

// Scripts, whose paths are absolute, run in a folder with files, a folder and a pipe.
// NOLINTNEXTLINE(bugprone-exception-escape): an exception ends the test, as it should
int main(int argc, char** argv) {
  ZxfHost host;
  const std::filesystem::path before = std::filesystem::current_path();
  const zdb::test::zxf::TemporaryFolder folder;
  std::filesystem::current_path(folder.path());
  zdb::test::zxf::writeContent("small", zdb::test::zxf::smallContent());
  zdb::test::zxf::writeContent("sets", {{"a"}, {}, {{"i", 1, 0, 0, "", {1}, {0}}, {"k", 1, 4, 1}}});
  constexpr double kThird = 1.0 / 3;
  zdb::test::zxf::writeContent("packed",
                               {zdb::test::zxf::makeLabels(200),
                                {},
                                {{"p", 1, 1, 0, "", {1, 2, 199}, {kThird, -kThird, kThird}}}});
  std::filesystem::create_directory("folder");
  mkfifo("pipe", 0600);
  std::filesystem::create_symlink("loop", "loop");
  zdb::script::Way once;
  once.name = "once";
  zdb::script::SweepRules rules;
  rules.nullAnswers = {{".*", "0.*\"40\""}};
  rules.neverNull = {"zxfErrorStr", "zxfErrorCount", "zxfGetLastError"};
  const int result = zdb::script::runProgram(argc, argv, {host, {once}, rules});
  std::filesystem::current_path(before);
  return result;
}
