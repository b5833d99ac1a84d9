// Scripts over what the libraries of the model kit export. An object, as @a, is a model under
// construction; instances, dictionaries and the like are variables, which scripts free themselves.
#include <algorithm>

#include "kit/api.h"
#include "script/driver.h"
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
#define ZDB_FUNCTION(name, ...) add(#name, &C##name);
#include "contract/zmifunctions.def"
#define ZDB_FUNCTION(name, ...) add(#name, &C##name);
#include "contract/zrtfunctions.def"
#define ZDB_FUNCTION(name, ...) add(#name, &C##name);
#include "contract/zstfunctions.def"
#define ZDB_FUNCTION(name, ...) add(#name, &C##name);
#include "contract/zlxfunctions.def"
#define ADD(name) add(#name, &name)
#define ADD_LIBRARY(prefix)                 \
  ADD(prefix##XCreate), ADD(prefix##XFree); \
  add(#prefix "XCheck", &C##prefix##XCheck), add(#prefix "XAPIVersion", &C##prefix##XAPIVersion)
  ADD_LIBRARY(zmi), ADD_LIBRARY(zrt), ADD_LIBRARY(zst), ADD_LIBRARY(zlx);
  add("zmiXCreateD", &CzmiXCreateD), add("zrtXCreateD", &CzrtXCreateD);
  add("zlxXCreateD", &CzlxXCreateD);
  ADD(zkitModelCreate), ADD(zkitModelFree), ADD(zkitLastError), ADD(zkitAddSymbol);
  ADD(zkitAddColumn), ADD(zkitSetColumnInteger), ADD(zkitAddRow), ADD(zkitAddCoefficient);
  ADD(zkitAddProduct), ADD(zkitAddConstant), ADD(zkitSetObjective), ADD(zkitModelFinish);
  ADD(zkitFreeInstance), ADD(zkitColumns), ADD(zkitRows), ADD(zkitNonZeros);
  ADD(zkitIntegerColumns), ADD(zkitSetModelType), ADD(zkitModelStatus), ADD(zkitSolveStatus);
  ADD(zkitModelStatusText), ADD(zkitSolveStatusText), ADD(zkitObjectiveColumn);
  ADD(zkitObjective), ADD(zkitDirection), ADD(zkitSolve), ADD(zkitSolveMessage);
  ADD(zkitIterations), ADD(zkitSeconds), ADD(zkitRowName), ADD(zkitColumnName), ADD(zkitSetLog);
  ADD(zkitTerminate), ADD(zkitSetLimits);
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
    if (form.call(form.function, slots.data()).pointer != nullptr) names += " " + name;
  }
  return names.empty() ? "none" : names.substr(1);
}

class KitHost : public Host {
 public:
  KitHost() : Host(makeTable()) { words["sweep"] = sweep; }

  void* create(const Way& /*way*/) override {
    zkitModel_t model = nullptr;
    zkitModelCreate(&model, "script");
    return model;
  }
  void destroy(void* object) override {
    auto* model = static_cast<zkitModel_t>(object);
    zkitModelFree(&model);
  }
  std::string describe(void* /*object*/, const std::string& kind, void* handle) override {
    return kind == "text" ? '"' + std::string(static_cast<const char*>(handle)) + '"' : kind;
  }
  void mark(void* object) override { zkitSetObjective(static_cast<zkitModel_t>(object), -2, 1); }
  std::string message(void* object) override {
    const std::string text = zkitLastError(static_cast<zkitModel_t>(object));
    return text == "There is no column -2" ? "" : text;
  }
};

}  // namespace

}  // namespace zdb::script

int main(int argc, char** argv) {
  zdb::script::KitHost host;
  zdb::script::Way once;
  once.name = "once";
  once.settings["configuration"] = KIT_DIRECTORY "/zrncmpun.txt";
  return zdb::script::runProgram(argc, argv, {host, {once}, {}});
}
