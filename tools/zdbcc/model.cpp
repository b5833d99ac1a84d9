#include "model.h"

#include "console.h"
#include "guess.h"
#include "zkitdclib.h"

namespace zdb::tool {

namespace {

/// What marks a variable as an updatable parameter.
constexpr const char* kSuffix = "_var";

void requireLabelCount(const Symbol& symbol, const std::vector<std::string>& labels) {
  if (labels.size() == static_cast<std::size_t>(symbol.dim)) return;
  throw ToolError("labels given for " + symbol.name + ": " + std::to_string(labels.size()) +
                  ", needed: " + std::to_string(symbol.dim));
}

}  // namespace

std::vector<const char*> pointersTo(const std::vector<std::string>& texts) {
  std::vector<const char*> pointers;
  pointers.reserve(texts.size());
  for (const std::string& text : texts) pointers.push_back(text.c_str());
  return pointers;
}

Model::Model(const ModelSource& source) : file_(source.file) {
  char message[1024] = "";
  const char* data = source.data.empty() ? nullptr : source.data.c_str();
  const int flags = source.allowFiles ? ZKIT_ALLOW_FILES : 0;
  if (!zkitReadModelX(file_.c_str(), data, nullptr, flags, &instance_, message, sizeof message)) {
    throw ToolError(message);
  }
  try {
    db_.require(c__zdbinitfromdict(db_.handle(), instance_));
    db_.require(c__zdbinitupdate(db_.handle(), instance_));
  } catch (...) {
    zkitFreeInstance(&instance_);
    throw;
  }
}

Model::~Model() {
  zkitFreeInstance(&instance_);
}

bool Model::hasParameter(const std::string& name) {
  zdbSymbol_t variable = nullptr;
  return c__zdbfindsymbol(db_.handle(), (name + kSuffix).c_str(), &variable) == 1;
}

Symbol Model::parameter(const std::string& name) {
  if (!hasParameter(name)) {
    Guess guess(name + kSuffix);
    for (int i = 0; i < db_.symbolCount(); ++i) {
      const std::string symbol = db_.symbolAt(i).name;
      if (symbol.ends_with(kSuffix)) guess.consider(symbol);
    }
    throw ToolError(file_ + " has no updatable parameter " + name + ": it needs a variable " +
                    name + kSuffix + guess.text());
  }
  zdbSymbol_t symbol = nullptr;
  if (c__zdbfindsymbol(db_.handle(), name.c_str(), &symbol) == 0) {
    const Symbol variable = db_.findSymbol(name + kSuffix);
    db_.require(c__zdbaddsymbol(db_.handle(), name.c_str(), variable.dim, ZDB_PARAMETER, 0,
                                variable.text.c_str(), &symbol));
  }
  Symbol found = db_.findSymbol(name);
  if (found.type == ZDB_PARAMETER) return found;
  throw ToolError(name + " is both a variable and an updatable parameter in " + file_ +
                  ": rename one of them");
}

bool Model::hasEntry(const Symbol& parameter, const std::vector<std::string>& labels) {
  if (labels.size() != static_cast<std::size_t>(parameter.dim)) return false;
  const Symbol variable = db_.findSymbol(parameter.name + kSuffix);
  zdbRecord_t record = nullptr;
  const int isFound =
      c__zdbfindrecord(db_.handle(), variable.handle, pointersTo(labels).data(), &record);
  c__zdbfreesymboliterator(db_.handle(), record);
  return isFound != 0;
}

void Model::set(const Symbol& parameter, const std::vector<std::string>& labels, double value) {
  requireLabelCount(parameter, labels);
  zdbRecord_t record = nullptr;
  db_.require(
      c__zdbmergerecord(db_.handle(), parameter.handle, pointersTo(labels).data(), &record));
  const int done = c__zdbsetlevel(db_.handle(), record, value);
  c__zdbfreesymboliterator(db_.handle(), record);
  db_.require(done);
}

int Model::update(const Symbol& parameter, int missing) {
  int unmatched = 0;
  try {
    db_.require(c__zdbupdatemodelsymbol(db_.handle(), parameter.handle, ZDB_UPDATE_FIX,
                                        parameter.handle, missing, &unmatched));
  } catch (const ToolError& failure) {
    throw ToolError(parameter.name + ": " + failure.what());
  }
  return unmatched;
}

void Model::solve(const std::string& solver) {
  const std::string usual = zkitIntegerColumns(instance_) > 0 ? "cbc" : "clp";
  const std::string& name = solver.empty() ? usual : solver;
  try {
    db_.require(c__zdbcallsolver(db_.handle(), name.c_str()));
  } catch (const ToolError& failure) {
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
  const Symbol symbol = db_.findSymbol(entry.symbol);
  requireLabelCount(symbol, entry.labels);
  zdbRecord_t record = nullptr;
  const int isFound =
      c__zdbfindrecord(db_.handle(), symbol.handle, pointersTo(entry.labels).data(), &record);
  if (isFound == 0) db_.requireLabels(entry.labels);
  db_.require(isFound);
  double level = 0;
  const int done = c__zdbgetlevel(db_.handle(), record, &level);
  c__zdbfreesymboliterator(db_.handle(), record);
  db_.require(done);
  return level;
}

}  // namespace zdb::tool
