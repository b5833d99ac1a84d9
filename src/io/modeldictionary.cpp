#include "io/modeldictionary.h"

#include <algorithm>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "io/trace.h"
#include "loaders/zmi.h"

// Tying a database to a model instance, and filling one from the instance's dictionary.
namespace zdb {

using namespace loaders;

DictionarySymbol::DictionarySymbol(zlxRec* dictionary, int number) : index(number) {
  if (!exists()) return;
  type = zlxSymType(dictionary, index);
  dim = zlxSymDim(dictionary, index);
}

DictionarySymbol::DictionarySymbol(zlxRec* dictionary, const char* name)
    : DictionarySymbol(dictionary, zlxSymIndex(dictionary, name)) {}

bool readModelLabels(ZDB& db, ModelLink& link) {
  if (!link.labels.empty()) return true;
  const int count = std::max(0, zlxNUels(link.dictionary));
  std::vector<int> numbers = {0};
  numbers.reserve(static_cast<std::size_t>(count) + 1);
  bool same = true;
  for (int i = 1; i <= count; ++i) {
    char quote[2] = "";
    char label[kDictionaryNameSize] = "";
    zlxUelLabel(link.dictionary, i, quote, label, sizeof label);
    int number;
    if (!db.labels().merge(label, number)) return false;
    same = same && number == i;
    numbers.push_back(number);
  }
  link.labels = std::move(numbers);
  link.sameLabels = same;
  return true;
}

bool ZDB::RegisterZMI(zmiRec* instance) {
  char message[234] = "";
  const auto makeReady = [&](auto getReady, auto getReadyD) {
    return directory_.empty() ? getReady(message, sizeof message)
                              : getReadyD(directory_.c_str(), message, sizeof message);
  };
  if (makeReady(zmiGetReady, zmiGetReadyD) == 0) {
    return setLastError("Error in zmiGetReady: %s", message);
  }
  if (makeReady(zlxGetReady, zlxGetReadyD) == 0) {
    return setLastError("Error in zlxGetReady: %s", message);
  }
  // What was prepared for one instance says nothing of another.
  if (instance != model_.instance) model_.forgetPreparation();
  model_.instance = instance;
  model_.dictionary = static_cast<zlxRec*>(zmiDict(instance));
  model_.labels.clear();
  zmiPinfSet(instance, std::numeric_limits<double>::infinity());
  zmiMinfSet(instance, -std::numeric_limits<double>::infinity());
  return model_.dictionary != nullptr || setLastError("No dictionary available");
}

bool ZDB::InitFromDict(zmiRec* instance) {
  traceStep("---- Entering InitFromDict ----");
  if (fillFromDictionary(instance)) return true;
  traceStep(lastErrorText_);
  return false;
}

bool ZDB::fillFromDictionary(zmiRec* instance) {
  if (labels_.size() > 1) return setLastError("Uels present. Cannot load Uels from dictionary.");
  if (initFrom_ != FROM_NOSOURCE && initFrom_ != FROM_MEMORY) {
    return setLastError("Database incorrectly initialized.");
  }
  initFrom_ = FROM_MEMORY;
  if (!RegisterZMI(instance) || !readModelLabels(*this, model_)) return false;
  const bool areKnown = symbols_.forEach([&](AbstractZDBSymbol* symbol) {
    if (symbol->type != TypeVariable && symbol->type != TypeEquation) return true;
    const char* name = symbol->name.c_str();
    return zlxSymIndex(model_.dictionary, name) > 0 ||
           setLastError("Variable/Equation symbol %s does not exist in model", name);
  });
  if (!areKnown) return false;
  const int count = zlxNLSyms(model_.dictionary);
  for (int i = 1; i <= count; ++i) {
    if (!takeDictionarySymbol(i)) return false;
  }
  return true;
}

bool ZDB::takeDictionarySymbol(int index) {
  const DictionarySymbol found(model_.dictionary, index);
  char name[kDictionaryNameSize] = "";
  zlxSymName(model_.dictionary, index, name, sizeof name);
  if (found.type != DictionaryVariable && found.type != DictionaryEquation) {
    return setLastError("ZMI symbol type not variable or equation of symbol %s", name);
  }
  if (symbols_.contains(name)) {
    const AbstractZDBSymbol* present = symbols_[name];
    if (present->dim != found.dim) return setLastError("Mismatch in dimension for symbol %s", name);
    return present->type == found.databaseType() ||
           setLastError("Mismatch in type for symbol %s", name);
  }
  char quote[2] = "";
  char text[kMessageSize] = "";
  zlxSymText(model_.dictionary, index, quote, text, sizeof text);
  auto symbol = symbolFactory(defaultStorage_, name, found.dim, found.databaseType(),
                              symbols_.size(), zlxSymUserInfo(model_.dictionary, index), text);
  if (!symbol) {
    return setLastError("Dimension of symbol %s must be between 0 and %d (saw %d)", name, kMaxDim,
                        found.dim);
  }
  symbol->isLoaded = false;
  insertSymbol(std::move(symbol));
  return true;
}

}  // namespace zdb
