#include "model.h"

#include "console.h"
#include "guess.h"
#include "lookup.h"
#include "solverinfo.h"
#include "zkitdclib.h"

namespace zdb::tool {

namespace {

/// What marks a variable as an updatable parameter.
constexpr const char* kSuffix = "_var";

int flagsOf(const ModelSource& source) {
  constexpr int kFormats[] = {0, ZKIT_FORMAT_MPS, ZKIT_FORMAT_LP, ZKIT_FORMAT_MATHPROG};
  return kFormats[static_cast<int>(source.format)] | (source.allowFiles ? ZKIT_ALLOW_FILES : 0);
}

constexpr std::size_t kMessageSize = 1024;

/// The source must outlive the result.
zkitReadOptions optionsOf(const ModelSource& source) {
  zkitReadOptions options = {};
  options.size = sizeof options;
  options.flags = flagsOf(source);
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

void Model::requireEntry(const zdbcc::Symbol& parameter, const std::vector<std::string>& labels) {
  requireLabelCount(parameter, labels);
  if (hasEntry(parameter, labels)) return;
  requireLabels(db_, labels);
  throw ToolError("the model has no entry " + entryText({parameter.name(), labels}));
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

const std::string& Model::defaultSolver() {
  if (!defaultSolver_.empty()) return defaultSolver_;
  char name[ZKIT_MAX_NAME + 1];
  char message[1024];
  if (!zkitDefaultSolver(instance_, name, sizeof name, message, sizeof message)) {
    throw ToolError(message);
  }
  return defaultSolver_ = name;
}

void Model::solve(const std::string& solver) {
  const std::string& name = solverFor(solver);
  try {
    db_.solve(name);
  } catch (const zdbcc::Error& failure) {
    if (failure.kind() == ZDBX_ARGUMENT) failUnknownSolver(name);
    const std::string reason = zkitSolveMessage(instance_);
    if (reason.empty() || reason == failure.what()) throw;
    throw ToolError(std::string(failure.what()) + ": " + reason);
  }
}

bool Model::isSolved() const {
  const int status = zkitModelStatus(instance_);
  return status == ZKIT_OPTIMAL || status == ZKIT_INTEGER_SOLUTION;
}

bool Model::hasSolution() const {
  return isSolved() || zkitModelStatus(instance_) == ZKIT_FEASIBLE;
}

double Model::level(const Entry& entry) {
  const zdbcc::Symbol symbol = requireSymbol(db_, entry.symbol);
  requireLabelCount(symbol, entry.labels);
  if (const std::optional<double> level = symbol.find(entry.labels)) return *level;
  requireLabels(db_, entry.labels);
  return symbol[entry.labels];  // throws, with the library's message
}

}  // namespace zdb::tool
