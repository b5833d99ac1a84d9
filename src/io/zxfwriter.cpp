#include <array>
#include <string>

#include "core/textutils.h"
#include "core/zdb.h"
#include "io/zxfconventions.h"
#include "loaders/zxf.h"

// Writing a database into a data exchange file.
namespace zdb {

using namespace loaders;

/// One write: owns the companion's handle, which is freed on every way out. Freeing it without
/// closing leaves an older file of that name as it was.
class ZXFWriter {
 public:
  explicit ZXFWriter(ZDB& database) : db_(database) {}
  ZXFWriter(const ZXFWriter&) = delete;
  ZXFWriter& operator=(const ZXFWriter&) = delete;
  ~ZXFWriter() {
    if (zxf_ != nullptr) zxfFree(&zxf_);
  }

  bool create();
  bool write(const std::string& fileName, bool domainCheck);

 private:
  using Names = std::array<const char*, kMaxDim>;

  bool open(const std::string& fileName);
  void writeLabels();
  bool writeAlias(const AbstractZDBSymbol& symbol);
  bool writeSymbol(AbstractZDBSymbol& symbol, int fileNumber, bool domainCheck);
  bool writeStrictDomain(const AbstractZDBSymbol& symbol);
  bool writeRecords(AbstractZDBSymbol& symbol);
  void writeRelaxedDomain(const AbstractZDBSymbol& symbol, int fileNumber);
  void writeTexts();
  bool finish();
  bool reportErrors();

