// Models of which numbers change from one solve to the next.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "model.h"

namespace zdb::tool {

/// The text about names of what changes, for the help of verbs.
inline constexpr const char* kChangeNames =
    R"(What changes is named as a parameter, `price[bread]`, which is an updatable parameter (the model
has a variable `price_var`) or a `param` of a MathProg model; or by an attribute: `need[ABE].rhs`
for the right-hand side of a row (of the objective, its constant), `buy[bread].lo`, `.up`, `.fx` for
bounds of a column, or of a row with two bounds, `.cost` for its coefficient in the objective, and
`food[iron].coef[buy,bread]` for that in a row.)";

/// A value of an entry of what changes.
struct ChangedValue {
  std::size_t change;               ///< number in the list of names
  std::vector<std::string> labels;  ///< those that the name leaves open
  double value;
};

/// Values for one solve. All else that changes has the value of the model's file.
struct ChangeScenario {
  std::string place;  ///< begins messages about it: "prices.csv: row 3: "
  std::vector<ChangedValue> values;
  /// The same for each of the values, if they have places of their own.
  std::function<std::string(std::size_t value)> placeOf = {};

  std::string placeText(std::size_t value) const {
    return place + (placeOf ? placeOf(value) : std::string());
  }
};

/// What becomes of values for entries that the model does not have. A param of a MathProg model
/// refuses them in any case.
enum class UnknownEntries { Refuse, Count };

/// A model file and the scenarios in which it is solved. Each name stands for one entry, or without
/// labels for all of its symbol: price, need.rhs, food.coef[buy,bread].
class ChangingModel {
 public:
  /// Called with each model that is opened, before it is solved, to set limits and the like.
  using Prepare = std::function<void(Model&)>;

  /// Reads the model and checks every name, label and value. For values of a MathProg `param`, the
  /// model is translated once for each set of them, so scenarios must be known here. Throws
  /// ToolError.
  ChangingModel(const ModelSource& source, const std::vector<std::string>& names,
                std::vector<ChangeScenario> scenarios,
                UnknownEntries unknown = UnknownEntries::Refuse, Prepare prepare = {});

  std::size_t scenarioCount() const { return scenarios_.size(); }

  /// The model with the values of its file, or of the last scenario that fits() it. With a single
  /// scenario, params have its values from the beginning, which saves a translation.
  Model& model() { return *model_; }

  /// Gives the model the values of a scenario, in place, and returns it. Of a scenario that does
  /// not fit, a model of its own, valid until the next call.
  Model& apply(std::size_t scenario);

  /// Whether a scenario has the rows and columns of the model, so that its solve starts from the
  /// last basis. Other values of `param` may give others; then it is a model of its own.
  bool fits(std::size_t scenario) const;

  /// How many of how many entries of a name have a value in at least one scenario.
  struct Coverage {
    int changed;
    int entries;
  };
  Coverage coverage(std::size_t change) const;
  /// "price: 2 of 9 entries change", for a note.
  std::string coverageText(std::size_t change) const;

  /// Values, counted once in each scenario, for entries that the model does not have.
  int unknownValues(std::size_t change) const { return changes_[change].unknown; }

  /// Whether a name has an entry with the labels that it leaves open, to tell a heading from a row.
  /// Always true for a param of a MathProg model.
  bool hasEntry(std::size_t change, const std::vector<std::string>& labels) const;

 private:
  struct Change {
    std::string name;
    int number = -1;                  // among the changes of the instance; -1: a param
    std::string param;                // its name
    std::string parameter;            // of the database, that is updatable; empty: none
    std::vector<std::string> labels;  // of the name, if it is a param or updatable
    int unknown = 0;
    std::set<std::vector<std::string>> changed;  // labels of entries with values
  };

  void classify(const std::vector<std::string>& names);
  void requireDifferentNames() const;
  void collectVariants();
  bool noteChanged(Change& change, std::vector<std::string> labels);
  void open();
  void check();
  void setAll(Model& model, const ChangeScenario& scenario, bool isChecking);
  int openLabels(const Change& change) const;
  void setOne(Model& model, const ChangedValue& value, bool isChecking);
  bool hasOwnAttributes(std::size_t scenario) const;
  Model& openOwn(std::size_t scenario);

  ModelSource source_;
  std::vector<Change> changes_;
  std::vector<ChangeScenario> scenarios_;
  UnknownEntries unknown_;
  Prepare prepare_;
  std::vector<std::string> names_;  // that the instance is asked for
  std::vector<ParamValues> variants_;
  ParamValues onlyParams_;      // of the scenario, if there is only one
  std::vector<int> variantOf_;  // by scenario; -1: none
  std::unique_ptr<Model> model_;
  std::unique_ptr<Model> own_;     // of the last scenario, if it does not fit
  std::vector<int> numbersInOwn_;  // of changes, as Change::number; -1: not one of the scenario
};

}  // namespace zdb::tool
