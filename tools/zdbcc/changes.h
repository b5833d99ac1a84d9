#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "console.h"
#include "model.h"
#include "modelchange.h"

namespace zdb::tool {

/// What the options --set of a command line change in a model: NAME=FILE, a CSV file with labels
/// and a value in each row, or NAME=VALUE. And what an exchange file changes: params of a MathProg
/// model, which options may change once more, and updatable parameters. Functions throw ToolError,
/// for words that are neither WrongUseError.
class NamedChanges {
 public:
  /// Reads all files. An empty name means no exchange file.
  NamedChanges(const std::vector<std::string>& options, const std::string& dataFile,
               const ModelSource& model);

  const std::vector<std::string>& names() const { return names_; }
  /// Valid as long as this.
  ChangeScenario scenario() const;
  /// Takes every parameter of the exchange file that is updatable in the model. Throws ToolError if
  /// the file has nothing for it; notes records that have no entry in the model.
  void takeUpdatable(Model& model, Console& console) const;
  /// Checks what only the model knows, and notes how much of it has changed.
  void check(ChangingModel& model, Console& console) const;

 private:
  /// Where values come from.
  struct Source {
    std::string file;  ///< empty: the command line
    std::size_t firstValue = 0;
    std::vector<int> rows;  ///< of each value
    /// The first row, if it has no number and is taken for a heading: that it is no entry is to be
    /// seen.
    std::vector<std::string> heading = {};
    std::string headingValue = {};
  };

  void takeParams(const std::string& file, const std::vector<std::string>& params);
  void take(const std::string& option);
  void takeFile(const std::string& file);
  std::string placeOf(std::size_t value) const;
  void checkHeading(std::size_t change, ChangingModel& model) const;

  std::string dataFile_;
  std::vector<std::string> names_;
  std::size_t paramCount_ = 0;   ///< names of the exchange file, the first ones
  std::vector<Source> sources_;  ///< of each name
  std::vector<ChangedValue> values_;
};

/// The file that such an option names; empty for one with a value.
std::string fileOfChange(const std::string& option);

}  // namespace zdb::tool
