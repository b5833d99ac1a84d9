// zdbcc solvers: the solvers that there are.
#include "json.h"
#include "solverinfo.h"
#include "table.h"
#include "verbs.h"

namespace zdb::tool {

namespace {

struct SolversOptions {
  bool json = false;
};

void print(const std::vector<SolverInfo>& solvers, Console& console) {
  Table table({{"solver"}, {"version"}, {"solves"}});
  for (const SolverInfo& solver : solvers) {
    table.add({solver.name, solver.version, solver.typesText()});
  }
  table.print(console);
  for (const SolverInfo& solver : solvers) {
    if (solver.isUsable()) continue;
    console.write('\n' + solver.name + " cannot be used: " + printable(solver.whyNot) + '\n');
  }
}

void writeJson(const std::vector<SolverInfo>& solvers, Console& console) {
  JsonWriter json(console);
  json.beginArray();
  for (const SolverInfo& solver : solvers) {
    json.beginObject(JsonWriter::Layout::OneLine).field("name", solver.name);
    json.field("version", solver.version).key("solves");
    json.beginArray(JsonWriter::Layout::OneLine);
    for (const std::string& type : solver.types) json.value(type);
    json.end().field("inPlace", solver.worksInPlace).field("usable", solver.isUsable());
    if (!solver.isUsable()) json.field("reason", solver.whyNot);
    json.end();
  }
  json.end();
}

void runSolvers(const SolversOptions& options, Console& console) {
  options.json ? writeJson(solverInfos(), console) : print(solverInfos(), console);
}

}  // namespace

Verb solversVerb() {
  return {.name = "solvers",
          .summary = "Lists the solvers, what they solve, and why one cannot be used",
          .details = R"(They solve linear models (LP), those with integer columns (MIP), or these as
if their columns were continuous (RMIP). One that works in place goes on from its last basis when a
model is solved with other data, as `sweep` does.)",
          .options = {jsonOption(&SolversOptions::json)},
          .examples = {{"zdbcc solvers", "What can stand after `--solver`"}},
          .action = runs(runSolvers)};
}

}  // namespace zdb::tool
