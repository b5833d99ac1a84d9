// A database, a model instance of the kit, and the spy between them.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "loaders/zmi.h"
#include "spy.h"
#include "support/contents.h"
#include "zkitdclib.h"

/// An instance of a model that is written as a text: statements with semicolons between them,
///
///     col x(a) 0 6 5     a column with lower bound, upper bound and level; int for an integer one
///     row e(a) >= 3 2*x(a) -1*p_var(a)*x(a) 7      type, right-hand side, left-hand side
///     min z              the objective; max likewise
///
/// Symbols have user information 1, 2, ... in the order of their first entry, and "about NAME" as
/// their texts. A model with integer columns is of type ZKIT_RMIP.
class Instance {
 public:
  explicit Instance(const std::string& text);
  ~Instance() { zkitFreeInstance(&handle_); }
  Instance(const Instance&) = delete;
  Instance& operator=(const Instance&) = delete;
  operator void*() const { return handle_; }

  zdb::loaders::zmiRec* record() const { return static_cast<zdb::loaders::zmiRec*>(handle_); }
  /// The number of a column or row.
  int operator[](const std::string& name) const { return entries_.at(name); }
  const std::map<std::string, int>& entries() const { return entries_; }

 private:
  void addStatement(zkitModel_t model, const std::string& statement);
  void addTerm(zkitModel_t model, int row, const std::string& term);
  /// `add` makes an entry of a symbol with labels.
  template <typename Add>
  void addEntry(zkitModel_t model, std::string name, int type, Add add);

  std::map<std::string, int> symbols_;
  std::map<std::string, int> entries_;
  void* handle_ = nullptr;
};

struct ModelTest : testing::Test {
  Spy spy;
  Instance model;
  Database db;

  explicit ModelTest(const char* text) : model(text) { spy.calls.clear(); }

  /// Takes the dictionary over, if wanted, and prepares the instance.
  void prepare(const Database& to, bool takesDictionary = true);
  /// A source that loads nothing: symbols added from now on are not loaded.
  static void attachRefusals(const Database& to);
  static std::string recordsOf(const Database& of, const char* name) {
    return records(of, symbolOf(of, name));
  }
};

/// Fails unless a call failed with this message.
#define EXPECT_REFUSED(db, call, message) \
  EXPECT_EQ(call, 0);                     \
  EXPECT_EQ((db).error(), message)
