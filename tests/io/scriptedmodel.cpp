#include "scriptedmodel.h"

#include <strings.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <utility>

#include "loaders/zlx.h"
#include "loaders/zrt.h"
#include "loaders/zst.h"

using namespace zdb;
using namespace zdb::loaders;

namespace {

ScriptedModel* script = nullptr;

std::string number(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", value);
  return text;
}

template <typename... Arguments>
void note(const char* name, const Arguments&... arguments) {
  std::ostringstream line;
  ((line << arguments << ","), ...);
  std::string text = line.str();
  if (!text.empty()) text.pop_back();
  script->calls.push_back(std::string(name) + "(" + text + ")");
}

int result(const char* name, int otherwise) {
  const auto found = script->results.find(name);
  return found == script->results.end() ? otherwise : found->second;
}

ScriptedModel::Entry& column(int j) {
  return script->columns.at(static_cast<std::size_t>(j));
}
ScriptedModel::Entry& row(int i) {
  return script->rows.at(static_cast<std::size_t>(i));
}
ScriptedModel::Symbol& symbol(int i) {
  return script->symbols.at(static_cast<std::size_t>(i - 1));
}

int copy(const std::string& text, char* out, int size) {
  std::snprintf(out, static_cast<std::size_t>(size), "%s", text.c_str());
  return 1;
}

int get(double ScriptedModel::Entry::*field, const std::vector<ScriptedModel::Entry>& entries,
        double* out) {
  for (const auto& entry : entries) *out++ = entry.*field;
  return 1;
}

int solution(const ScriptedModel::Entry& entry, double* level, double* marginal, int* status,
             int* basisStatus) {
  *level = entry.level;
  *marginal = entry.marginal;
  *status = entry.status;
  *basisStatus = entry.status + 10;
  return 1;
}

int keyOf(int type, int entry, int* number, int* key, int* dim) {
  for (std::size_t s = 0; s < script->symbols.size(); ++s) {
    const auto& found = script->symbols[s];
    for (std::size_t k = 0; found.type == type && k < found.keys.size(); ++k) {
      if (found.entries[k] != entry) continue;
      std::copy(found.keys[k].begin(), found.keys[k].end(), key);
      *number = static_cast<int>(s) + 1;
      *dim = found.dim;
      return 1;
    }
  }
  return 0;
}

struct Walk {
  const std::vector<int>* entries;
  std::size_t next = 0;

