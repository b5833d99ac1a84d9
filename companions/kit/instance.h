// A model instance: the state that the database changes and that solvers read and write.
#pragma once

#include <limits>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "kit/dictionary.h"
#include "kit/environment.h"
#include "kit/infeasibleset.h"
#include "kit/parameterterms.h"
#include "kit/statuses.h"

namespace zdb::kit {

enum ModelType : int { LpModel = 1, MipModel = 2, RmipModel = 3 };

inline constexpr double kUnknown = std::numeric_limits<double>::quiet_NaN();

/// Apart from the bounds, so that storing a solution touches less memory.
struct ColumnState {
  double level = 0.0;
  double marginal = 0.0;
  int status = EntryOk;
  int basis = AtLower;
};

struct ColumnBounds {
  double lower = 0.0;  ///< infinite bounds are infinities, here and below
  double upper = 0.0;
  double altLower = 0.0;
  double altUpper = 0.0;
};

/// What a column was before a host changed it.
struct ChangedColumn {
  int column;
  double level;
  ColumnBounds bounds;
};

struct RowState {
  double level = 0.0;  ///< of the whole left-hand side, constants included
  double marginal = 0.0;
  double rhs = 0.0;
  double altRhs = 0.0;
  int type = EqualRow;
  int status = EntryOk;
  int basis = Basic;
};

/// Which values an instance returns and solves use.
struct View {
  double plusInfinity = std::numeric_limits<double>::infinity();
  double minusInfinity = -std::numeric_limits<double>::infinity();
  bool usesAltBounds = false;
  bool usesAltRhs = false;
  /// A solve uses the coefficients of the last update and the right-hand sides as they are, from
  /// which the host has subtracted the constants; otherwise the solve does both itself.
  bool isForcedLinear = false;
};

/// The actions with which the database library changes columns.
enum ChangeAction : int { SetValue = 0, SetUpper = 1, SetLower = 2, SetBounds = 3 };

/// How what a host asked to change in a model file is changed: by an action of the database
/// library on a variable.
struct ChangeInfo {
  std::string name;    ///< as the host wrote it
  std::string symbol;  ///< of columns
  int action = SetValue;
  int entries = 0;                  ///< that the name stands for
  std::vector<std::string> labels;  ///< that the name gives; empty ones are left open
  int column = -1;                  ///< of a name that leaves nothing open; else -1
};

/// Numbers of an instance: what a variant of its model changes.
struct Patch {
  struct Bounds {
    int column;
    double lower;
    double upper;
  };
  struct Number {
    int at;
    double value;
  };
  std::vector<Bounds> columns;
  std::vector<Number> levels;     ///< of parameters, by column
  std::vector<Number> rhs;        ///< by row
  std::vector<Number> constants;  ///< by row
  std::vector<Coefficient> coefficients;
};

/// A variant of the model that an instance was made from: with other values of some params.
struct Variant {
  enum State : int { Failed = 0, Fits = 1, Differs = 2 };
  State state = Failed;
  std::string message;  ///< why it does not fit
  Patch patch;          ///< of one that fits
};

/// Columns whose bounds were set, for whoever has seen the bounds before: entries from the place
/// where it stopped reading, if the log is still the same one.
class BoundLog {
 public:
  void note(int column, std::size_t columns) noexcept;
  void restart() {
    entries_.clear();
    ++number_;
  }
  const std::vector<int>& entries() const { return entries_; }
  int number() const { return number_; }

 private:
  std::vector<int> entries_;  ///< at most as many as there are columns
  int number_ = 0;
};

class Instance;

/// Has the levels, marginals and statuses of an instance's last solve.
class SolutionSource {
 public:
  /// Writes them into the instance, which then no longer knows the source. A failure is in the
  /// statuses and message of the instance.
  virtual void deliver(Instance& instance) noexcept = 0;
  /// Nobody will ask for them.
  virtual void drop() noexcept = 0;

