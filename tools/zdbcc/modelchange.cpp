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

std::vector<const char*> pointersTo(const std::vector<std::string>& labels) {
  std::vector<const char*> pointers;
  pointers.reserve(labels.size());
  for (const std::string& label : labels) pointers.push_back(label.c_str());
  return pointers;
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

}  // namespace

ChangingModel::ChangingModel(const ModelSource& source, const std::vector<std::string>& names,
                             std::vector<ChangeScenario> scenarios, UnknownEntries unknown,
                             Prepare prepare)
    : source_(source),
      scenarios_(std::move(scenarios)),
      unknown_(unknown),
      prepare_(std::move(prepare)) {
  classify(names);
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
      change.number = static_cast<int>(attributes_.size());
      attributes_.push_back(name);
    }
    changes_.push_back(std::move(change));
  }
}

/// The different sets of values of params, each of which is a translation.
void ChangingModel::collectVariants() {
  std::map<std::pair<std::vector<std::string>, std::vector<double>>, int> known;
  for (const ChangeScenario& scenario : scenarios_) {
    std::map<std::string, double> values;
    for (const ChangedValue& value : scenario.values) {
      Change& change = changes_[value.change];
      if (change.param.empty()) continue;
      const std::vector<std::string> labels = joined(change.labels, value.labels);
      values[entryText({change.param, labels})] = asNumber(value.value);
      change.changed.insert(labels);
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

void ChangingModel::open() {
  model_ = std::make_unique<Model>(source_, ModelChanges{attributes_, onlyParams_, variants_});
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
    char message[1024] = "";
    const int variant = variantOf_[i];
    if (variant >= 0 && zkitVariantState(model_->instance(), variant, message, sizeof message) ==
                            ZKIT_VARIANT_FAILED) {
      throw ToolError(scenarios_[i].place + message);
    }
    setAll(*model_, scenarios_[i], true);
  }
  zkitUseVariant(model_->instance(), -1);
}

bool ChangingModel::fits(std::size_t scenario) const {
  const int variant = variantOf_[scenario];
  return variant < 0 ||
         zkitVariantState(model_->instance(), variant, nullptr, 0) == ZKIT_VARIANT_FITS;
}

Model& ChangingModel::apply(std::size_t scenario) {
  own_.reset();
  const int variant = variantOf_[scenario];
  if (!fits(scenario)) {
    const ParamValues& params = variants_[static_cast<std::size_t>(variant)];
    own_ = std::make_unique<Model>(source_, ModelChanges{attributes_, params, {}});
    if (prepare_) prepare_(*own_);
  } else {
    zkitUseVariant(model_->instance(), variant);
  }
  Model& model = own_ ? *own_ : *model_;
  setAll(model, scenarios_[scenario], false);
  return model;
}

void ChangingModel::setAll(Model& model, const ChangeScenario& scenario, bool isChecking) {
  const bool hasOthers = scenarios_.size() > 1;
  for (const Change& change : changes_) {
    if (hasOthers && !isChecking && !change.parameter.empty()) {
      model.parameter(change.parameter).clear();
    }
  }
  for (std::size_t i = 0; i < scenario.values.size(); ++i) {
    const ChangedValue& value = scenario.values[i];
    try {
      setOne(model, changes_[value.change], value, isChecking);
    } catch (const std::runtime_error& failure) {
      const std::string place = scenario.placeOf ? scenario.placeOf(i) : "";
      throw ToolError(scenario.place + place + failure.what());
    }
  }
}

void ChangingModel::setOne(Model& model, Change& change, const ChangedValue& value,
                           bool isChecking) {
  if (change.number < 0) return;  // a param is part of the variant
  const std::vector<const char*> labels = pointersTo(value.labels);
  const auto count = static_cast<int>(labels.size());
  void* instance = model.instance();
  if (unknown_ == UnknownEntries::Count &&
      zkitHasEntry(instance, change.number, labels.data(), count) == 0 &&
      count == openLabels(change)) {
    change.unknown += isChecking ? 1 : 0;
    return;
  }
  char message[1024] = "";
  if (!zkitSetChange(instance, change.number, labels.data(), count, asNumber(value.value), message,
                     sizeof message)) {
    throw ToolError(message);
  }
  if (isChecking) change.changed.insert(value.labels);
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