  int step() { return next < entries->size() ? (*entries)[next++] : -1; }
};

void installDictionary() {
  zlxNUels = [](zlxHandle) { return static_cast<int>(script->labels.size()); };
  zlxUelLabel = [](zlxHandle, int i, char* quote, char* label, int size) {
    *quote = ' ';
    return copy(script->labels.at(static_cast<std::size_t>(i - 1)), label, size);
  };
  zlxNLSyms = [](zlxHandle) { return static_cast<int>(script->symbols.size()); };
  zlxSymName = [](zlxHandle, int i, char* name, int size) {
    return copy(symbol(i).name, name, size);
  };
  zlxSymType = [](zlxHandle, int i) { return symbol(i).type; };
  zlxSymDim = [](zlxHandle, int i) { return symbol(i).dim; };
  zlxSymUserInfo = [](zlxHandle, int i) { return symbol(i).userInfo; };
  zlxSymText = [](zlxHandle, int i, char* quote, char* text, int size) {
    *quote = ' ';
    return copy(symbol(i).text, text, size);
  };
  zlxSymIndex = [](zlxHandle, const char* name) {
    for (std::size_t i = 0; i < script->symbols.size(); ++i) {
      if (strcasecmp(script->symbols[i].name.c_str(), name) == 0) return static_cast<int>(i) + 1;
    }
    return 0;
  };
  zlxFindFirstRowCol = [](zlxHandle, int number, const int* key, int* rowcol) -> void* {
    for (int d = 0; d < symbol(number).dim; ++d) EXPECT_EQ(key[d], 0);
    ++script->openWalks;
    auto* walk = new Walk{&symbol(number).entries};
    *rowcol = walk->step();
    return walk;
  };
  zlxFindNextRowCol = [](zlxHandle, void* find, int* rowcol) {
    *rowcol = static_cast<Walk*>(find)->step();
    return 1;
  };
  zlxFindClose = [](zlxHandle, void* find) {
    --script->openWalks;
    delete static_cast<Walk*>(find);
    return 1;
  };
  zlxRowUels = [](zlxHandle, int i, int* number, int* key, int* dim) {
    return keyOf(6, i, number, key, dim);
  };
  zlxColUels = [](zlxHandle, int j, int* number, int* key, int* dim) {
    return keyOf(5, j, number, key, dim);
  };
}

void installGetters() {
  zmiDict = [](zmiHandle) -> void* { return script->hasDictionary ? script : nullptr; };
  zmiEnvironment = [](zmiHandle) -> void* { return script->hasEnvironment ? script : nullptr; };
  zmiN = [](zmiHandle) { return static_cast<int>(script->columns.size()); };
  zmiM = [](zmiHandle) { return static_cast<int>(script->rows.size()); };
  zmiModelType = [](zmiHandle) { return script->modelType; };
  using Entry = ScriptedModel::Entry;
  zmiGetVarL = [](zmiHandle, double* n) { return get(&Entry::level, script->columns, n); };
  zmiGetVarM = [](zmiHandle, double* n) { return get(&Entry::marginal, script->columns, n); };
  zmiGetEquL = [](zmiHandle, double* m) { return get(&Entry::level, script->rows, m); };
  zmiGetEquM = [](zmiHandle, double* m) { return get(&Entry::marginal, script->rows, m); };
  zmiGetVarLOne = [](zmiHandle, int j) { return column(j).level; };
  zmiGetVarLowerOne = [](zmiHandle, int j) {
    return script->altBounds ? column(j).altLower : column(j).lower;
  };
  zmiGetVarUpperOne = [](zmiHandle, int j) {
    return script->altBounds ? column(j).altUpper : column(j).upper;
  };
  zmiGetVarScaleOne = [](zmiHandle, int j) { return column(j).scale; };
  zmiGetEquLOne = [](zmiHandle, int i) { return row(i).level; };
  zmiGetRhsOne = [](zmiHandle, int i) { return row(i).lower; };
  zmiGetEquScaleOne = [](zmiHandle, int i) { return row(i).scale; };
  zmiGetEquTypeOne = [](zmiHandle, int i) { return row(i).type; };
  zmiGetVarStatOne = [](zmiHandle, int j) { return column(j).status; };
  zmiGetVarCStatOne = [](zmiHandle, int j) { return column(j).status + 10; };
  zmiGetEquStatOne = [](zmiHandle, int i) { return row(i).status; };
  zmiGetEquCStatOne = [](zmiHandle, int i) { return row(i).status + 10; };
  zmiGetSolutionVarRec = [](zmiHandle, int j, double* level, double* marginal, int* status,
                            int* basis) {
    return solution(column(j), level, marginal, status, basis);
  };
  zmiGetSolutionEquRec = [](zmiHandle, int i, double* level, double* marginal, int* status,
                            int* basis) {
    return solution(row(i), level, marginal, status, basis);
  };
}

// A call that only leaves a line and succeeds.
#define NOTED_INDEX_VALUE(name)               \
  name = [](zmiHandle, int i, double value) { \
    note(#name, i, number(value));            \
    return 1;                                 \
  }
#define NOTED_FLAG(name)           \
  name = [](zmiHandle, int flag) { \
    note(#name, flag);             \
    return 1;                      \
  }
#define NOTED_SOLUTION(name)                                                                \
  name = [](zmiHandle, int i, double level, double marginal, int status, int basisStatus) { \
    note(#name, i, number(level), number(marginal), status, basisStatus);                   \
    return 1;                                                                               \
  }
#define NOTED_PLAIN(name) \
  name = [](zmiHandle) {  \
    note(#name);          \
    return 1;             \
  }

void installSetters() {
  zmiPinfSet = [](zmiHandle, double value) {
    note("zmiPinfSet", number(value));
    return 1;
  };
  zmiMinfSet = [](zmiHandle, double value) {
    note("zmiMinfSet", number(value));
    return 1;
  };
  zmiSetVarLOne = [](zmiHandle, int j, double value) {
    note("zmiSetVarLOne", j, number(value));
    column(j).level = value;
    return 1;
  };
  zmiAltBoundsSet = [](zmiHandle, int flag) {
    note("zmiAltBoundsSet", flag);
    script->altBounds = flag != 0;
    return 1;
  };
  zmiEvalGradNLUpdate = [](zmiHandle, double* g) {
    note("zmiEvalGradNLUpdate");
    for (std::size_t i = 0; i < script->rows.size(); ++i) {
      EXPECT_EQ(g[i], 0);
      g[i] = 0.5 + static_cast<double>(i);
    }
    return 1;
  };
  NOTED_INDEX_VALUE(zmiSetAltVarLowerOne);
  NOTED_INDEX_VALUE(zmiSetAltVarUpperOne);
  NOTED_INDEX_VALUE(zmiSetEquLOne);
  NOTED_INDEX_VALUE(zmiSetAltRHSOne);
  NOTED_SOLUTION(zmiSetSolutionVarRec);
  NOTED_SOLUTION(zmiSetSolutionEquRec);
  NOTED_FLAG(zmiAltRHSSet);
  NOTED_FLAG(zmiForceLinearSet);
  NOTED_FLAG(zmiModelStatSet);
  NOTED_FLAG(zmiSolveStatSet);
  NOTED_PLAIN(zmiViewStore);
  NOTED_PLAIN(zmiViewRestore);
}

void installSolvers() {
  zrtGetStrOpt = [](zrtHandle, const char* option, char* value) {
    note("zrtGetStrOpt", option);
    return copy("/sys", value, 256);
  };
  zrtTerminateClear = [](zrtHandle) {
    note("zrtTerminateClear");
    return 1;
  };
  zrtLog = [](zrtHandle, const char* text) {
    note("zrtLog", text);
    return 1;
  };
  zrtCallSolver = [](zrtHandle, void* instance, const char* control, const char* solver, int link,
                     int logging, double limit1, double limit2, double limit3, const char* file1,
                     const char* file2, int limit4, int limit5, void* job, char* message) {
    EXPECT_EQ(instance, script);
    EXPECT_EQ(job, nullptr);
    note("zrtCallSolver", control, solver, link, logging, limit1, limit2, limit3, file1, file2,
         limit4, limit5);
    copy("no such luck", message, 256);
    return result("zrtCallSolver", 0);
  };
  zstReadConfigGUC = [](zstHandle, const char* file, const char* dir) {
    note("zstReadConfigGUC", file, dir);
    return result("zstReadConfigGUC", 0);
  };
  // Solver names are numbers.
  zstAlgNumber = [](zstHandle, const char* name) { return std::atoi(name); };
  zstAlgAllowsModifyProblem = [](zstHandle, int) { return script->modifying; };
  zstAlgCreate = [](zstHandle, int alg, const char* dir, char* message, int size) {
    note("zstAlgCreate", alg, dir);
    copy("no license", message, size);
    return result("zstAlgCreate", 1);
  };
  zstAlgReadyAPI = [](zstHandle, int alg, void* instance) {
    EXPECT_EQ(instance, script);
    note("zstAlgReadyAPI", alg);
    return result("zstAlgReadyAPI", 0);
  };
  zstAlgModifyProblem = [](zstHandle, int alg) {
    note("zstAlgModifyProblem", alg);
    return result("zstAlgModifyProblem", 0);
  };
  zstAlgCallSolver = [](zstHandle, int alg, void* instance) {
    EXPECT_EQ(instance, script);
    note("zstAlgCallSolver", alg);
    return result("zstAlgCallSolver", 0);
  };
  zstAlgFree = [](zstHandle, int alg) {
    note("zstAlgFree", alg);
    return 1;
  };
}

}  // namespace

void ScriptedModel::install() {
  script = this;
  char message[256];
  // Loaded first: loading points the functions at the library.
  EXPECT_EQ(zmiGetReadyD(MODEL_DIR, message, sizeof message), 1) << message;
  EXPECT_EQ(zlxGetReadyD(MODEL_DIR, message, sizeof message), 1) << message;
  EXPECT_EQ(zrtGetReadyD(MODEL_DIR, message, sizeof message), 1) << message;
  EXPECT_EQ(zstGetReadyD(MODEL_DIR, message, sizeof message), 1) << message;
  installDictionary();
  installGetters();
  installSetters();
  installSolvers();
}

ScriptedModel::~ScriptedModel() {
  EXPECT_EQ(openWalks, 0);
  script = nullptr;
}

ScriptedModel::Symbol& ScriptedModel::add(const std::string& name, int type, int dim,
                                          std::vector<std::vector<int>> keys) {
  Symbol added{name, type, dim, std::move(keys), {}, 0, ""};
  std::vector<Entry>& entries = type == 5 ? columns : rows;
  for (std::size_t k = 0; k < added.keys.size(); ++k) {
    added.entries.push_back(static_cast<int>(entries.size()));
    entries.emplace_back();
  }
  symbols.push_back(std::move(added));
  return symbols.back();
}

ScriptedModel::Symbol& ScriptedModel::find(const std::string& name) {
  return symbol(zlxSymIndex(nullptr, name.c_str()));
}

ScriptedModel::Entry& ScriptedModel::column(const std::string& name, std::size_t key) {
  return ::column(find(name).entries.at(key));
}

ScriptedModel::Entry& ScriptedModel::row(const std::string& name, std::size_t key) {
  return ::row(find(name).entries.at(key));
}

std::string ScriptedModel::taken(const std::string& words) {
  std::string joined;
  for (const std::string& call : std::exchange(calls, {})) {
    std::istringstream prefixes(words);
    std::string prefix;
    bool isWanted = words.empty();
    while (prefixes >> prefix) isWanted = isWanted || call.rfind(prefix, 0) == 0;
    if (isWanted) joined += (joined.empty() ? "" : " ") + call;
  }
  return joined;
}

namespace {

// Loads the data exchange library, which the model's folder does not have.
std::string modelDirectory() {
  const ZDB withFiles(COMPANION_DIR);
  return MODEL_DIR;
}

}  // namespace

ModelTest::ModelTest() : db(modelDirectory()) {}

AbstractZDBSymbol* ModelTest::add(const char* name, int type, int dim) {
  const std::vector<AbstractZDBSymbol*> domains(static_cast<std::size_t>(dim), db.universe());
  return db.AddSymbol(name, dim, type, 0, "", domains.data(), nullptr);
}

double* ModelTest::merge(AbstractZDBSymbol* symbol, std::vector<const char*> key) {
  double* values = db.MergeRecord(symbol, key.data(), nullptr).second;
  EXPECT_NE(values, nullptr) << db.lastError();
  return values;
}

std::string ModelTest::records(const char* name) {
  AbstractZDBSymbol* symbol = db.symbols()[name];
  if (!db.ensureLoaded(symbol)) return db.lastError();
  std::string lines;
  symbol->forEachRecord([&](const int* keys, const double* values) {
    lines += lines.empty() ? "" : "; ";
    for (int d = 0; d < symbol->dim; ++d) lines += std::string(db.labelText(keys[d])) + " ";
    for (int i = 0; i < valueWidth(symbol->type); ++i) {
      lines += (i == 0 ? "" : ",") + number(values[i]);
    }
  });
  return lines;
}

void ModelTest::expectFailure(bool result, const std::string& message) const {
  EXPECT_FALSE(result) << message;
  EXPECT_EQ(db.lastError(), message);
}
