// The command-line tool. Exit codes: 0 success, 1 failure, with the reason on standard error, 2
// wrong usage.
#include <CLI/CLI.hpp>
#include <exception>

#include "commands.h"
#include "zdbcclib.h"

namespace zdbtool {

namespace {

constexpr int kFailed = 1;
constexpr int kWrongUse = 2;

int run(int argc, char** argv, Console& console) {
  CLI::App app{"Inspects data files of zdbcclib and solves models with changed data."};
  app.name("zdb");
  app.set_version_flag("--version", "zdb " ZDBCCLIB_VERSION);
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
    return app.exit(error) == 0 ? 0 : kWrongUse;
  }
  console.flush();
  return console.hasProblems() ? kFailed : 0;
}

}  // namespace

}  // namespace zdbtool

int main(int argc, char** argv) {
  zdbtool::Console console;
  try {
    return zdbtool::run(argc, argv, console);
  } catch (const std::exception& failure) {
    console.report(failure.what());
    return zdbtool::kFailed;
  }
}
