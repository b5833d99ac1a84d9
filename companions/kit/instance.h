// A model instance: the state that the database changes and solvers read and write.
#pragma once

#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "kit/dictionary.h"
#include "kit/environment.h"
#include "kit/parameterterms.h"
#include "kit/statuses.h"

namespace zdb::kit {

enum ModelType : int { LpModel = 1, MipModel = 2, RmipModel = 3 };

struct ColumnState {
  double level = 0.0;
  double marginal = 0.0;
  double lower = 0.0;  ///< infinite bounds are infinities, here and below
  double upper = 0.0;
  double altLower = 0.0;
  double altUpper = 0.0;
  int status = EntryOk;
  int basis = AtLower;
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

/// How an instance shows itself and what solves take.
struct View {
  double plusInfinity = std::numeric_limits<double>::infinity();
  double minusInfinity = -std::numeric_limits<double>::infinity();
  bool usesAltBounds = false;
  bool usesAltRhs = false;
  /// A solve takes the coefficients as the last update left them and the right-hand sides as they
  /// are, constants subtracted; otherwise it does that by itself.
  bool isForcedLinear = false;
};

class Instance {
 public:
  /// Of an empty model unless one is given. A null directory is that of this library; throws a
  /// KitError if its name is too long.
  explicit Instance(const ModelData& model = {}, const char* systemDirectory = nullptr);
  Instance(const Instance&) = delete;
  Instance& operator=(const Instance&) = delete;

  int columnCount() const { return static_cast<int>(columns.size()); }
  int rowCount() const { return static_cast<int>(rows.size()); }
  bool hasColumn(int column) const { return column >= 0 && column < columnCount(); }
  bool hasRow(int row) const { return row >= 0 && row < rowCount(); }

  /// What a solve takes.
  double lower(int column) const {
    return view.usesAltBounds ? columns[column].altLower : columns[column].lower;
  }
  double upper(int column) const {
    return view.usesAltBounds ? columns[column].altUpper : columns[column].upper;
  }
  double rhs(int row) const { return view.usesAltRhs ? rows[row].altRhs : rows[row].rhs; }
  bool isSolvedAsInteger() const { return type == MipModel && integerCount > 0; }

  /// Keeps why a solve failed, with statuses that say so. Levels and marginals stay.
  void refuse(Outcome outcome, const char* why) noexcept;

  /// Puts the parameters' levels into the matrix and the constants of all rows into `constants`.
  void updateLinear();

  /// Numbers instances of a process, so that a solver knows its own again.
  const int id;

  Dictionary dictionary;
  Environment environment;
  std::vector<ColumnState> columns;
  std::vector<RowState> rows;
  std::vector<char> isInteger;
  std::vector<char> isParameter;
  Matrix matrix;
  ParameterTerms terms;
  std::vector<double> ownConstants;  ///< c of each row
  std::vector<double> constants;     ///< with the parameters' terms, of the last update

  int objective = -1;
  int direction = 1;
  int type = LpModel;
  int integerCount = 0;

  View view;
  std::optional<View> storedView;

  int modelStatus = kNotSolved.model;
  int solveStatus = kNotSolved.solve;
  int iterations = 0;
  double seconds = 0.0;
  std::string message;  ///< why the last solve failed
};

}  // namespace zdb::kit
