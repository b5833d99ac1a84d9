// The solvers that the file zrncmpun.txt lists, and those of them that have been created.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "kit/session.h"

namespace zdb::kit {

inline constexpr std::string_view kConfigurationFile = "zrncmpun.txt";

/// A line of the file.
struct ConfiguredSolver {
  std::string name;
  const Engine* engine = nullptr;     ///< its solver type; this kit may have been built without it
  std::vector<ModelType> modelTypes;  ///< that it is configured for

  /// Throws a KitError if the solver cannot be used here, or if it is not configured for
  /// such models.
  void checkBuilt() const;
  void checkType(int modelType) const;
  bool allows(int modelType) const;
};

/// The solvers of a file, numbered from 1 in its order. The file that comes with the kit describes
/// its format.
class Configuration {
 public:
  /// Replaces the list by that of a file, and frees the solvers that have been created. Throws a
  /// KitError with the file, the line and what is wrong with it; then nothing has changed.
  void read(const std::string& file);

  /// The number of a solver, 0 for an unknown name. Case does not matter.
  int find(std::string_view name) const;
  /// Throws a KitError for an unknown number or name.
  const ConfiguredSolver& solver(int number) const;
  const ConfiguredSolver& solver(std::string_view name) const;
  int count() const { return static_cast<int>(solvers_.size()); }
  bool has(int number) const { return number >= 1 && number <= count(); }

  /// Creates a solver, replacing one that was created before. Throws a KitError for an unknown
  /// number, or if this kit was built without the solver.
  void create(int number);
  void free(int number);
  /// Null if it has not been created.
  Session* session(int number) const;

 private:
  void takeLine(std::string_view line);
  std::string names() const;

  std::vector<ConfiguredSolver> solvers_;
  std::vector<std::unique_ptr<Session>> sessions_;
};

}  // namespace zdb::kit
