#include "kit/configuration.h"

#include <algorithm>
#include <fstream>
#include <iterator>

#include "kit/error.h"
#include "kit/names.h"

namespace zdb::kit {

namespace {

constexpr int kMaxLine = 1000;  // bytes
constexpr std::size_t kMaxSolvers = 1000;

struct NamedType {
  std::string_view name;
  ModelType type;
};

constexpr NamedType kModelTypes[] = {{"LP", LpModel}, {"MIP", MipModel}, {"RMIP", RmipModel}};

// The words before a comment.
std::vector<std::string_view> wordsOf(std::string_view line) {
  constexpr std::string_view kBlanks = " \t\r";
  std::vector<std::string_view> words;
  line = line.substr(0, line.find('#'));
  for (;;) {
    const std::size_t start = line.find_first_not_of(kBlanks);
    if (start == std::string_view::npos) return words;
    line.remove_prefix(start);
    const std::size_t length = std::min(line.find_first_of(kBlanks), line.size());
    words.push_back(line.substr(0, length));
    line.remove_prefix(length);
  }
}

const Engine& solverTypeOf(std::string_view word) {
  const Engine* engine = findEngine(word);
  if (engine != nullptr) return *engine;
  std::string known;
  for (const Engine& each : engines()) known.append(known.empty() ? "" : ", ").append(each.name);
  throw KitError("unknown solver type " + quoted(word) + ": use one of " + known);
}

ModelType typeOf(std::string_view word, const Engine& engine) {
  const auto* found =
      std::find_if(std::begin(kModelTypes), std::end(kModelTypes),
                   [word](const NamedType& known) { return isSameText(known.name, word); });
  if (found == std::end(kModelTypes)) {
    throw KitError("unknown model type " + quoted(word) + ": use LP, MIP or RMIP");
  }
  if (found->type == MipModel && !engine.solvesMip) {
    throw KitError(std::string("solver type ") + engine.name + " does not solve MIP");
  }
  return found->type;
}

}  // namespace

void ConfiguredSolver::checkBuilt() const {
  if (engine->isUsable()) return;
  throw KitError("Solver " + name + " needs " + engine->name +
                 ", which cannot be used: " + engine->whyNot());
}

bool ConfiguredSolver::allows(int modelType) const {
  return std::find(modelTypes.begin(), modelTypes.end(), modelType) != modelTypes.end();
}

void ConfiguredSolver::checkType(int modelType) const {
  if (allows(modelType)) return;
  const auto* type =
      std::find_if(std::begin(kModelTypes), std::end(kModelTypes),
                   [modelType](const NamedType& known) { return known.type == modelType; });
  const std::string_view text = type == std::end(kModelTypes) ? "unknown" : type->name;
  throw KitError("Solver " + name + " is not configured for models of type " + std::string(text));
}

void Configuration::read(const std::string& file) {
  std::ifstream stream(file);
  if (!stream) throw KitError(file + ": cannot be opened; it must list the solvers");
  Configuration fresh;
  char line[kMaxLine];
  for (int number = 1; stream.getline(line, kMaxLine); ++number) {
    const auto length = static_cast<std::size_t>(stream.gcount()) - (stream.eof() ? 0 : 1);
    try {
      fresh.takeLine({line, length});
    } catch (const KitError& error) {
      throw KitError(file + ", line " + std::to_string(number) + ": " + error.what());
    }
  }
  if (!stream.eof()) throw KitError(file + ": cannot be read, or has a line that is too long");
  if (fresh.count() == 0) throw KitError(file + ": lists no solver");
  fresh.sessions_.resize(fresh.solvers_.size());
  *this = std::move(fresh);
}

void Configuration::takeLine(std::string_view line) {
  const std::vector<std::string_view> words = wordsOf(line);
  if (words.empty()) return;
  if (words.size() < 3) throw KitError("a line needs a name, a solver type and model types");
  if (!isSymbolName(words[0]))
    throw KitError("invalid solver name " + quoted(words[0]) +
                   ": use a letter, then letters, digits or _");
  if (find(words[0]) != 0) throw KitError("solver " + quoted(words[0]) + " is listed twice");
  if (solvers_.size() == kMaxSolvers)
    throw KitError("too many solvers: at most " + std::to_string(kMaxSolvers));
  ConfiguredSolver solver = {std::string(words[0]), &solverTypeOf(words[1]), {}};
  for (std::size_t k = 2; k < words.size(); ++k) {
    solver.modelTypes.push_back(typeOf(words[k], *solver.engine));
  }
  solvers_.push_back(std::move(solver));
}

int Configuration::find(std::string_view name) const {
  const auto found = std::find_if(
      solvers_.begin(), solvers_.end(),
      [name](const ConfiguredSolver& solver) { return isSameText(solver.name, name); });
  return found == solvers_.end() ? 0 : static_cast<int>(found - solvers_.begin()) + 1;
}

const ConfiguredSolver& Configuration::solver(int number) const {
  if (has(number)) return solvers_[static_cast<std::size_t>(number) - 1];
  throw KitError("Unknown solver number " + std::to_string(number) + ": the configuration has " +
                 std::to_string(count()));
}

const ConfiguredSolver& Configuration::solver(std::string_view name) const {
  const int number = find(name);
  if (number > 0) return solver(number);
  throw KitError("Unknown solver " + quoted(name) + ": use " + names());
}

std::string Configuration::names() const {
  std::string names;
  for (const ConfiguredSolver& solver : solvers_) {
    if (!names.empty()) names += ", ";
    names += solver.name;
  }
  return names;
}

void Configuration::create(int number) {
  const ConfiguredSolver& made = solver(number);
  made.checkBuilt();
  sessions_[static_cast<std::size_t>(number) - 1] = std::make_unique<Session>(*made.engine);
}

void Configuration::free(int number) {
  if (has(number)) sessions_[static_cast<std::size_t>(number) - 1].reset();
}

Session* Configuration::session(int number) const {
  return has(number) ? sessions_[static_cast<std::size_t>(number) - 1].get() : nullptr;
}

}  // namespace zdb::kit