 protected:
  ~SolutionSource() = default;
};

class Instance {
 public:
  /// By default, an instance of an empty model. A null directory means that of this library; throws
  /// a KitError if its name is too long.
  explicit Instance(const ModelData& model = {}, const char* systemDirectory = nullptr);
  Instance(const Instance&) = delete;
  Instance& operator=(const Instance&) = delete;
  ~Instance() { settleFrom(nullptr); }

  /// The last solve has left its solution in a source, but for the level of the objective column.
  /// Null: what is left somewhere is not wanted any more. The source outlives this, or delivers
  /// before.
  void settleFrom(SolutionSource* source) noexcept;
  /// Gets what the last solve has left in a source: before levels, marginals or statuses are read
  /// or set one by one, and before what they are computed from changes.
  void settle() noexcept;
  /// The same before those of one column are read or set.
  void settleColumn(int column) noexcept {
    if (column != objective || isParameter[column] != 0) settle();
  }

  /// By the list whose items are bytes: no division, in functions that the database calls for each
  /// entry.
  int columnCount() const { return static_cast<int>(isParameter.size()); }
  int rowCount() const { return static_cast<int>(rows.size()); }
  bool hasColumn(int column) const { return column >= 0 && column < columnCount(); }
  bool hasRow(int row) const { return row >= 0 && row < rowCount(); }

  /// What a solve uses.
  double lower(int column) const {
    return view.usesAltBounds ? bounds[column].altLower : bounds[column].lower;
  }
  double upper(int column) const {
    return view.usesAltBounds ? bounds[column].altUpper : bounds[column].upper;
  }
  double rhs(int row) const { return view.usesAltRhs ? rows[row].altRhs : rows[row].rhs; }
  bool isSolvedAsInteger() const { return type == MipModel && integerCount > 0; }

  /// Those of parameters concern no solve.
  void setColumnBound(int column, double ColumnBounds::*field, double value) noexcept {
    double& target = bounds[column].*field;
    if (isParameter[column] == 0 && target != value) boundLog.note(column, bounds.size());
    target = value;
  }

  /// What the last solve tells of the objective. `bound` is what it cannot get better than.
  void setBound(double newBound, bool hasLevels);

  /// Records why a solve failed and sets the statuses. Levels and marginals are unchanged.
  void refuse(Outcome outcome, const char* why) noexcept;

  /// Updates the matrix, the constants of all rows, and right-hand sides that are linked, with the
  /// levels of the parameters.
  void updateLinear();

  /// Unique in the process, so that a session recognises the instance that it has loaded.
  const int id;

  Dictionary dictionary;
  Environment environment;
  std::vector<ColumnState> columns;
  std::vector<ColumnBounds> bounds;  ///< of each column
  std::vector<RowState> rows;
  std::vector<char> isInteger;
  std::vector<char> isParameter;
  Matrix matrix;
  ParameterTerms terms;
  std::vector<RhsLink> rhsLinks;
  std::vector<ChangeInfo> changes;
  std::vector<Variant> variants;
  Patch base;                               ///< the model's own values of all that variants change
  int variant = -1;                         ///< in use; -1: none
  std::map<std::string, int> paramEntries;  ///< how many entries params have that were given values
  std::vector<ChangedColumn> changedColumns;  ///< as they were, each once, see changes.h
  std::vector<char> hasChanged;               ///< whether a column is among them; may be shorter
  std::vector<double> ownConstants;           ///< of each row, without parameters
  std::vector<double> constants;  ///< of each row, with the parameters' terms as of the last update

  int objective = -1;
  int direction = 1;
  int type = LpModel;
  int integerCount = 0;

  bool startsAtFirst = false;  ///< solves start where the first one of their session ended

  View view;
  std::optional<View> storedView;
  BoundLog boundLog;

  int modelStatus = kNotSolved.model;
  int solveStatus = kNotSolved.solve;
  int iterations = 0;
  double seconds = 0.0;
  double bound = kUnknown;  ///< of the objective, by the last solve
  double gap = kUnknown;    ///< of its levels
  InfeasibleSet infeasibleSet;
  std::string message;  ///< why the last solve failed

 private:
  SolutionSource* source_ = nullptr;
  std::vector<double> newConstants_;  ///< kept to be reused
};

}  // namespace zdb::kit
