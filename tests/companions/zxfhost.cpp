// Scripts over the exchange file library. A message is the numbers of the errors that a call left.
#include <sys/stat.h>

#include <filesystem>
#include <optional>

#include "script/driver.h"
#include "support/zxffunctions.h"
#include "zxf_testing.h"

namespace {

using namespace zxftest;
using zdb::script::Run;
using zdb::script::Statement;

// A symbol as `content` prints it: name, dimension, type, user info and text; domains; records.
std::string printed(const Symbol& symbol) {
  std::string text = symbol.name;
  for (const int number : {symbol.dim, symbol.type, symbol.userInfo}) {
    text += ' ' + std::to_string(number);
  }
  text += ' ' + symbol.text;
  if (symbol.domain != Domain::None) text += symbol.domain == Domain::Strict ? " in" : " near";
  for (const std::string& domain : symbol.domains) text += ' ' + domain;
  for (std::size_t i = 0; i * symbol.width() < symbol.values.size(); ++i) {
    text += ' ';
    for (int d = 0; d < symbol.dim; ++d) {
      text += (d == 0 ? "" : ".") + std::to_string(symbol.keys[i * symbol.dim + d]);
    }
    for (int v = 0; v < symbol.width(); ++v) {
      text += (v == 0 ? '=' : '/') + zdb::script::shown(symbol.values[i * symbol.width() + v]);
    }
  }
  return text;
}

class ZxfHost : public zdb::script::Host {
 public:
  ZxfHost() : Host(functionTable()) {
    words["content"] = [](Run&, const Statement& statement) {
      const Content content = readContent(statement.arguments.at(0).text);
      std::string all;
      for (const std::string& label : content.labels) all += label + ' ';
      for (const std::string& text : content.texts) all += '"' + text + "\" ";
      for (const Symbol& symbol : content.symbols) all += "| " + printed(symbol) + ' ';
      return all.substr(0, all.find_last_not_of(' ') + 1);
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

// Scripts run in a folder of their own, with a file "small", a folder and a pipe in it.
int main(int argc, char** argv) {
  ZxfHost host;
  std::optional<TemporaryFolder> folder;
  const std::filesystem::path before = std::filesystem::current_path();
  zdb::script::Way way;
  way.name = "once";
  way.enter = [&] {
    std::filesystem::current_path(folder.emplace().path());
    writeContent("small", smallContent());
    std::filesystem::create_directory("folder");
    mkfifo("pipe", 0600);
  };
  way.leave = [&] {
    std::filesystem::current_path(before);
    folder.reset();
  };
  return zdb::script::runProgram(argc, argv, {host, {way}, {}, {}});
}
