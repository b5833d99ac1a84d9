#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "io/modeldictionary.h"
#include "loaders/zmi.h"
#include "loaders/zrt.h"
#include "loaders/zst.h"

// Preparing a model instance for updates and solves.
namespace zdb {

using namespace loaders;

namespace {

struct FreeConfiguration {
  void operator()(zstRec* configuration) const { zstFree(&configuration); }
};
using Configuration = std::unique_ptr<zstRec, FreeConfiguration>;

/// Loads the environment's library and makes a configuration, both from `directory` if it has a
/// name; null and the library's message on failure.
Configuration loadSolverLibraries(ZDB& db, const std::string& directory) {
  char message[kMessageSize] = "";
  zstRec* configuration = nullptr;
  const bool isLoaded =
      directory.empty()
          ? zrtGetReady(message, sizeof message) != 0 &&
                zstCreate(&configuration, message, sizeof message) != 0
          : zrtGetReadyD(directory.c_str(), message, sizeof message) != 0 &&
                zstCreateD(&configuration, directory.c_str(), message, sizeof message) != 0;
  if (!isLoaded) db.setLastError("%s", message);
  return Configuration(configuration);
}

/// The directory of the solvers, with a slash at its end.
std::string systemDirectoryOf(zrtRec* environment) {
  char directory[kMessageSize] = "";
  zrtGetStrOpt(environment, "NameSysDir", directory);
  std::string result = directory;
  if (!result.empty() && result.back() != '/') result += '/';
  return result;
}

/// Keeps the instance's levels and marginals, to which updates can go back.
void saveSolution(ModelLink& link) {
  link.columns = std::max(0, zmiN(link.instance));
  link.rows = std::max(0, zmiM(link.instance));
  const auto columns = static_cast<std::size_t>(link.columns);
  const auto rows = static_cast<std::size_t>(link.rows);
  link.columnLevels.assign(columns + 1, 0.0);
  link.columnMarginals.assign(columns + 1, 0.0);
  link.rowLevels.assign(rows + 1, 0.0);
  link.rowMarginals.assign(rows + 1, 0.0);
  link.constantTerms.assign(rows + 1, 0.0);
  zmiGetVarL(link.instance, link.columnLevels.data());
  zmiGetVarM(link.instance, link.columnMarginals.data());
  zmiGetEquL(link.instance, link.rowLevels.data());
  zmiGetEquM(link.instance, link.rowMarginals.data());
}

/// Fixes the columns that stand for parameters at their levels.
void fixParameters(const ModelLink& link) {
  const int symbols = zlxNLSyms(link.dictionary);
  for (int i = 1; i <= symbols; ++i) {
    const DictionarySymbol symbol(link.dictionary, i);
    char name[kDictionaryNameSize] = "";
    zlxSymName(link.dictionary, i, name, sizeof name);
    const std::string_view text = name;
    const bool isParameter = text.size() > kParameterSuffix.size() &&
                             text.substr(text.size() - kParameterSuffix.size()) == kParameterSuffix;
    if (!symbol.isVariable() || !isParameter) continue;
    for (RowColWalk walk(link.dictionary, symbol); !walk.isAtEnd(); walk.next()) {
      const int column = walk.current();
      if (column >= link.columns) continue;
      const double level = link.columnLevels[static_cast<std::size_t>(column)];
      zmiSetAltVarLowerOne(link.instance, column, level);
      zmiSetAltVarUpperOne(link.instance, column, level);
    }
  }
}

}  // namespace

bool ZDB::InitUpdate(zmiRec* instance) {
  if (initFrom_ == FROM_ZXF) {
    return setLastError("Database initialized from ZXF cannot sync with model");
  }
  if (model_.isPrepared()) return true;
  if (model_.dictionary == nullptr && !RegisterZMI(instance)) return false;
  if (instance != model_.instance) {
    return setLastError("The model instance is not the one that the database is registered with");
  }
  // Symbols are loaded one by one, and no such load may bring labels that a walk or a file that is
  // being written has not seen.
  if (!readModelLabels(*this, model_)) return false;
  initFrom_ = FROM_ZMI;
  Configuration configuration = loadSolverLibraries(*this, directory_);
  if (!configuration) return false;
  auto* environment = static_cast<zrtRec*>(zmiEnvironment(instance));
  if (environment == nullptr) return setLastError("No solver environment available");
  model_.systemDirectory = systemDirectoryOf(environment);
  const std::string file = model_.systemDirectory + "zrncmpun.txt";
  if (zstReadConfigGUC(configuration.get(), file.c_str(), model_.systemDirectory.c_str()) != 0) {
    return setLastError("Could not read configuration file");
  }
  saveSolution(model_);
  fixParameters(model_);
  // Only now: a preparation that failed can be tried again.
  model_.configuration = configuration.release();
  model_.environment = environment;
  return true;
}

}  // namespace zdb
