// The program around a host: runs scripts all ways, reports what differs, writes what came instead.
#pragma once

#include <string>
#include <vector>

#include "script/run.h"

namespace zdb::script {

struct Program;

/// A check over whole scripts beside that of their expectations: --option runs it instead. Tells on
/// standard error what is wrong and whether all is as it should be.
struct Sweep {
  std::string option;
  bool (*run)(const Program& program, const std::vector<Script>& scripts);
};

struct Program {
  Host& host;
  std::vector<Way> ways;
  std::vector<Sweep> sweeps;
};

/// What main() of a host of scripts does: PROGRAM [--update | --SWEEP] SCRIPT...
/// Returns 0 when everything is as expected, 1 when not, 2 for wrong use.
int runProgram(int argc, char** argv, const Program& program);

}  // namespace zdb::script
