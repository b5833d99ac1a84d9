// A table of scenarios: what each of them changes in a model.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zdb::tool {

/// All rows of a CSV file: the first column has the names of the scenarios, each other column the
/// values of what its heading names. An empty field means the model's own value.
class Scenarios {
 public:
  /// Reads and checks the whole file: rows as long as the heading, names that are there, differ (in
  /// more than case) and have no control characters, fields that are numbers, a value in each
  /// column. Fields are separated by commas, semicolons or tabs, as the heading shows. Throws
  /// ToolError with the row.
  explicit Scenarios(const std::string& file);

  std::size_t count() const { return names_.size(); }
  const std::string& name(std::size_t scenario) const { return names_[scenario]; }
  /// What the columns change, without the first one.
  const std::vector<std::string>& headings() const { return headings_; }
  /// May be infinite; none for an empty field.
  std::optional<double> value(std::size_t scenario, std::size_t column) const;
  /// "file: row number: ", for messages.
  std::string place(std::size_t scenario) const;
  const std::string& file() const { return file_; }

 private:
  void takeHeading(const std::vector<std::string_view>& fields);
  void takeRow(const std::vector<std::string_view>& fields, int row);
  double valueOf(std::string_view text) const;
  void requireNames() const;
  void requireValues() const;

  std::string file_;
  char separator_ = ',';
  std::vector<std::string> headings_;
  std::vector<std::string> names_;
  std::vector<double> values_;  ///< a row for each scenario; NaN for an empty field
};

}  // namespace zdb::tool
