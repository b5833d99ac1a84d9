// Tying a database to a model instance, and filling one from the instance's dictionary.
#include "io/modeldictionary.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "io/modelsource.h"
#include "io/trace.h"
#include "loaders/zmi.h"

namespace zdb {

using namespace loaders;

DictionarySymbol::DictionarySymbol(zlxRec* dictionary, int number) : index(number) {
  if (!exists()) return;
  type = zlxSymType(dictionary, index);
  dim = zlxSymDim(dictionary, index);
}

DictionarySymbol::DictionarySymbol(zlxRec* dictionary, const char* name)
    : DictionarySymbol(dictionary, zlxSymIndex(dictionary, name)) {}

bool isIdle(ZDB& db, const ModelLink& link) {
  return !link.isSolving || db.setLastError(ErrorState, "The model instance is being solved");
}

bool agrees(ZDB& db, const DictionarySymbol& found, const AbstractZDBSymbol& symbol) {
  const char* name = symbol.name.c_str();
  if (symbol.dim != found.dim)
    return db.setLastError(ErrorModel, "Mismatch in dimension for symbol %s", name);
  return symbol.type == found.databaseType() ||
         db.setLastError(ErrorModel, "Mismatch in type for symbol %s", name);
}

bool readModelLabels(ZDB& db, ModelLink& link) {
  if (link.labels) return true;
  const int count = std::max(0, zlxNUels(link.dictionary));
  LabelNumbers numbers;
  for (int i = 1; i <= count; ++i) {
    char quote[2] = "";
    char label[kDictionaryNameSize] = "";
    zlxUelLabel(link.dictionary, i, quote, label, sizeof label);
    int number;
    if (!db.labels().merge(label, number)) return false;
    numbers.add(number);
  }
  link.labels = std::move(numbers);
  return true;
}

namespace {

bool registerInstance(ZDB& db, ModelLink& link, zmiRec* instance) {
  if (!isIdle(db, link)) return false;
  char message[234] = "";
  const auto makeReady = [&](auto getReady, auto getReadyD) {
    return db.directory().empty() ? getReady(message, sizeof message)
                                  : getReadyD(db.directory().c_str(), message, sizeof message);
  };
  if (makeReady(zmiGetReady, zmiGetReadyD) == 0) {
    return db.setLastError(ErrorCompanion, "Error in zmiGetReady: %s", message);
  }
  if (makeReady(zlxGetReady, zlxGetReadyD) == 0) {
    return db.setLastError(ErrorCompanion, "Error in zlxGetReady: %s", message);
  }
  // The preparation of one instance is of no use for another, which may have come to the address
  // of one that was freed.
  link.forgetPreparation();
  link.instance = instance;
  link.dictionary = static_cast<zlxRec*>(zmiDict(instance));
  link.labels.reset();
  zmiPinfSet(instance, std::numeric_limits<double>::infinity());
  zmiMinfSet(instance, -std::numeric_limits<double>::infinity());
  return link.dictionary != nullptr || db.setLastError(ErrorModel, "No dictionary available");
}

/// Adds a variable or equation of the dictionary, unless the database has it already.
bool takeSymbol(ZDB& db, zlxRec* dictionary, int index) {
  const DictionarySymbol found(dictionary, index);
  char name[kDictionaryNameSize] = "";
  zlxSymName(dictionary, index, name, sizeof name);
  if (found.type != DictionaryVariable && found.type != DictionaryEquation) {
    return db.setLastError(ErrorModel, "ZMI symbol type not variable or equation of symbol %s",
                           name);
  }
  if (db.symbols().contains(name)) return agrees(db, found, *db.symbols()[name]);
  char quote[2] = "";
  char text[kMessageSize] = "";
  zlxSymText(dictionary, index, quote, text, sizeof text);
  auto symbol = db.symbolFactory(db.defaultStorage(), name, found.dim, found.databaseType(),
                                 db.symbols().size(), zlxSymUserInfo(dictionary, index), text);
  if (!symbol) {
    if (isStorageUnknown(db, name)) return false;
    return db.setLastError(ErrorModel, "Dimension of symbol %s must be between 0 and %d (saw %d)",
                           name, kMaxDim, found.dim);
  }
  symbol->isLoaded = false;
  db.insertSymbol(std::move(symbol));
  return true;
}

/// Whether the dictionary has every variable and equation of the database.
bool knowsSymbols(ZDB& db, zlxRec* dictionary) {
  return db.symbols().forEach([&](AbstractZDBSymbol* symbol) {
    if (symbol->type != TypeVariable && symbol->type != TypeEquation) return true;
    const char* name = symbol->name.c_str();
    return zlxSymIndex(dictionary, name) > 0 ||
           db.setLastError(ErrorModel, "Variable/Equation symbol %s does not exist in model", name);
  });
}

bool fillFromDictionary(ZDB& db, ModelLink& link, zmiRec* instance) {
  if (db.labels().size() > 1) {
    return db.setLastError(ErrorState, "Uels present. Cannot load Uels from dictionary.");
  }
  if (db.GetInitFrom() != FROM_NOSOURCE && db.GetInitFrom() != FROM_MEMORY) {
    return db.setLastError(ErrorState, "Database incorrectly initialized.");
  }
  db.setInitFrom(FROM_MEMORY);
  if (!registerInstance(db, link, instance) || !readModelLabels(db, link) ||
      !knowsSymbols(db, link.dictionary)) {
    return false;
  }
  const int count = zlxNLSyms(link.dictionary);
  for (int i = 1; i <= count; ++i) {
    if (!takeSymbol(db, link.dictionary, i)) return false;
  }
  return true;
}

}  // namespace

bool ZDB::RegisterZMI(zmiRec* instance) {
  return registerInstance(*this, modelLink(*this), instance);
}

bool ZDB::InitFromDict(zmiRec* instance) {
  traceStep("---- Entering InitFromDict ----");
  const bool isFilled = fillFromDictionary(*this, modelLink(*this), instance);
  if (!isFilled) traceStep(lastError());
  return isFilled;
}

}  // namespace zdb
