// The program around a host: runs scripts all ways, reports what differs, writes what came instead.
#pragma once

#include <string>
#include <vector>

#include "script/run.h"

namespace zdb::script {

/// A script that a way leaves out.
struct WayException {
  std::string way;
  std::string script;  ///< file name
  std::string reason;
};

/// A check over a whole script beside that of its expectations: says what is wrong, or nothing.
struct Sweep {
  std::string option;
  std::string (*run)(Host& host, const std::vector<Way>& ways, const std::vector<Script>& scripts);
};

struct Program {
  Host& host;
  std::vector<Way> ways;
  std::vector<WayException> exceptions;
  std::vector<Sweep> sweeps;
};

/// What main() of a host of scripts does: PROGRAM [--update | --SWEEP] SCRIPT...
/// Returns 0 when everything is as expected, 1 when not, 2 for wrong use.
int runProgram(int argc, char** argv, const Program& program);

}  // namespace zdb::script
