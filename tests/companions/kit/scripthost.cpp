// Scripts over what the libraries of the model kit export. An object, as @a, is a model under
// construction; instances, dictionaries and the like are variables, which scripts free themselves.
#include <algorithm>
#include <cmath>
#include <deque>
#include <optional>

#include "companions/kit/testing.h"
#include "kit/api.h"
#include "script/driver.h"
#include "support/files.h"
#include "zkitdclib.h"

namespace zdb::script {

template <>
inline constexpr const char* kKind<const char*> = "text";

namespace {

// The quote of a label or text, as a number.
template <int (*call)(void*, int, char*, char*, int)>
int withQuote(void* dictionary, int number, int* quote, char* text, int size) {
  char own = '?';
  const int result = call(dictionary, number, quote == nullptr ? nullptr : &own, text, size);
  if (quote != nullptr && own != '?') *quote = static_cast<unsigned char>(own);
  return result;
}

// Handles that are results go to a variable.
template <void* (*call)(void*)>
int handleOf(void* owner, void** handle) {
  *handle = call(owner);
  return *handle == nullptr ? 0 : 1;
}

int findFirst(void* dictionary, int symbol, const int* key, int* entry, void** find) {
  *find = CzlxFindFirstRowCol(dictionary, symbol, key, entry);
  return *find == nullptr ? 0 : 1;
}

FunctionTable makeTable() {
  FunctionTable table;
  const auto add = [&table](const char* name, auto function) {
    table.emplace(name, Function::make(name, function, false));
  };
  add("zmiDict", &handleOf<CzmiDict>);
  add("zmiEnvironment", &handleOf<CzmiEnvironment>);
  add("zlxFindFirstRowCol", &findFirst);
  add("zlxUelLabel", &withQuote<CzlxUelLabel>);
  add("zlxSymText", &withQuote<CzlxSymText>);
#define ZDB_KIT_FUNCTION(name, ...) add(#name, &C##name);
#include "contract/kitfunctions.def"
#define ADD(name) add(#name, &name)
#define ADD_LIBRARY(prefix)                 \
  ADD(prefix##XCreate), ADD(prefix##XFree); \
  add(#prefix "XCheck", &C##prefix##XCheck), add(#prefix "XAPIVersion", &C##prefix##XAPIVersion)
  ADD_LIBRARY(zmi), ADD_LIBRARY(zrt), ADD_LIBRARY(zst), ADD_LIBRARY(zlx);
  add("zmiXCreateD", &CzmiXCreateD), add("zrtXCreateD", &CzrtXCreateD);
  add("zlxXCreateD", &CzlxXCreateD);
  ADD(zkitModelCreate), ADD(zkitModelFree), ADD(zkitLastError), ADD(zkitAddSymbol);
  ADD(zkitAddColumn), ADD(zkitSetColumnInteger), ADD(zkitAddRow), ADD(zkitAddCoefficient);
  ADD(zkitAddColumns), ADD(zkitAddRows), ADD(zkitAddCoefficients);
  ADD(zkitAddProduct), ADD(zkitAddConstant), ADD(zkitSetObjective), ADD(zkitModelFinish);
  ADD(zkitFreeInstance), ADD(zkitColumns), ADD(zkitRows), ADD(zkitNonZeros);
  ADD(zkitIntegerColumns), ADD(zkitSetModelType), ADD(zkitModelStatus), ADD(zkitSolveStatus);
  ADD(zkitModelStatusText), ADD(zkitSolveStatusText), ADD(zkitObjectiveColumn);
  ADD(zkitObjective), ADD(zkitDirection), ADD(zkitSolve), ADD(zkitSolveMessage);
  ADD(zkitIterations), ADD(zkitSeconds), ADD(zkitRowName), ADD(zkitColumnName), ADD(zkitSetLog);
  ADD(zkitTerminate), ADD(zkitSetLimits), ADD(zkitSetGap), ADD(zkitBound), ADD(zkitGap);
  ADD(zkitSetDirection), ADD(zkitInfeasibleSet), ADD(zkitInfeasibleRows);
  ADD(zkitInfeasibleColumns), ADD(zkitSolverCount), ADD(zkitDefaultSolver), ADD(zkitSetStart);
  return table;
}

// sweep PREFIX HANDLE NUMBER: calls each function of the prefix that takes a handle and, unless
// that is null, an int after it, with these and room for texts and arrays; names those that do not
// give 0. Functions that put a handle somewhere are left out.
std::string sweep(Run& run, const Statement& statement) {
  const std::vector<Token>& words = statement.arguments;
  const bool hasHandle = words.at(1).kind != Token::Null;
  std::string names;
  for (const auto& [name, function] : run.host.functions) {
    const std::vector<Parameter>& all = function.parameters;
    const auto isPlace = [](const Parameter& each) {
      return each.shape == Shape::Handle && each.isArray;
    };
    const bool isMeant = name.rfind(words[0].text, 0) == 0 && !all.empty() &&
                         all[0].shape == Shape::Handle &&
                         (!hasHandle || (all.size() > 1 && all[1].shape == Shape::Int));
    if (!isMeant || std::any_of(all.begin(), all.end(), isPlace)) continue;
    std::vector<double> room(100);
    std::vector<Slot> slots(all.size());
    for (std::size_t k = 1; k < all.size(); ++k) {
      const bool isInt = all[k].shape == Shape::Int && !all[k].isArray;
      if (isInt) slots[k].integer = std::stoi(words.at(2).text);
      if (all[k].isArray || all[k].shape == Shape::Text) slots[k].pointer = room.data();
    }
    slots[0].pointer = hasHandle ? run.variable(words[1]).handle : nullptr;
    const Form& form = function.plain;
    if (form(slots.data()).pointer != nullptr) names += " " + name;
  }
  return names.empty() ? "none" : names.substr(1);
}

// A model that a script has written as a text, and what becomes of it.
struct Written {
  explicit Written(const std::string& text, const char* directory = nullptr)
      : model(text), instance(model, directory) {}
  zdb::test::kit::Model model;
  zdb::test::kit::Instance instance;
};

// Status and objective, as "Optimal 29", and how a solver ended that failed. Proves a solution.
std::string outcome(const Written& written) {
  void* const instance = written.instance;
  const int status = zkitModelStatus(instance);
  if (status == ZKIT_OPTIMAL || status == ZKIT_INTEGER_SOLUTION) {
    zdb::test::kit::expectOptimal(written.model, instance);
  }
  std::string text = zkitModelStatusText(status);
  text += " " + shown(std::round(zkitObjective(instance) * 1e9) / 1e9);
  if (zkitSolveStatus(instance) == ZKIT_COMPLETED) return text;
  return text + ", " + zkitSolveStatusText(zkitSolveStatus(instance));
}

class KitHost : public Host {
 public:
  KitHost() : Host(makeTable()) {
    words["sweep"] = sweep;
    words["model"] = [this](auto&... all) { return makeModel(all...); };
    words["solve"] = [this](auto&... all) { return solve(all...); };
    words["spoil"] = [this](auto&... all) { return spoil(all...); };
    words["configured"] = configured;
  }

  void* create(const Way& /*way*/) override {
    zkitModel_t model = nullptr;
    zkitModelCreate(&model, "script");
    return model;
  }
  void destroy(void* object) override {
    auto* model = static_cast<zkitModel_t>(object);
    zkitModelFree(&model);
    written_.clear();
    hot_.reset();
  }
  std::string describe(void* /*object*/, const std::string& kind, void* handle) override {
    return kind == "text" ? '"' + std::string(static_cast<const char*>(handle)) + '"' : kind;
  }
  void mark(void* object) override { zkitSetObjective(static_cast<zkitModel_t>(object), -2, 1); }
  std::string message(void* object) override {
    const std::string text = zkitLastError(static_cast<zkitModel_t>(object));
    return text == "There is no column -2" ? "" : text;
  }
  void* callback(const std::string& name) const override {
    static const std::map<std::string, zkitLogCallback_t> logs = {
        {"print", [](const char* text, void*) { std::puts(text); }},
        {"error", [](const char*, void*) { throw std::runtime_error("from the host"); }},
        {"number", [](const char*, void*) { throw 1; }}};
    const auto log = logs.find(name);
    return log == logs.end() ? nullptr : reinterpret_cast<void*>(log->second);
  }

 private:
  // model $INSTANCE TEXT: an instance of a model as zdb::test::kit::Model reads it.
  std::string makeModel(Run& run, const Statement& statement) {
    run.object(statement.object);  // with which it is freed
    const Written& written = written_.emplace_back(statement.arguments.at(1).text);
    run.variables[statement.arguments.at(0).text] = {"pointer", written.instance, nullptr};
    return "done";
  }

  // solve $INSTANCE, solve TEXT: solves with the solver of the way: with one that keeps its problem
  // between all solves of a script, once more from there, and from scratch. Shows what differs.
  std::string solve(Run& run, const Statement& statement) {
    const Token& token = statement.arguments.at(0);
    if (token.kind == Token::Text) {
      run.object(statement.object);
      written_.emplace_back(token.text);
    }
    const auto isMeant = [&](const Written& each) {
      return token.kind == Token::Text || each.instance == run.variable(token).handle;
    };
    const Written& written = *std::find_if(written_.rbegin(), written_.rend(), isMeant);
    const std::string& solver = run.way.settings.at("solver");
    if (!hot_.has_value()) hot_.emplace(solver.c_str());
    std::string all;
    std::string last;
    for (int k = 0; k < 3; ++k) {
      const bool isTaken = k < 2 ? hot_->solve(written.instance) == 0
                                 : written.instance.solve(solver.c_str()).empty();
      const std::string next = (isTaken ? "" : "refused, ") + outcome(written);
      if (next != last) all += (all.empty() ? "" : "; ") + next;
      last = next;
    }
    return all;
  }

  // spoil SETTER $INSTANCE NUMBER VALUE KEPT: solves with a value, then with the one it had.
  std::string spoil(Run& run, const Statement& statement) {
    const std::vector<Token>& given = statement.arguments;
    Statement set = statement;
    set.name = given.at(0).text;
    const auto with = [&](const Token& value) {
      set.arguments = {given.at(1), given.at(2), value};
      run.execute(set);
      return solve(run, set);
    };
    const std::string spoilt = with(given.at(3));
    return spoilt + "; " + with(given.at(4));
  }

  // configured TEXT [TYPE]: solves with solver a of a configuration file of that text; the message.
  static std::string configured(Run& /*run*/, const Statement& statement) {
    const std::vector<Token>& given = statement.arguments;
    const zdb::test::TemporaryFolder folder;
    folder.write("zrncmpun.txt", given.at(0).text);
    const Written written("int x 0 3 ; e: x <= 5 ; max x", folder.path().c_str());
    zkitSetModelType(written.instance, given.size() > 1 ? std::stoi(given[1].text) : ZKIT_MIP);
    const std::string message = written.instance.solve("a");
    if (message.empty()) return outcome(written);
    const std::string file = folder.path("zrncmpun.txt");
    return shown(message.starts_with(file) ? "file" + message.substr(file.size()) : message);
  }

  std::deque<Written> written_;
  std::optional<zdb::test::kit::Hot> hot_;
};

}  // namespace

}  // namespace zdb::script

int main(int argc, char** argv) {
  zdb::script::KitHost host;
  std::vector<zdb::script::Way> ways;
  for (const char* solver : zdb::test::kit::solvers()) {
    ways.emplace_back().name = solver;
    ways.back().settings = {{"configuration", KIT_DIRECTORY "/zrncmpun.txt"},
                            {"directory", KIT_DIRECTORY},
                            {"number", std::to_string(ways.size())},
                            {"solver", solver}};
  }
  ways[0].leavesOut["integers.scr"] = "takes no integer columns";
  return zdb::script::runProgram(argc, argv, {host, ways, {}});
}
