#include "modelchange.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <map>
#include <optional>
#include <utility>

#include "console.h"
#include "contract/entryname.h"
#include "contract/names.h"
#include "entry.h"
#include "zkitdclib.h"

namespace zdb::tool {

namespace {

/// A name without an attribute, taken apart: price, price[bread].
std::optional<Entry> plainEntry(const std::string& name) {
  using namespace zdb::contract;
  const std::string_view text = withoutEndingBlanks(withoutLeadingBlanks(name));
  const EntryName entry = readEntryName(text, PlainLabels::NoBracketsAndQuotes);
  const bool isPlain = entry.fault.empty() && isSymbolName(entry.symbol);
  if (!isPlain) return {};
  return Entry{std::string(entry.symbol), entry.labels};
}

std::vector<std::string> joined(std::vector<std::string> first,
                                const std::vector<std::string>& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

/// Data write an explicit zero as the smallest number that there is.
double asNumber(double value) {
  return std::abs(value) < DBL_MIN ? 0.0 : value;
}

std::string secondValue(const std::string& name, const std::vector<std::string>& labels) {
  return entryText({name, labels}) + " has a value already";
}

/// The same for all ways to write the name of an attribute: brackets, quotes, blanks, and case.
std::string plainForm(const std::string& name) {
  const auto isMark = [](char c) {
    return std::string_view("[],").find(c) != std::string_view::npos;
  };
  std::string plain;
  bool hasBlank = false;
  for (const char given : name) {
    if (given == '\'' || given == '"') continue;
    const char c = given == '(' ? '[' : given == ')' ? ']' : zdb::contract::lowerCase(given);
    if (c != ' ') {
      const bool isWithin = hasBlank && !plain.empty() && !isMark(plain.back()) && !isMark(c);
      plain.append(isWithin ? " " : "").push_back(c);
    }
    hasBlank = c == ' ';
  }
  return plain;
}

}  // namespace

ChangingModel::ChangingModel(const ModelSource& source, const std::vector<std::string>& names,
                             std::vector<ChangeScenario> scenarios, UnknownEntries unknown,
                             Prepare prepare)
    : source_(source),
      scenarios_(std::move(scenarios)),
      unknown_(unknown),
      prepare_(std::move(prepare)) {
  classify(names);
  requireDifferentNames();
  collectVariants();
  open();
  check();
}

/// What is no param is left to the instance, which knows rows, columns and updatable parameters.
void ChangingModel::classify(const std::vector<std::string>& names) {
  const bool mayBeParam = std::any_of(names.begin(), names.end(), [](const std::string& name) {
    return plainEntry(name).has_value();
  });
  const std::vector<std::string> params =
      mayBeParam ? paramsOf(source_) : std::vector<std::string>();
  for (const std::string& name : names) {
    Change change;
    change.name = name;
    const std::optional<Entry> entry = plainEntry(name);
    if (entry && std::find(params.begin(), params.end(), entry->symbol) != params.end()) {
      change.param = entry->symbol;
      change.labels = entry->labels;
    } else {
      if (entry) change.labels = entry->labels;
      change.number = static_cast<int>(names_.size());
      names_.push_back(name);
    }
    changes_.push_back(std::move(change));
  }
}

// In MathProg, t and T are different params.
void ChangingModel::requireDifferentNames() const {
  std::map<std::string, std::string> known;
  for (const Change& change : changes_) {
    const std::string form = change.param.empty()
                                 ? plainForm(change.name)
                                 : "param " + entryText({change.param, change.labels});
    const auto [first, isNew] = known.emplace(form, change.name);
    if (isNew) continue;
    throw ToolError(change.name == first->second
                        ? change.name + " is named twice"
                        : change.name + " and " + first->second + " are the same: name it once");
  }
}

/// The different sets of values of params, each of which is a translation.
void ChangingModel::collectVariants() {
  std::map<std::pair<std::vector<std::string>, std::vector<double>>, int> known;
  for (const ChangeScenario& scenario : scenarios_) {
    std::map<std::string, double> values;
    for (std::size_t i = 0; i < scenario.values.size(); ++i) {
      const ChangedValue& value = scenario.values[i];
      Change& change = changes_[value.change];
      if (change.param.empty()) continue;
      const std::vector<std::string> labels = joined(change.labels, value.labels);
      values[entryText({change.param, labels})] = asNumber(value.value);
      if (!noteChanged(change, value.labels)) {
        throw ToolError(scenario.placeText(i) + secondValue(change.name, value.labels));
      }
    }
    ParamValues params;
    for (const auto& [name, value] : values) {
      params.names.push_back(name);
      params.values.push_back(value);
    }
    if (scenarios_.size() == 1) {
      onlyParams_ = std::move(params);
      variantOf_.push_back(-1);
      return;
    }
    const auto next = static_cast<int>(variants_.size());
    const auto [place, isNew] =
        params.names.empty() ? std::pair(known.end(), false)
                             : known.try_emplace(std::pair(params.names, params.values), next);
    variantOf_.push_back(params.names.empty() ? -1 : place->second);
    if (isNew) variants_.push_back(std::move(params));
  }
}

/// False if an entry has two values in the same scenario.
bool ChangingModel::noteChanged(Change& change, std::vector<std::string> labels) {
  if (change.param.empty()) {
    for (std::string& label : labels) label = zdb::contract::lowerCase(label);
  }
  return change.changed.insert(std::move(labels)).second || scenarios_.size() > 1;
}

void ChangingModel::open() {
  model_ = std::make_unique<Model>(source_, ModelChanges{names_, onlyParams_, variants_});
  for (Change& change : changes_) {
    const std::optional<Entry> entry = plainEntry(change.name);
    if (change.number < 0 || !entry) continue;
    model_->parameter(entry->symbol);
    change.parameter = entry->symbol;
  }
  if (prepare_) prepare_(*model_);
}

/// Tries all values, so that what cannot be set is known before the first solve.
void ChangingModel::check() {
  for (std::size_t i = 0; i < scenarios_.size(); ++i) {
    own_.reset();
    char message[1024] = "";
    const int variant = variantOf_[i];
    if (variant >= 0 && zkitVariantState(model_->instance(), variant, message, sizeof message) ==
                            ZKIT_VARIANT_FAILED) {
      throw ToolError(scenarios_[i].place + message);
    }
    setAll(hasOwnAttributes(i) ? openOwn(i) : *model_, scenarios_[i], true);
  }
  own_.reset();
  zkitUseVariant(model_->instance(), -1);
}

bool ChangingModel::fits(std::size_t scenario) const {
  const int variant = variantOf_[scenario];
  return variant < 0 ||
         zkitVariantState(model_->instance(), variant, nullptr, 0) == ZKIT_VARIANT_FITS;
}

/// Whether there is more to be checked than that the params can be translated, which they have
/// been.
bool ChangingModel::hasOwnAttributes(std::size_t scenario) const {
  const std::vector<ChangedValue>& values = scenarios_[scenario].values;
  return !fits(scenario) &&
         std::any_of(values.begin(), values.end(), [&](const ChangedValue& value) {
           return changes_[value.change].param.empty();
         });
}

// What other scenarios change may not be there in the model of this one.
Model& ChangingModel::openOwn(std::size_t scenario) {
  std::vector<std::string> names;
  numbersInOwn_.assign(changes_.size(), -1);
  for (const ChangedValue& value : scenarios_[scenario].values) {
    if (!changes_[value.change].param.empty() || numbersInOwn_[value.change] >= 0) continue;
    numbersInOwn_[value.change] = static_cast<int>(names.size());
    names.push_back(changes_[value.change].name);
  }
  const ParamValues& params = variants_[static_cast<std::size_t>(variantOf_[scenario])];
  try {
    own_ = std::make_unique<Model>(source_, ModelChanges{names, params, {}});
  } catch (const ToolError& failure) {
    throw ToolError(scenarios_[scenario].place + "with its params, " + failure.what());
  }
  if (prepare_) prepare_(*own_);
  return *own_;
}

Model& ChangingModel::apply(std::size_t scenario) {
  own_.reset();
  if (fits(scenario)) zkitUseVariant(model_->instance(), variantOf_[scenario]);
  Model& model = fits(scenario) ? *model_ : openOwn(scenario);
  setAll(model, scenarios_[scenario], false);
  return model;
}

void ChangingModel::setAll(Model& model, const ChangeScenario& scenario, bool isChecking) {
  const bool hasOthers = scenarios_.size() > 1 && own_ == nullptr;
  for (const Change& change : changes_) {
    if (hasOthers && !isChecking && !change.parameter.empty()) {
      model.parameter(change.parameter).clear();
    }
  }
  for (std::size_t i = 0; i < scenario.values.size(); ++i) {
    const ChangedValue& value = scenario.values[i];
    try {
      setOne(model, value, isChecking);
    } catch (const std::runtime_error& failure) {
      throw ToolError(scenario.placeText(i) + failure.what());
    }
  }
}

void ChangingModel::setOne(Model& model, const ChangedValue& value, bool isChecking) {
  Change& change = changes_[value.change];
  if (change.number < 0) return;  // a param is part of the variant
  const int number = own_ == nullptr ? change.number : numbersInOwn_[value.change];
  const std::vector<const char*> labels = pointersTo(value.labels);
  const auto count = static_cast<int>(labels.size());
  void* instance = model.instance();
  if (unknown_ == UnknownEntries::Count &&
      zkitHasEntry(instance, number, labels.data(), count) == 0 && count == openLabels(change)) {
    change.unknown += isChecking ? 1 : 0;
    return;
  }
  char message[1024] = "";
  if (!zkitSetChange(instance, number, labels.data(), count, asNumber(value.value), message,
                     sizeof message)) {
    throw ToolError(message);
  }
  if (isChecking && !noteChanged(change, value.labels)) {
    throw ToolError(secondValue(change.name, value.labels));
  }
  if (isChecking || change.parameter.empty()) return;
  model.set(model.parameter(change.parameter), joined(change.labels, value.labels), value.value);
}

int ChangingModel::openLabels(const Change& change) const {
  int open = 0;
  zkitGetChange(model_->instance(), change.number, nullptr, 0, nullptr, nullptr, &open, nullptr);
  return open;
}

bool ChangingModel::hasEntry(std::size_t change, const std::vector<std::string>& labels) const {
  const std::vector<const char*> pointers = pointersTo(labels);
  return changes_[change].number < 0 ||
         zkitHasEntry(model_->instance(), changes_[change].number, pointers.data(),
                      static_cast<int>(pointers.size())) == 1;
}

ChangingModel::Coverage ChangingModel::coverage(std::size_t change) const {
  const Change& asked = changes_[change];
  Coverage coverage{static_cast<int>(asked.changed.size()), 0};
  if (asked.number < 0) {
    const int entries = zkitParamEntries(model_->instance(), asked.param.c_str());
    coverage.entries = asked.labels.empty() ? entries : 1;
  } else {
    zkitGetChange(model_->instance(), asked.number, nullptr, 0, nullptr, nullptr, nullptr,
                  &coverage.entries);
  }
  return coverage;
}

std::string ChangingModel::coverageText(std::size_t change) const {
  const auto [changed, entries] = coverage(change);
  std::string text = changes_[change].name;
  text.append(": ").append(std::to_string(changed));
  if (entries >= 0) text.append(" of ").append(std::to_string(entries));
  return text +
         (entries == 1 || (entries < 0 && changed == 1) ? " entry changes" : " entries change");
}

}  // namespace zdb::tool
