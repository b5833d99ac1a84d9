#pragma once

#include <string>
#include <vector>

#include "database.h"
#include "entry.h"

namespace zdbtool {

/// A model file, loaded and tied to a database that changes its parameters and has it solved.
/// Everything throws Failure with a message that says what is wrong.
class Model {
 public:
  /// `data` is the data file of a MathProg model, or empty.
  Model(const std::string& file, const std::string& data);
  ~Model();
  Model(const Model&) = delete;
  Model& operator=(const Model&) = delete;

  void* instance() const { return instance_; }
  Database& database() { return db_; }

  /// Whether the model has an updatable parameter of this name.
  bool hasParameter(const std::string& name);
  /// The parameter's symbol in the database, made on first use. Its records are the changes.
  Symbol parameter(const std::string& name);
  /// Whether the model has the entry of a parameter that has these labels.
  bool hasEntry(const Symbol& parameter, const std::vector<std::string>& labels);
  /// Sets the value of an entry of a parameter, by its labels.
  void set(const Symbol& parameter, const std::vector<std::string>& labels, double value);
  /// Gives the model the records of a parameter; entries without one get what `missing` says
  /// (ZDB_MISSING_...). Returns the number of records that the model has no entry for.
  int update(const Symbol& parameter, int missing);

  /// Solves with the solver of this name, or the usual one for the type of model if it is empty.
  void solve(const std::string& solver);
  bool isSolved() const;
  /// The solution's level of a variable or equation.
  double level(const Entry& entry);

 private:
  std::string file_;
  void* instance_ = nullptr;
  Database db_;
};

/// The C strings of texts, which must outlive them.
std::vector<const char*> pointersTo(const std::vector<std::string>& texts);

}  // namespace zdbtool
