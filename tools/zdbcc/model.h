#pragma once

#include <optional>
#include <string>
#include <vector>

#include "entry.h"
#include "paramvalues.h"
#include "verb.h"
#include "zdbcc.hpp"

namespace zdb::tool {

enum class ModelFormat { Auto, Mps, Lp, MathProg };

/// What a model is read from.
struct ModelSource {
  std::string file;
  std::string data;         ///< data file of a MathProg model, or empty
  bool allowFiles = false;  ///< whether statements of the model may use files
  ModelFormat format = ModelFormat::Auto;
  std::optional<std::string> text = {};      ///< the model itself, if it is not read from the file
  std::optional<std::string> dataText = {};  ///< the data, likewise
};

/// What of a model will be changed by name, see zkitdclib.h.
struct ModelChanges {
  std::vector<std::string> names = {};     ///< changes
  ParamValues params = {};                 ///< that the model is read with
  std::vector<ParamValues> variants = {};  ///< that it will be solved with
};

/// The params of a MathProg model that can be changed.
std::vector<std::string> paramsOf(const ModelSource& source);

/// The operand and the options of a verb that reads a model.
template <typename Options>
Operand modelOperand(ModelSource Options::*source) {
  return {.name = "MODEL",
          .kind = Kind::ModelFile,
          .text = "Model, or `-`: MPS, CPLEX LP or GNU MathProg, also packed by gzip",
          .target = into(source, &ModelSource::file)};
}
template <typename Options>
std::vector<Option> withModelOptions(ModelSource Options::*source, std::vector<Option> options) {
  options.push_back({.name = "format",
                     .value = "FORMAT",
                     .kind = Kind::Choice,
                     .text = "Format of the model",
                     .details = "`auto` goes by the name, or by the first words if that does not "
                                "end in `.mps`, `.lp` or `.mod`, perhaps before `.gz`.",
                     .target = into(source, &ModelSource::format, {"auto", "mps", "lp", "mod"})});
  options.push_back({.name = "model-data",
                     .value = "FILE",
                     .kind = Kind::File,
                     .text = "Data file of a MathProg model, or `-`",
                     .target = into(source, &ModelSource::data)});
  options.push_back({.name = "allow-files",
                     .text = "Let a MathProg model read and write files and databases",
                     .details = "Only for models that you trust.",
                     .target = into(source, &ModelSource::allowFiles)});
  return options;
}
template <typename Options>
Option solverOption(std::string Options::*solver) {
  return {.name = "solver",
          .value = "NAME",
          .kind = Kind::Solver,
          .text = "Solver, as `zdbcc solvers` lists them",
          .details =
              "Default: `clp`, or if the model has integer columns `highs`, or `cbc` where "
              "that is not installed.",
          .target = into(solver)};
}

/// A model file that is loaded and tied to a database, which changes its parameters and has it
/// solved. All functions throw ToolError, or the zdbcc::Error of the database, with a message that
/// says what is wrong.
class Model {
 public:
  explicit Model(const ModelSource& source, const ModelChanges& changes = {});
  ~Model();
  Model(const Model&) = delete;
  Model& operator=(const Model&) = delete;

  /// As it was named, for messages.
  const std::string& file() const { return file_; }
  void* instance() const { return instance_; }
  const zdbcc::Database& database() const { return db_; }

  /// Whether the model has an updatable parameter of this name.
  bool hasParameter(const std::string& name);
  /// The parameter's symbol in the database, added on first use. Its records are the changes.
  zdbcc::Symbol parameter(const std::string& name);
  /// Whether the model has the entry of a parameter with these labels.
  bool hasEntry(const zdbcc::Symbol& parameter, const std::vector<std::string>& labels);
  /// Throws, with a guess, unless the model has it.
  void requireEntry(const zdbcc::Symbol& parameter, const std::vector<std::string>& labels);
  /// Sets the value of an entry of a parameter, by its labels.
  void set(const zdbcc::Symbol& parameter, const std::vector<std::string>& labels, double value);
  /// Writes the records of a parameter to the model; `missing` (ZDB_MISSING_...) says what entries
  /// without a record get. Returns the number of records without an entry in the model.
  int update(const zdbcc::Symbol& parameter, int missing);

  /// Solves with the named solver, or the default one for the type of model if the name is empty.
  void solve(const std::string& solver);
  /// The solver for this type of model, found out once.
  const std::string& defaultSolver();
  /// The name of the solver that solve() takes.
  const std::string& solverFor(const std::string& asked) {
    return asked.empty() ? defaultSolver() : asked;
  }
  /// Whether the solution is proven to be the best.
  bool isSolved() const;
  /// Whether there is a solution: that, or the best one until a solve was stopped.
  bool hasSolution() const;
  /// The solution's level of a variable or equation.
  double level(const Entry& entry);

 private:
  std::string file_;
  void* instance_ = nullptr;
  std::string defaultSolver_;
  zdbcc::Database db_;
};

}  // namespace zdb::tool
