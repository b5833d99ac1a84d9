#include "solverinfo.h"

#include <algorithm>

#include "console.h"
#include "contract/names.h"
#include "guess.h"
#include "zkitdclib.h"

namespace zdb::tool {

namespace {

std::vector<std::string> typesOf(int flags) {
  std::vector<std::string> types;
  if ((flags & ZKIT_SOLVES_LP) != 0) types.emplace_back("LP");
  if ((flags & ZKIT_SOLVES_MIP) != 0) types.emplace_back("MIP");
  if ((flags & ZKIT_SOLVES_RMIP) != 0) types.emplace_back("RMIP");
  return types;
}

}  // namespace

std::string SolverInfo::typesText() const {
  std::string text;
  for (const std::string& type : types) text.append(text.empty() ? "" : ", ").append(type);
  return worksInPlace ? text + ", in place" : text;
}

std::vector<SolverInfo> solverInfos() {
  std::vector<SolverInfo> infos;
  for (int i = 0; i < zkitSolverCount(); ++i) {
    const char* name = "";
    const char* version = "";
    const char* whyNot = "";
    int types = 0;
    int worksInPlace = 0;
    zkitSolverInfo(i, &name, &version, &types, &worksInPlace, &whyNot);
    infos.push_back({name, version, typesOf(types), worksInPlace != 0, whyNot});
  }
  return infos;
}

SolverInfo usableSolver(const std::string& name) {
  for (const SolverInfo& solver : solverInfos()) {
    if (!zdb::contract::isSameText(solver.name, name)) continue;
    if (solver.isUsable()) return solver;
    throw ToolError("the solver " + solver.name + " cannot be used: " + solver.whyNot);
  }
  failUnknownSolver(name);
}

void requireSolver(const std::string& name, bool hasIntegers) {
  if (name.empty()) return;
  const SolverInfo solver = usableSolver(name);
  if (!hasIntegers || std::count(solver.types.begin(), solver.types.end(), "MIP") > 0) return;
  throw ToolError("the solver " + solver.name +
                  " does not solve models with integer columns: use another one, or --relax");
}

void failUnknownSolver(std::string_view name) {
  Guess guess(name);
  std::string text = "there is no solver ";
  text.append(printable(name)).append("; there are");
  const char* separator = " ";
  for (const SolverInfo& solver : solverInfos()) {
    guess.consider(solver.name);
    text.append(separator).append(solver.name);
    separator = ", ";
  }
  throw ToolError(text + guess.text());
}

}  // namespace zdb::tool
