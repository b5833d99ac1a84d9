// Which solvers there are, as the file zrncmpun.txt lists them, and those that were made.
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
  const Engine* engine = nullptr;     ///< may be one that this kit was built without
  std::vector<ModelType> modelTypes;  ///< that it may be asked to solve

  /// Throws a KitError that says why the solver cannot be had, or not for such models.
  void checkBuilt() const;
  void checkType(int modelType) const;
};

/// The solvers of a file, numbered from 1 in its order. The file that comes with the kit tells its
/// form.
class Configuration {
 public:
  /// Reads a file in place of what was read before, and frees the solvers that were made. Throws a
  /// KitError with the file, the line and what is wrong with it; then nothing has changed.
  void read(const std::string& file);

  /// Number of a solver, 0 if there is none of that name. Case does not count.
  int find(std::string_view name) const;
  /// Throws a KitError if there is no solver of that number, or name.
  const ConfiguredSolver& solver(int number) const;
  const ConfiguredSolver& solver(std::string_view name) const;
  int count() const { return static_cast<int>(solvers_.size()); }
  bool has(int number) const { return number >= 1 && number <= count(); }

  /// Makes a solver, in place of one that was made before. Throws a KitError if it cannot be had.
  void create(int number);
  void free(int number);
  /// Null if it has not been made.
  Session* session(int number) const;

 private:
  void takeLine(std::string_view line);
  std::string names() const;

  std::vector<ConfiguredSolver> solvers_;
  std::vector<std::unique_ptr<Session>> sessions_;
};

}  // namespace zdb::kit
