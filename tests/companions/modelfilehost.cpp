// Scripts over the reader of model files. What a file becomes is shown as the names of its columns
// and rows, "x(a) y | c", or as "? " and the message why it becomes nothing.
#include <filesystem>
#include <map>

#include "modelfile_testing.h"
#include "script/driver.h"

namespace {

using namespace zdb::test::modelfile;
using zdb::script::Run;
using zdb::script::shown;
using zdb::script::Statement;
using zdb::script::Token;

std::map<std::string, std::string> texts;

// The arguments from the second on as one text. A word is the name of a text or of a sample.
std::string textOf(const Statement& statement) {
  std::string all;
  for (std::size_t i = 1; i < statement.arguments.size(); ++i) {
    const auto& [kind, text, items] = statement.arguments[i];
    const bool isName = kind == Token::Word && !texts.contains(text);
    all += isName ? sample(text) : kind == Token::Word ? texts.at(text) : text;
  }
  return all;
}

// Puts an instance into the variable $instance and gives its names.
std::string keep(Run& run, void* instance) {
  auto& variable = run.variables["instance"];
  zkitFreeInstance(&variable.handle);
  variable = {"pointer", instance, nullptr};
  std::string all;
  char name[ZKIT_TEXT_SIZE];
  for (int j = 0; zkitColumnName(instance, j, name, sizeof name) == 1; ++j) {
    all.append(name).append(" ");
  }
  all += "|";
  for (int i = 0; zkitRowName(instance, i, name, sizeof name) == 1; ++i) {
    all.append(" ").append(name);
  }
  return shown(all);
}

// text NAME PIECE...: gives a text a name.
std::string nameText(Run& /*run*/, const Statement& statement) {
  texts[statement.arguments.at(0).text] = textOf(statement);
  return "done";
}

// write FILE PIECE...
std::string write(Run& /*run*/, const Statement& statement) {
  std::ofstream(statement.arguments.at(0).text, std::ios::binary) << textOf(statement);
  return "done";
}

// read FILE PIECE...: writes a file and reads it.
std::string read(Run& run, const Statement& statement) {
  write(run, statement);
  void* instance = nullptr;
  char message[1000] = "";
  const int done = zkitReadModel(statement.arguments[0].text.c_str(), nullptr, ZKIT_DIRECTORY,
                                 &instance, message, sizeof message);
  if (done != (*message == '\0' ? 1 : 0)) throw zdb::script::ScriptError("neither of both");
  return done == 1 ? keep(run, instance) : "? " + shown(message);
}

// given NAME|null SIZE PIECE...: reads a text in memory, with SIZE as the size of the options, or
// 0 for what it is.
std::string given(Run& run, const Statement& statement) {
  const Token& name = statement.arguments.at(0);
  Statement rest = statement;
  rest.arguments.erase(rest.arguments.begin());
  const std::string text = textOf(rest);
  zkitReadOptions options = {};
  const int size = std::stoi(rest.arguments.at(0).text);
  options.size = size == 0 ? static_cast<int>(sizeof options) : size;
  if (name.text != "null") options.file = name.text.c_str();
  options.text = text.c_str();
  options.textSize = -1;
  void* instance = nullptr;
  char message[1000] = "";
  const int done = zkitReadModelWith(&options, &instance, message, sizeof message);
  return done == 1 ? keep(run, instance) : "? " + shown(message);
}

// changed TEXT NAME...: reads a text with names of changes, and shows these.
std::string changed(Run& run, const Statement& statement) {
  const std::string& text = texts.at(statement.arguments.at(0).text);
  std::vector<const char*> names;
  for (std::size_t i = 1; i < statement.arguments.size(); ++i) {
    names.push_back(statement.arguments[i].text.c_str());
  }
  zkitReadOptions options = {};
  options.size = sizeof options;
  options.text = text.c_str();
  options.textSize = -1;
  options.changes = names.data();
  options.changeCount = static_cast<int>(names.size());
  void* instance = nullptr;
  char message[1000] = "";
  if (zkitReadModelWith(&options, &instance, message, sizeof message) == 0) {
    return "? " + shown(message);
  }
  keep(run, instance);
  std::string all;
  char symbol[ZKIT_TEXT_SIZE];
  for (int i = 0, action = 0, dim = 0, open = 0, entries = 0;
       zkitGetChange(instance, i, symbol, sizeof symbol, &action, &dim, &open, &entries) == 1;
       ++i) {
    all.append(i == 0 ? "" : ", ").append(symbol);
    for (const int number : {action, dim, open, entries}) all += " " + std::to_string(number);
  }
  return all;
}

// variant TEXT NAME VALUE: what is known of a variant of the text in which a param has the value.
std::string variant(Run& run, const Statement& statement) {
  const std::vector<Token>& what = statement.arguments;
  const char* name = what.at(1).text.c_str();
  const double value = std::stod(what.at(2).text);
  const zkitParams params = {1, &name, &value};
  zkitReadOptions options = {};
  options.size = sizeof options;
  options.text = texts.at(what.at(0).text).c_str();
  options.textSize = -1;
  options.variants = &params;
  options.variantCount = 1;
  void* instance = nullptr;
  char message[1000] = "";
  if (zkitReadModelWith(&options, &instance, message, sizeof message) == 0) {
    return "? " + shown(message);
  }
  keep(run, instance);
  const std::string param = what[1].text.substr(0, what[1].text.find('['));
  const int state = zkitVariantState(instance, 0, message, sizeof message);
  std::string all =
      std::to_string(state) + " of " + std::to_string(zkitParamEntries(instance, param.c_str()));
  return *message == '\0' ? all : all + " " + shown(message);
}

// params TEXT: the params of a text that can be changed.
std::string params(Run& /*run*/, const Statement& statement) {
  zkitReadOptions options = {};
  options.size = sizeof options;
  options.text = texts.at(statement.arguments.at(0).text).c_str();
  options.textSize = -1;
  std::string all;
  const auto add = [](const char* name, void* list) {
    static_cast<std::string*>(list)->append(name).append(" ");
  };
  char message[1000] = "";
  if (zkitListParams(&options, add, &all, message, sizeof message) == 0)
    return "? " + shown(message);
  return all.empty() ? "none" : all.substr(0, all.size() - 1);
}

// solve FILE PIECE...: reads a file and solves it; the objective.
std::string solve(Run& run, const Statement& statement) {
  const std::string names = read(run, statement);
  void* const instance = run.variables["instance"].handle;
  char message[ZKIT_TEXT_SIZE];
  if (zkitSolve(instance, "glpk", message, sizeof message) == 0) return names + message;
  return shown(std::round(zkitObjective(instance) * 1e6) / 1e6);
}

// names COLUMN... rows ROW... ranges ROW... own ROW objective NAME: what a model with these names
// becomes, any of which may be left out. `own` is the objective's row.
std::string names(Run& run, const Statement& statement) {
  FileModel model;
  std::string part = "columns";
  for (const Token& token : statement.arguments) {
    if (token.kind == Token::Word) {
      part = token.text;
    } else if (part == "columns") {
      model.columns.push_back({token.text, 0.0, 1.0, false});
    } else if (part == "objective") {
      model.objectiveName = token.text;
    } else {
      model.rows.push_back({token.text, part == "ranges" ? 1.0 : 2.0, 2.0});
      if (part == "own") model.objectiveRow = static_cast<int>(model.rows.size());
    }
  }
  try {
    return keep(run, buildInstance(model, ""));
  } catch (const ReadError& error) {
    return "? " + shown(error.what());
  }
}

zdb::script::FunctionTable makeTable() {
#define FUNCTION(name) \
  { #name, zdb::script::Function::make(#name, &name, false) }
  return {FUNCTION(zkitReadModel),      FUNCTION(zkitReadModelX),     FUNCTION(zkitNonZeros),
          FUNCTION(zkitRows),           FUNCTION(zkitDirection),      FUNCTION(zkitColumnName),
          FUNCTION(zkitIntegerColumns), FUNCTION(zkitObjectiveColumn)};
}

class ModelFileHost : public zdb::script::Host {
 public:
  ModelFileHost() : Host(makeTable()) {
    words = {{"text", nameText}, {"write", write},     {"read", read},
             {"given", given},   {"changed", changed}, {"variant", variant},
             {"params", params}, {"solve", solve},     {"names", names}};
  }
  void* create(const zdb::script::Way& /*way*/) override { return nullptr; }
  void destroy(void* /*object*/) override {}
  void release(void* /*object*/, const std::string& /*kind*/, void* handle) override {
    zkitFreeInstance(&handle);
  }
};

}  // namespace

// NOLINTNEXTLINE(bugprone-exception-escape): an exception ends the test, as it should
int main(int argc, char** argv) {
  const TemporaryFolder folder;
  std::filesystem::current_path(folder.path());
  ModelFileHost host;
  zdb::script::Way once;
  once.name = "once";
  const int result = zdb::script::runProgram(argc, argv, {host, {once}, {}});
  std::filesystem::current_path("/");
  return result;
}
