// A database, a model instance of the kit, and a spy between them.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "kitmodel.h"
#include "loaders/zmi.h"
#include "support/contents.h"
#include "support/files.h"

/// Every function pointer of the loaders zmi, zrt, zlx and zst leads through the spy, which keeps a
/// list of the calls, passes them on to the kit, and answers in its place when told to. There may
/// be one at a time.
struct Spy {
  struct Answer {
    double result = 0;           ///< of a function that gives a pointer: null
    const char* text = nullptr;  ///< for the last text output of the function, if there is one
  };

  std::map<std::string, Answer> answers;  ///< by function
  std::vector<std::string> calls;         ///< with texts and numbers, and "null"
  std::map<std::string, int> counts;      ///< of calls, by function

  Spy();
  ~Spy();  ///< fails unless every walk was closed and every stored view restored
  Spy(const Spy&) = delete;
  Spy& operator=(const Spy&) = delete;

  /// Loads the kit's libraries, unless they are loaded, and comes between. For tests that unload.
  static void comeBetween();
  /// The calls so far of functions whose names begin with one of the words, each with a blank after
  /// it; all are forgotten.
  std::string taken(const std::string& words);
};

/// An instance, for calls of the kit.
inline zdb::loaders::zmiRec* recordOf(void* instance) {
  return static_cast<zdb::loaders::zmiRec*>(instance);
}

struct ModelTest : testing::Test {
  Spy spy;
  kittest::Model model;
  kittest::Instance instance{model};
  zdb::loaders::zmiRec* const record = recordOf(instance);
  Database db;

  /// Integer columns are solved as if they were not.
  explicit ModelTest(const char* text) : model(text) {
    if (zkitIntegerColumns(instance) > 0) zkitSetModelType(instance, ZKIT_RMIP);
  }
  /// Another database in the place of this one, with companions from a directory if one is given.
  void renew(const char* directory = nullptr);
  /// Why the database cannot be filled from the dictionary, prepared, both, or solved; "" if it
  /// can.
  std::string takeDictionary() const { return said(db, c__zdbinitfromdict(db, instance)); }
  std::string prepare() const { return said(db, c__zdbinitupdate(db, instance)); }
  std::string link() const { return takeDictionary().empty() ? prepare() : db.error(); }
  std::string solve(const char* solver) const { return said(db, c__zdbcallsolver(db, solver)); }
  /// Puts a parameter into the model: the number of records without an entry, or why it failed.
  std::string update(const char* name, int action, const char* data, int missing) const;
  /// Sets level and marginal of a column, or of a row, whose name begins with "e".
  void set(const std::string& name, double level, double marginal) const;
};
