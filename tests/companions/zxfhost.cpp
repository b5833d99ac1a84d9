// Scripts over the exchange file library. A message is the numbers of the errors that a call left.
#include <sys/stat.h>

#include <filesystem>

#include "script/driver.h"
#include "support/zxffunctions.h"
#include "zxf_testing.h"

namespace {

zdb::script::FunctionTable makeTable() {
  using zdb::script::Function;
  zdb::script::FunctionTable table = zxftest::functionTable();
  table.emplace("XCheck", Function::make("XCheck", &C__XCheck, false));
  table.emplace("XAPIVersion", Function::make("XAPIVersion", &C__XAPIVersion, false));
  return table;
}

class ZxfHost : public zdb::script::Host {
 public:
  ZxfHost() : Host(makeTable()) {
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

// Scripts, whose paths are absolute, run in a folder that has a file "small", a folder and a pipe.
// NOLINTNEXTLINE(bugprone-exception-escape): an exception ends the test, as it should
int main(int argc, char** argv) {
  ZxfHost host;
  const std::filesystem::path before = std::filesystem::current_path();
  const zxftest::TemporaryFolder folder;
  std::filesystem::current_path(folder.path());
  zxftest::writeContent("small", zxftest::smallContent());
  std::filesystem::create_directory("folder");
  mkfifo("pipe", 0600);
  zdb::script::Way once;
  once.name = "once";
  zdb::script::SweepRules rules;
  rules.nullAnswers["*"] = "0.*\"40\"";
  rules.neverNull = {"zxfErrorStr", "zxfErrorCount", "zxfGetLastError"};
  const int result = zdb::script::runProgram(argc, argv, {host, {once}, rules});
  std::filesystem::current_path(before);
  return result;
}
