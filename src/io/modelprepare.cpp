// Preparing a model instance for updates and solves.
#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "io/modeldictionary.h"
#include "io/modelsource.h"
#include "io/solverfailure.h"
#include "loaders/zmi.h"
#include "loaders/zrt.h"
#include "loaders/zst.h"

namespace zdb {

using namespace loaders;

namespace {

struct FreeConfiguration {
  void operator()(zstRec* configuration) const { zstFree(&configuration); }
};
using Configuration = std::unique_ptr<zstRec, FreeConfiguration>;

/// Loads the libraries of environment and configuration, from the database's directory if it has
/// one, and makes a configuration; null and the library's message on failure.
Configuration loadSolverLibraries(ZDB& db) {
  const std::string& directory = db.directory();
  char message[kMessageSize] = "";
  zstRec* configuration = nullptr;
  const bool isLoaded =
      directory.empty()
          ? zrtGetReady(message, sizeof message) != 0 &&
                zstCreate(&configuration, message, sizeof message) != 0
          : zrtGetReadyD(directory.c_str(), message, sizeof message) != 0 &&
                zstCreateD(&configuration, directory.c_str(), message, sizeof message) != 0;
  if (!isLoaded) db.setLastError(ErrorCompanion, "%s", message);
  return Configuration(configuration);
}

/// The directory of the solvers, ending in a slash.
std::string systemDirectoryOf(zrtRec* environment) {
  char directory[kMessageSize] = "";
  zrtGetStrOpt(environment, "NameSysDir", directory);
  std::string result = directory;
  if (!result.empty() && result.back() != '/') result += '/';
  return result;
}

/// Saves the instance's levels and marginals as the base values of updates.
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

/// Fixes the columns that represent parameters at their levels.
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

bool prepareUpdates(ZDB& db, ModelLink& link, zmiRec* instance) {
  if (db.GetInitFrom() == FROM_ZXF) {
    return db.setLastError(ErrorState, "Database initialized from ZXF cannot sync with model");
  }
  if (link.isPrepared()) return true;
  if (link.dictionary == nullptr && !db.RegisterZMI(instance)) return false;
  if (instance != link.instance) {
    return db.setLastError(
        ErrorArgument, "The model instance is not the one that the database is registered with");
  }
  // Symbols are loaded later, one by one, and must not add labels then: a walk or a file that is
  // being written would miss these.
  if (!readModelLabels(db, link)) return false;
  db.setInitFrom(FROM_ZMI);
  Configuration configuration = loadSolverLibraries(db);
  if (!configuration) return false;
  auto* environment = static_cast<zrtRec*>(zmiEnvironment(instance));
  if (environment == nullptr) return db.setLastError(ErrorModel, "No solver environment available");
  link.systemDirectory = systemDirectoryOf(environment);
  const std::string file = link.systemDirectory + "zrncmpun.txt";
  if (zstReadConfigGUC(configuration.get(), file.c_str(), link.systemDirectory.c_str()) != 0) {
    db.setLastError(ErrorCompanion, "Could not read configuration file");
    return db.reportReason(lastSolverFailure(environment).c_str());
  }
  saveSolution(link);
  fixParameters(link);
  // Set last, so that a failed preparation can be repeated.
  link.configuration = configuration.release();
  link.environment = environment;
  return true;
}

}  // namespace

bool ZDB::InitUpdate(zmiRec* instance) {
  return prepareUpdates(*this, modelLink(*this), instance);
}

}  // namespace zdb
