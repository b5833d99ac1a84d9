#include "model.h"

#include "console.h"
#include "guess.h"
#include "zkitdclib.h"

namespace zdb::tool {

namespace {

/// What marks a variable as an updatable parameter.
constexpr const char* kSuffix = "_var";

void requireLabelCount(const zdbcc::Symbol& symbol, const std::vector<std::string>& labels) {
  if (labels.size() == static_cast<std::size_t>(symbol.dim())) return;
  throw ToolError("labels given for " + symbol.name() + ": " + std::to_string(labels.size()) +
                  ", needed: " + std::to_string(symbol.dim()));
}

/// A name or label that is not there is answered with a guess.
zdbcc::Symbol requireSymbol(const zdbcc::Database& db, const std::string& name) {
  if (const auto symbol = db.findSymbol(name)) return *symbol;
  Guess guess(name);
  for (const zdbcc::Symbol& symbol : db.symbols()) guess.consider(symbol.name());
  throw ToolError("there is no symbol " + name + guess.text());
}

void requireLabels(const zdbcc::Database& db, const std::vector<std::string>& labels) {
  for (const std::string& label : labels) {
    if (db.findLabel(label)) continue;
    Guess guess(label);
    for (int i = 1; i <= db.labelCount(); ++i) guess.consider(db.label(i));
    throw ToolError("there is no label " + label + guess.text());
  }
}

constexpr std::size_t kMessageSize = 1024;

std::vector<const char*> pointersTo(const std::vector<std::string>& texts) {
  std::vector<const char*> pointers;
  pointers.reserve(texts.size());
  for (const std::string& text : texts) pointers.push_back(text.c_str());
  return pointers;
}

/// Params as the kit takes them.
class GivenParams {
 public:
  explicit GivenParams(const ParamValues& params)
      : names_(pointersTo(params.names)), values_(params.values.data()) {}

  zkitParams get() const { return {static_cast<int>(names_.size()), names_.data(), values_}; }

 private:
  std::vector<const char*> names_;
  const double* values_;
};

/// The source must outlive the result.
zkitReadOptions optionsOf(const ModelSource& source) {
  zkitReadOptions options = {};
  options.size = sizeof options;
  options.flags = source.allowFiles ? ZKIT_ALLOW_FILES : 0;
  options.file = source.file.c_str();
  options.data = source.data.empty() ? nullptr : source.data.c_str();
  if (source.text.has_value()) {
    options.text = source.text->data();
    options.textSize = static_cast<long long>(source.text->size());
  }
  if (source.dataText.has_value()) {
    options.dataText = source.dataText->data();
    options.dataTextSize = static_cast<long long>(source.dataText->size());
  }
  return options;
}

}  // namespace

std::vector<std::string> paramsOf(const ModelSource& source) {
  const zkitReadOptions options = optionsOf(source);
  std::vector<std::string> names;
  char message[kMessageSize] = "";
  const auto add = [](const char* name, void* list) {
    static_cast<std::vector<std::string>*>(list)->emplace_back(name);
  };
  if (!zkitListParams(&options, add, &names, message, sizeof message)) throw ToolError(message);
  return names;
}

Model::Model(const ModelSource& source, const ModelChanges& changes) : file_(source.file) {
  zkitReadOptions options = optionsOf(source);
  const std::vector<const char*> names = pointersTo(changes.names);
  options.changes = names.data();
  options.changeCount = static_cast<int>(names.size());
  const GivenParams params(changes.params);
  const std::vector<GivenParams> givenVariants(changes.variants.begin(), changes.variants.end());
  std::vector<zkitParams> variants;
  variants.reserve(givenVariants.size());
  for (const GivenParams& given : givenVariants) variants.push_back(given.get());
  const zkitParams own = params.get();
  options.params = &own;
  options.variants = variants.data();
  options.variantCount = static_cast<int>(variants.size());
  char message[kMessageSize] = "";
  if (!zkitReadModelWith(&options, &instance_, message, sizeof message)) throw ToolError(message);
  try {
    db_.readModel(instance_);
  } catch (...) {
    zkitFreeInstance(&instance_);
    throw;
  }
}

Model::~Model() {
  zkitFreeInstance(&instance_);
}

bool Model::hasParameter(const std::string& name) {
  return db_.findSymbol(name + kSuffix).has_value();
}

zdbcc::Symbol Model::parameter(const std::string& name) {
  if (!hasParameter(name)) {
    Guess guess(name + kSuffix);
    for (const zdbcc::Symbol& symbol : db_.symbols()) {
      if (symbol.name().ends_with(kSuffix)) guess.consider(symbol.name());
    }
    throw ToolError(file_ + " has no updatable parameter " + name + ": it needs a variable " +
                    name + kSuffix + guess.text());
  }
  const std::optional<zdbcc::Symbol> found = db_.findSymbol(name);
  if (!found) {
    const zdbcc::Symbol variable = db_.symbol(name + kSuffix);
    return db_.addParameter(name, variable.dim(), variable.text());
  }
  if (found->type() == ZDB_PARAMETER) return *found;
  throw ToolError(name + " is both a variable and an updatable parameter in " + file_ +
                  ": rename one of them");
}

bool Model::hasEntry(const zdbcc::Symbol& parameter, const std::vector<std::string>& labels) {
  if (labels.size() != static_cast<std::size_t>(parameter.dim())) return false;
  return db_.symbol(parameter.name() + kSuffix).find(labels).has_value();
}

void Model::set(const zdbcc::Symbol& parameter, const std::vector<std::string>& labels,
                double value) {
  requireLabelCount(parameter, labels);
  parameter.set(labels, value);
}

int Model::update(const zdbcc::Symbol& parameter, int missing) {
  try {
    return parameter.updateModel(missing);
  } catch (const zdbcc::Error& failure) {
    throw ToolError(parameter.name() + ": " + failure.what());
  }
}

void Model::solve(const std::string& solver) {
  const std::string usual = zkitIntegerColumns(instance_) > 0 ? "cbc" : "clp";
  const std::string& name = solver.empty() ? usual : solver;
  try {
    db_.solve(name);
  } catch (const zdbcc::Error& failure) {
    const std::string reason = zkitSolveMessage(instance_);
    if (reason.empty()) throw;
    throw ToolError(std::string(failure.what()) + ": " + reason);
  }
}

bool Model::isSolved() const {
  const int status = zkitModelStatus(instance_);
  return status == ZKIT_OPTIMAL || status == ZKIT_INTEGER_SOLUTION;
}

double Model::level(const Entry& entry) {
  const zdbcc::Symbol symbol = requireSymbol(db_, entry.symbol);
  requireLabelCount(symbol, entry.labels);
  if (const std::optional<double> level = symbol.find(entry.labels)) return *level;
  requireLabels(db_, entry.labels);
  return symbol[entry.labels];  // throws, with the library's message
}

}  // namespace zdb::tool