  ZDB& db_;
  zxfRec* zxf_ = nullptr;
  int forgivenErrors_ = 0;  ///< raised by strict domains that the companion rejected
};

bool ZXFWriter::create() {
  char message[228] = "";
  return db_.createZXFHandle(&zxf_, message, sizeof message) != 0 ||
         db_.setLastError("ZXF create did not succeed: %s", message);
}

bool ZXFWriter::write(const std::string& fileName, bool domainCheck) {
  if (!open(fileName)) return false;
  writeLabels();
  for (int p = 0; p < db_.symbols().size(); ++p) {
    AbstractZDBSymbol& symbol = *db_.symbols()[p];
    if (symbol.isAlias() ? !writeAlias(symbol) : !writeSymbol(symbol, p + 1, domainCheck)) {
      return false;
    }
  }
  writeTexts();
  return finish();
}

bool ZXFWriter::open(const std::string& fileName) {
  int error = 0;
  zxfOpenWrite(zxf_, fileName.c_str(), "", &error);
  if (error != 0) {
    char text[kMessageSize] = "";
    zxfErrorStr(zxf_, error, text);
    return db_.setLastError("%s: %s", text, fileName.c_str());
  }
  forgivenErrors_ = error;
  zxfStoreDomainSetsSet(zxf_, 0);
  return zxfSetSpecialValues(zxf_, zxfSpecialValues(zxf_).data()) != 0 ||
         db_.setLastError("Error setting special values");
}

void ZXFWriter::writeLabels() {
  const uellist::UELList& labels = db_.labels();
  zxfUELRegisterRawStart(zxf_);
  for (int i = 1; i < labels.size(); ++i) zxfUELRegisterRaw(zxf_, labels[i]);
  zxfUELRegisterDone(zxf_);
}

bool ZXFWriter::writeAlias(const AbstractZDBSymbol& symbol) {
  const char* set = symbol.aliasTarget->name.c_str();
  return zxfAddAlias(zxf_, symbol.name.c_str(), set) != 0 ||
         db_.setLastError("Error writing alias %s of set %s to ZXF", symbol.name.c_str(), set);
}

bool ZXFWriter::writeSymbol(AbstractZDBSymbol& symbol, int fileNumber, bool domainCheck) {
  const int userInfo = symbol.userInfo + (symbol.type == TypeEquation ? kEquationOffset : 0);
  if (zxfDataWriteRawStart(zxf_, symbol.name.c_str(), symbol.explText.c_str(), symbol.dim,
                           symbol.type, userInfo) == 0) {
    return db_.setLastError("Error writing symbol %s to ZXF", symbol.name.c_str());
  }
  const bool isStrict = domainCheck && writeStrictDomain(symbol);
  if (!writeRecords(symbol)) {
    return db_.setLastError("Problems writing symbol %s to ZXF", symbol.name.c_str());
  }
  zxfDataWriteDone(zxf_);
  if (!isStrict) writeRelaxedDomain(symbol, fileNumber);
  return true;
}

bool ZXFWriter::writeStrictDomain(const AbstractZDBSymbol& symbol) {
  Names names{};
  bool hasRegular = false;
  for (int d = 0; d < symbol.dim; ++d) {
    const AbstractZDBSymbol* domain = symbol.domains[d];
    if (domain == nullptr) return false;
    names[d] = domain->isUniverse() ? "*" : domain->name.c_str();
    hasRegular = hasRegular || !domain->isUniverse();
  }
  if (!hasRegular) return false;
  const int before = zxfErrorCount(zxf_);
  if (zxfSymbolSetDomain(zxf_, names.data()) != 0) return true;
  const int raised = zxfErrorCount(zxf_) - before;
  forgivenErrors_ += raised;
  for (int i = 0; i < raised; ++i) zxfGetLastError(zxf_);
  return false;
}

bool ZXFWriter::writeRecords(AbstractZDBSymbol& symbol) {
  if (!symbol.isLoaded) return db_.copyFromSource(symbol, zxf_);
  symbol.forEachRecord(
      [this](const int* keys, const double* values) { zxfDataWriteRaw(zxf_, keys, values); });
  return true;
}

void ZXFWriter::writeRelaxedDomain(const AbstractZDBSymbol& symbol, int fileNumber) {
  Names names{};
  bool hasName = false;
  for (int d = 0; d < symbol.dim; ++d) {
    const AbstractZDBSymbol* domain = symbol.domains[d];
    names[d] = domain == nullptr      ? symbol.domainNames[d].c_str()
               : domain->isUniverse() ? "*"
                                      : domain->name.c_str();
    hasName = hasName || names[d][0] != '*';
  }
  if (hasName) zxfSymbolSetDomainX(zxf_, fileNumber, names.data());
}

void ZXFWriter::writeTexts() {
  const strpool::TStrHashPool& texts = db_.textPool();
  for (int j = 1; j < texts.size(); ++j) {
    int number = 0;
    zxfAddSetText(zxf_, texts.get(j), &number);
  }
}

bool ZXFWriter::finish() {
  if (zxfErrorCount(zxf_) <= forgivenErrors_) {
    zxfClose(zxf_);
    return zxfErrorCount(zxf_) <= forgivenErrors_ || reportErrors();
  }
  reportErrors();
  zxfClose(zxf_);
  return false;
}

bool ZXFWriter::reportErrors() {
  const int first = zxfGetLastError(zxf_);
  int count = first != 0 ? 1 : 0;
  while (zxfGetLastError(zxf_) != 0) ++count;
  char text[kMessageSize] = "";
  zxfErrorStr(zxf_, first, text);
  return db_.setLastError("%d ZXF Error(s). First Error: %s", count, text);
}

bool ZDB::copyFromSource(AbstractZDBSymbol& symbol, zxfRec* target) {
  if (initFrom_ == FROM_ZMI) return LoadSymbolFromZMI(&symbol, target);
  if (initFrom_ == FROM_DMRF) return LoadSymbolFromCallbacks(&symbol, target);
  if (initFrom_ != FROM_ZXF) return true;  // nothing is left to copy from
  // Renumbered labels come in another order than the file's, so those records are sorted in memory.
  if (!fileLabels_.empty()) {
    if (!LoadSymbol(&symbol)) return false;
    symbol.forEachRecord(
        [target](const int* keys, const double* values) { zxfDataWriteRaw(target, keys, values); });
    return true;
  }
  return LoadSymbolFromZXF(&symbol, target);
}

bool ZDB::WriteZXF(const std::string& fileName, int noDomainCheck) {
  ZXFWriter writer(*this);
  if (!writer.create()) return false;
  if (initFrom_ == FROM_ZXF && zxf::utils::sameTextInvariant(fileName, sourceFile_)) {
    CloseZXF(true);
  }
  return writer.write(fileName, noDomainCheck == 0);
}

}  // namespace zdb
