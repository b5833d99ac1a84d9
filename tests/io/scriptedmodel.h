#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "core/zdb.h"
#include "loaders/zmi.h"

/// A model instance with dictionary, environment and solvers that does what a test says and keeps
/// a list of what was asked of it. One at a time stands behind the loaders' function pointers.
struct ScriptedModel {
  struct Entry {
    double level = 0;
    double marginal = 0;
    double lower = 0;  ///< a row's right-hand side
    double upper = 0;
    double scale = 1;
    int status = 0;  ///< basis status is this plus 10
    int type = 0;    ///< of a row
    double altLower = 0;
    double altUpper = 0;
  };
  struct Symbol {
    std::string name;
    int type;  ///< 5 column, 6 row
    int dim;
    std::vector<std::vector<int>> keys;
    std::vector<int> entries;  ///< row or column of each key
    int userInfo = 0;
    std::string text;
  };

  std::vector<std::string> labels;
  std::vector<Symbol> symbols;
  std::vector<Entry> columns;
  std::vector<Entry> rows;
  bool hasDictionary = true;
  bool hasEnvironment = true;
  bool altBounds = false;
  int modelType = 9;
  int modifying = 1;                   ///< what zstAlgAllowsModifyProblem says
  std::map<std::string, int> results;  ///< of functions that are to return something else
  std::vector<std::string> calls;      ///< every call that changes something
  int openWalks = 0;

  ScriptedModel() { install(); }
  ~ScriptedModel();
  ScriptedModel(const ScriptedModel&) = delete;
  ScriptedModel& operator=(const ScriptedModel&) = delete;

  /// Loads the companions' libraries, unless they are loaded, and puts this script in their place.
  void install();
  zdb::loaders::zmiRec* instance() { return reinterpret_cast<zdb::loaders::zmiRec*>(this); }
  /// Adds a column (5) or row (6) symbol with an entry for each key.
  Symbol& add(const std::string& name, int type, int dim, std::vector<std::vector<int>> keys);
  Symbol& find(const std::string& name);
  Entry& column(const std::string& name, std::size_t key);
  Entry& row(const std::string& name, std::size_t key);
  /// The calls so far whose names begin with one of the words, joined by blanks; then none.
  std::string taken(const std::string& words = "");
};

/// A scripted model and a database whose companions are scripted; prints what the database says.
struct ModelTest : testing::Test {
  ScriptedModel model;
  zdb::ZDB db;

  ModelTest();
  zdb::AbstractZDBSymbol* add(const char* name, int type, int dim);
  /// Merges a record by labels and gives its row.
  double* merge(zdb::AbstractZDBSymbol* symbol, std::vector<const char*> key);
  /// A symbol's records in order, one line each: (labels) values.
  std::string records(const char* name);
  void expectFailure(bool result, const std::string& message) const;
};
