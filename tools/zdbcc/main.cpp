// The command-line tool. Exit codes: 0 success, 1 failure, with the reason on standard error, 2
// wrong usage.
#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>
#include <sstream>

#include "commands.h"
#include "zdbcclib.h"
#ifdef ZDB_HAS_KIT
#include "zkitdclib.h"
#endif

namespace zdb::tool {

namespace {

constexpr int kFailed = 1;
constexpr int kWrongUse = 2;

std::string version() {
  std::string text = "zdbcc " ZDBCCLIB_VERSION;
#ifdef ZDB_HAS_KIT
  char message[ZKIT_TEXT_SIZE] = "";
  const int strength = zkitConfinement(message, sizeof message);
  text += "\nconfinement of model files: ";
  text += strength == ZKIT_CONFINED          ? "full"
          : strength == ZKIT_PARTLY_CONFINED ? "partial"
                                             : "none";
  if (*message != '\0') text += std::string(" (possible: ") + message + ")";
#endif
  return text;
}

int run(int argc, char** argv, Console& console) {
  CLI::App app{"Inspects data files of zdbcclib and solves models with changed data."};
  app.name("zdbcc");
  app.set_version_flag("--version", version);
  app.require_subcommand(1);
  addInfo(app, console);
  addDump(app, console);
#ifdef ZDB_HAS_EXCHANGE_FILES
  addCheck(app, console);
#endif
#ifdef ZDB_HAS_KIT
  addSolve(app, console);
  addSweep(app, console);
#endif
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    std::ostringstream help;
    const int code = app.exit(error, help, std::cerr);
    console.write(help.str());
    console.flush();
    return code == 0 ? 0 : kWrongUse;
  }
  console.flush();
  return console.hasProblems() ? kFailed : 0;
}

}  // namespace

}  // namespace zdb::tool

int main(int argc, char** argv) {
  zdb::tool::Console console;
  try {
    return zdb::tool::run(argc, argv, console);
  } catch (const std::exception& failure) {
    console.report(failure.what());
    return zdb::tool::kFailed;
  }
}
