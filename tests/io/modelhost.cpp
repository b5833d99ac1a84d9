// Scripts over databases that are tied to instances of the model kit, with a spy between the two.
#include <iostream>
#include <memory>

#include "companions/kit/testing.h"
#include "io/spy.h"
#include "loaders/zlx.h"
#include "loaders/zmi.h"
#include "loaders/zrt.h"
#include "loaders/zst.h"
#include "loaders/zxf.h"
#include "script/zdbhost.h"
#include "support/files.h"

namespace zdb::script {

FunctionTable unexportedFunctions();

namespace {

/// Beside those of the library's that are not exported, the kit's own functions on instances,
/// called by the name of the loader's but past the spy.
FunctionTable moreFunctions() {
  FunctionTable table = unexportedFunctions();
#define ZDB_FUNCTION(name, result, parameters, codes) \
  table.emplace(#name, Function::make(#name, &C##name, false));
#include "contract/zmifunctions.def"
  return table;
}

struct ModelInstance {
  zdb::test::kit::Model model;
  zdb::test::kit::Instance instance;

  ModelInstance(const std::string& text, const std::string& directory)
      : model(text), instance(model, directory.empty() ? nullptr : directory.c_str()) {
    // Integer columns are solved as if they were not.
    if (zkitIntegerColumns(instance) > 0) zkitSetModelType(instance, ZKIT_RMIP);
  }
};

/// Level, marginal and bounds of a column, or level and marginal of a row.
std::string shownEntry(void* instance, bool isColumn, int number) {
  const auto [level, marginal, status, basis] = zdb::test::kit::entryOf(
      isColumn ? CzmiGetSolutionVarRec : CzmiGetSolutionEquRec, instance, number);
  std::string text = shown(level) + "/" + shown(marginal);
  if (isColumn) {
    text += "/" + shown(CzmiGetVarLowerOne(instance, number)) + "/" +
            shown(CzmiGetVarUpperOne(instance, number));
  }
  const bool isKept = status == ZKIT_LEVEL_NOT_OPTIMAL && basis == ZKIT_SUPER_BASIC;
  return text + (isKept ? "" : " with another status");
}

class ModelHost : public ZdbHost {
 public:
  ModelHost() : ZdbHost(moreFunctions()) {
    words["model"] = [this](Run& run, const Statement& statement) {
      const std::vector<Token>& what = statement.arguments;
      models_.push_back(std::make_unique<ModelInstance>(
          what.at(1).text, what.size() > 2 ? run.resolved(what[2]) : ""));
      run.variables[statement.arguments[0].text] = {"model", models_.back()->instance, nullptr};
      return std::string("made");
    };
    // file $model TEXT CHANGE...: a model file with names of what is to change.
    words["file"] = [this](Run& run, const Statement& statement) {
      std::vector<const char*> changes;
      for (std::size_t i = 2; i < statement.arguments.size(); ++i) {
        changes.push_back(statement.arguments[i].text.c_str());
      }
      zkitReadOptions options = {};
      options.size = sizeof options;
      options.text = statement.arguments.at(1).text.c_str();
      options.textSize = -1;
      options.changes = changes.data();
      options.changeCount = static_cast<int>(changes.size());
      void* instance = nullptr;
      char message[1000] = "read";
      zkitReadModelWith(&options, &instance, message, sizeof message);
      files_.push_back(std::make_unique<zdb::test::kit::Instance>(instance));
      run.variables[statement.arguments[0].text] = {"model", instance, nullptr};
      return instance == nullptr ? zdb::script::shown(message) : "read";
    };
    words["answer"] = [this](Run&, const Statement& statement) { return answer(statement); };
    words["calls"] = [this](Run& run, const Statement& statement) {
      return spy_.taken(run.resolved(statement.arguments.at(0)));
    };
    words["create"] = [this](Run& run, const Statement& statement) {
      void*& object = run.objects[statement.object];
      object == nullptr ? void(++databases_) : ZdbHost::destroy(object);
      zdbHandle_t db = nullptr;
      zdbcreated(&db, statement.arguments.at(0).text.c_str(), nullptr, 0);
      const std::string text = lastError(static_cast<zdbHandle_t>(object = db));
      return "created" + (text.empty() ? "" : " \"" + text + '"');
    };
    words["unload"] = [](Run&, const Statement& statement) {
      static const std::map<std::string, int (*)()> unload = {{"zmi", loaders::zmiLibraryUnload},
                                                              {"zlx", loaders::zlxLibraryUnload},
                                                              {"zrt", loaders::zrtLibraryUnload},
                                                              {"zst", loaders::zstLibraryUnload}};
      return std::to_string(unload.at(statement.arguments.at(0).text)());
    };
    words["load"] = [](Run&, const Statement&) {
      Spy::comeBetween();
      return std::string("loaded");
    };
    words["update"] = &update;
  }

  void* create(const Way& way) override {
    ++databases_;
    return ZdbHost::create(way);
  }
  /// Models have to outlive the databases that are tied to them.
  void destroy(void* object) override {
    ZdbHost::destroy(object);
    if (--databases_ > 0) return;
    loaders::zxfLibraryUnload();
    models_.clear();
    files_.clear();
    isBalanced &= spy_.isBalanced();
    spy_.answers.clear();
    spy_.counts.clear();
    spy_.calls = {};  // with its memory, which else counts as lost
  }

  bool isBalanced = true;

 private:
  /// answer FUNCTION NUMBER [TEXT]; without a function, all answer for themselves again.
  std::string answer(const Statement& statement) {
    const std::vector<Token>& what = statement.arguments;
    if (what.empty()) {
      spy_.answers.clear();
    } else {
      Spy::Answer& given = spy_.answers[what[0].text];
      given.result = std::stod(what.at(1).text);
      if (what.size() > 2) given.text = what[2].text;
    }
    return "set";
  }

  /// update $model $symbol ACTION $data FIRST: what becomes of a column (a row, if the symbol is an
  /// equation), and of the next one for each treatment of entries without a record. They have the
  /// levels 5 and 6, a tenth of them as marginals, and alternative bounds of -9 and 90.
  static std::string update(Run& run, const Statement& statement) {
    const std::vector<Token>& what = statement.arguments;
    void* const instance = run.variable(what.at(0)).handle;
    auto* const db = static_cast<zdbHandle_t>(run.object(statement.object));
    auto* const symbol = static_cast<zdbSymbol_t>(run.variable(what.at(1)).handle);
    auto* const data = static_cast<zdbSymbol_t>(run.variable(what.at(3)).handle);
    const int first = std::stoi(what.at(4).text);
    int type = 0;
    c__zdbsymboltype(db, symbol, &type);
    const bool areColumns = type != ZDB_EQUATION;
    const auto set = areColumns ? CzmiSetSolutionVarRec : CzmiSetSolutionEquRec;
    std::string found;
    std::string missing;
    for (const int treatment : {ZDB_MISSING_ZERO, ZDB_MISSING_BASE, ZDB_MISSING_KEEP}) {
      for (const int i : {0, 1}) {
        set(instance, first + i, 5 + i, (5 + i) / 10.0, ZKIT_LEVEL_NOT_OPTIMAL, ZKIT_SUPER_BASIC);
        if (!areColumns) continue;
        CzmiSetAltVarLowerOne(instance, first + i, -9);
        CzmiSetAltVarUpperOne(instance, first + i, 90);
      }
      CzmiAltBoundsSet(instance, 1);
      int unmatched = 0;
      const int action = std::stoi(what.at(2).text);
      c__zdbupdatemodelsymbol(db, symbol, action, data, treatment, &unmatched);
      const std::string now = shownEntry(instance, areColumns, first);
      if (found.find(now) == found.npos) found += now + ": ";
      missing += shownEntry(instance, areColumns, first + 1) + " ";
      if (unmatched != 0) missing += "and unmatched records ";
    }
    return found + missing.substr(0, missing.size() - 1);
  }

  Spy spy_;
  std::vector<std::unique_ptr<ModelInstance>> models_;
  std::vector<std::unique_ptr<zdb::test::kit::Instance>> files_;
  int databases_ = 0;
};

/// What is said of a library that is not there.
std::string missing(const std::string& path) {
  return "Could not load shared library " + path + ": " + path +
         ": cannot open shared object file: No such file or directory";
}

/// A folder with a configuration of the solvers.
std::string configured(const zdb::test::TemporaryFolder& folder, const std::string& name,
                       const std::string& text) {
  std::filesystem::create_directory(folder.path(name));
  folder.write(name + "/zrncmpun.txt", text);
  return folder.path(name);
}

std::vector<Way> makeWays() {
  static const zdb::test::TemporaryFolder folder;
  std::vector<Way> ways;
  for (int storage = 0; storage < 3; ++storage) {
    for (const bool isPlain : {true, false}) {
      Way& way = ways.emplace_back();
      way.name = "storage " + std::to_string(storage) + (isPlain ? "" : " short twin");
      way.usesShortStrings = way.usesTwins = !isPlain;
      way.settings = {
          {"storage", std::to_string(storage)},
          {"file", folder.path("a.zxf")},
          {"bad", configured(folder, "bad", "# solvers\nclp clp QP")},
          {"narrow", configured(folder, "narrow", "clp clp RMIP")},
          {"nofiles", "ZXF create did not succeed: " + missing("/nowhere/libzxfcclib64.so")},
          {"nokit", missing("/nowhere/libzkitdclib64.so")},
          {"nolabels", missing("/nowhere/libzlxmdclib64.so")},
          {"kit", KIT_DIRECTORY},
          {"kept", isPlain ? "-" : "\"\""},
          // Beginnings of calls of which the order is laid down, and what they are at a solve.
          {"order",
           "zrt zstAlgC zstAlgR zstAlgM zstAlgF zmiView zmiModelS zmiSolveS "
           "zmiAltRHSS zmiForce"},
          {"form", "zmiEval zmiSetAltRHS zmiAltRHS zmiForce"},
          {"linear", "zmiAltRHSSet(1) zmiForceLinearSet(1)"},
          {"stored",
           "zrtTerminateClear() zmiViewStore() zmiModelStatSet(13) "
           "zmiSolveStatSet(13)"},
          {"restored", "zmiViewRestore() %usual"},
          {"usual", "zmiAltRHSSet(0) zmiForceLinearSet(0)"},
          {"again",
           "zstAlgModifyProblem(1) zrtLog(*** Hotstart failed! Falling back to warm start...) "
           "zstAlgFree(1) zmiViewRestore()"},
          {"limits", "5,0,2e+300,2e+300,2e+300,,,2100000000,2100000000,null"}};
    }
  }
  return ways;
}

SweepRules makeRules() {
  SweepRules rules = ZdbHost::memoryRules();
  rules.picture = [](void*) { return "symbols of a model are loaded when they are looked at"; };
  rules.spared = {{"z(mi|lx|rt|st).*", "they are the kit's, and called past the database"},
                  {"calls", "those of a call that has failed come before those of the next"}};
  rules.failures.emplace_back("zdb(InitUpdate|CallSolver(Timed)?)",
                              "0.*\"(Could not read configuration file|Error while creating object|"
                              "readyapi failed|callsolver failed|Out of memory)\"");
  return rules;
}

}  // namespace

}  // namespace zdb::script

int main(int argc, char** argv) try {
  zdb::script::ModelHost host;
  const int result = zdb::script::runProgram(
      argc, argv, {host, zdb::script::makeWays(), zdb::script::makeRules()});
  if (!host.isBalanced) std::cerr << "a walk was not closed, or a stored view not restored\n";
  return host.isBalanced ? result : 1;
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
