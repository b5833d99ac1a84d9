#include <array>

#include "core/zdb.h"
#include "io/trace.h"
#include "io/zxfconventions.h"
#include "loaders/zxf.h"

// Filling a database from a data exchange file: headers at once, records on first use.
namespace zdb {

using namespace loaders;

bool ZDB::InitFromZXF(const std::string& fileName) {
  traceStep("---- Entering InitFromZXF ----");
  if (initFrom_ != FROM_NOSOURCE) {
    traceStep("FROM_NOSOURCE!=initFrom", 2);
    return setLastError("Database has been initialized, cannot initialize from %s",
                        fileName.c_str());
  }
  if (zxf_ == nullptr) return setLastError("ZXF create did not succeed: %s", zxfMessage_);
  initFrom_ = FROM_ZXF;
  sourceFile_ = fileName;
  if (!openZXF(fileName)) return false;
  loadZXFTexts();
  if (!loadZXFLabels()) return false;
  int symbolCount = 0;
  int labelCount = 0;
  zxfSystemInfo(zxf_, &symbolCount, &labelCount);
  traceStep("creating symbols");
  for (int s = 1; s <= symbolCount; ++s) {
    if (!createZXFSymbol(s)) return false;
  }
  for (int s = 1; s <= symbolCount; ++s) {
    AbstractZDBSymbol* symbol = symbols_[s - 1];
    if (!symbol->isAlias()) readZXFDomains(symbol, s);
  }
  traceStep("---- Leaving InitFromZXF ----");
  return true;
}

bool ZDB::openZXF(const std::string& fileName) {
  traceStep("Open zxf file for reading");
  int error = 0;
  zxfOpenRead(zxf_, fileName.c_str(), &error);
  if (error != 0) {
    traceStep("Error opening zxf file");
    char text[kMessageSize] = "";
    zxfErrorStr(zxf_, error, text);
    return setLastError("Error opening ZXF file: %s", text);
  }
  traceStep("Opening zxf file was successful");
  traceStep("using special values from ZDB", 2);
  return zxfSetReadSpecialValues(zxf_, zxfSpecialValues(zxf_).data()) != 0 ||
         setLastError("Error setting special values");
}

void ZDB::loadZXFTexts() {
  traceStep("Start loading string table");
  traceStep("loading strings");
  char text[kMessageSize] = "";
  int node = 0;
  for (int n = 1; zxfGetElemText(zxf_, n, text, &node) != 0; ++n) {
    traceStep("reading string: ", text, 2);
    const int before = texts_.size();
    texts_.insert(text, before);
    traceStep(texts_.size() > before ? "Adding text" : "Text already exists", 2);
  }
  traceStep("loading strings done");
}

bool ZDB::loadZXFLabels() {
  traceStep("start loading uels");
  int count = 0;
  int highest = 0;
  zxfUMUelInfo(zxf_, &count, &highest);
  char text[kMessageSize] = "";
  for (int i = 1; i <= count; ++i) {
    traceStep("Get uel", 2);
    int mapped = 0;
    if (zxfUMUelGet(zxf_, i, text, &mapped) == 0) {
      return setLastError("Error reading label %d from ZXF file %s", i, sourceFile_.c_str());
    }
    int number;
    if (!labels_.merge(text, number)) return false;
    noteFileLabel(i, number);
    traceStep("Uel loaded: ", text, 2);
  }
  traceStep("loading uels done");
  return true;
}

void ZDB::noteFileLabel(int fileNumber, int number) {
  if (fileLabels_.empty()) {
    if (fileNumber == number) return;
    // Labels were merged before the file was opened: records must be renumbered as they are read.
    for (int i = 0; i < fileNumber; ++i) fileLabels_.push_back(i);
  }
  fileLabels_.push_back(number);
}

bool ZDB::createZXFSymbol(int fileNumber) {
  traceStep("creating symbol", 2);
  char name[kMessageSize] = "";
  char text[kMessageSize] = "";
  int dim = 0;
  int type = 0;
  int records = 0;
  int userInfo = 0;
  zxfSymbolInfo(zxf_, fileNumber, name, &dim, &type);
  zxfSymbolInfoX(zxf_, fileNumber, &records, &userInfo, text);
  if (type == TypeEquation) userInfo -= kEquationOffset;
  auto symbol = symbolFactory(defaultStorage_, name, dim, type, fileNumber - 1, userInfo, text);
  if (!symbol || symbols_.contains(name)) {
    return setLastError("File %s has a symbol %s of dimension %d that cannot be added",
                        sourceFile_.c_str(), name, dim);
  }
  symbol->isLoaded = false;
  AbstractZDBSymbol* added = insertSymbol(std::move(symbol));
  if (type == TypeAlias) added->aliasTarget = zxfAliasTarget(userInfo);
  traceStep("symbol created: ", name, 2);
  return true;
}

AbstractZDBSymbol* ZDB::zxfAliasTarget(int fileNumber) {
  if (fileNumber == 0) return universe();
  char name[kMessageSize] = "";
  int dim = 0;
  int type = 0;
  zxfSymbolInfo(zxf_, fileNumber, name, &dim, &type);
  if (!symbols_.contains(name)) return universe();
  AbstractZDBSymbol* target = symbols_[name]->aliasTarget;
  return target->type == TypeSet ? target : universe();
}

void ZDB::readZXFDomains(AbstractZDBSymbol* symbol, int fileNumber) {
  char rows[kMaxDim][kMessageSize] = {};
  std::array<char*, kMaxDim> names;
  for (int d = 0; d < kMaxDim; ++d) names[d] = rows[d];
  const bool hasDomains = zxfSymbolGetDomainX(zxf_, fileNumber, names.data()) != 0;
  for (int d = 0; d < symbol->dim; ++d) {
    const std::string name = hasDomains ? names[d] : "*";
    AbstractZDBSymbol* domain = nullptr;
    if (name == "*") {
      domain = universe();
    } else if (symbols_.contains(name.c_str())) {
      AbstractZDBSymbol* named = symbols_[name.c_str()];
      const bool isSet = named->type == TypeSet || named->type == TypeAlias;
      if (isSet && named->dim == 1) domain = named;
    }
    symbol->domains[d] = domain;
    symbol->domainNames[d] = domain == nullptr ? name : std::string();
    if (domain == nullptr || domain == universe()) continue;
    domain->isDomain = true;
    domain->aliasTarget->isDomain = true;
  }
}

bool ZDB::LoadSymbol(AbstractZDBSymbol* symbol) {
  if (symbol->isLoaded) return setLastError("Symbol %s already loaded", symbol->name.c_str());
  symbol->isLoaded = true;
  if (initFrom_ == FROM_ZXF) return LoadSymbolFromZXF(symbol, nullptr);
  if (initFrom_ == FROM_ZMI) return LoadSymbolFromZMI(symbol, nullptr);
  if (initFrom_ == FROM_DMRF) return LoadSymbolFromCallbacks(symbol, nullptr);
  return setLastError("Symbol %s not initialized from ZXF or ZMI: %d", symbol->name.c_str(),
                      initFrom_);
}

bool ZDB::LoadSymbolFromZXF(AbstractZDBSymbol* symbol, zxfRec* target) {
  if (symbol->isAlias()) return setLastError("Cannot load alias %s", symbol->name.c_str());
  int fileNumber = 0;
  int records = 0;
  zxfFindSymbol(zxf_, symbol->name.c_str(), &fileNumber);
  if (zxfDataReadRawStart(zxf_, fileNumber, &records) == 0) return failZXFRead(symbol);
  int keys[kMaxDim];
  double values[kMaxValues];
  int firstChanged = 0;
  for (int r = 0; r < records; ++r) {
    if (zxfDataReadRaw(zxf_, keys, values, &firstChanged) == 0) return failZXFRead(symbol);
    if (target != nullptr) {
      zxfDataWriteRaw(target, keys, values);
      continue;
    }
    if (!renumberLabels(keys, symbol->dim)) return failZXFRead(symbol);
    symbol->addRecordEnd(keys, values);
  }
  zxfDataReadDone(zxf_);
  return true;
}

bool ZDB::renumberLabels(int* keys, int dim) const {
  for (int d = 0; d < dim && !fileLabels_.empty(); ++d) {
    const auto number = static_cast<std::size_t>(keys[d]);  // negative: beyond every label
    if (number >= fileLabels_.size()) return false;
    keys[d] = fileLabels_[number];
  }
  return true;
}

bool ZDB::failZXFRead(const AbstractZDBSymbol* symbol) {
  char text[kMessageSize] = "";
  zxfErrorStr(zxf_, zxfGetLastError(zxf_), text);
  zxfDataReadDone(zxf_);
  return setLastError("Error reading symbol %s from ZXF file %s: %s", symbol->name.c_str(),
                      sourceFile_.c_str(), text);
}

bool ZDB::CloseZXF(bool loadRemain) {
  if (initFrom_ != FROM_ZXF) return setLastError("Database not initialized from ZXF");
  const bool loadedAll = symbols_.forEach([&](AbstractZDBSymbol* symbol) {
    return symbol->isLoaded || symbol->isAlias() || !loadRemain || LoadSymbol(symbol);
  });
  if (!loadedAll) return false;
  if (zxf_ != nullptr) zxfClose(zxf_);
  initFrom_ = FROM_MEMORY;
  return true;
}

}  // namespace zdb
