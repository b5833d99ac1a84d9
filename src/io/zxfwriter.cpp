// Writing a database into a data exchange file.
#include <array>
#include <string>

#include "core/textutils.h"
#include "io/fileerror.h"
#include "io/zxfconventions.h"
#include "io/zxfsource.h"

namespace zdb {

using namespace loaders;

namespace {

/// One write of a database, through an object of the companion.
class ZXFWriter {
 public:
  ZXFWriter(ZDB& database, zxfRec* zxf) : db_(database), zxf_(zxf) {}

  bool write(const std::string& fileName, bool domainCheck);

 private:
  using Names = std::array<const char*, kMaxDim>;

  bool open(const std::string& fileName);
  void writeLabels();
  bool writeAlias(const AbstractZDBSymbol& symbol);
  bool writeSymbol(AbstractZDBSymbol& symbol, int fileNumber, bool domainCheck);
  bool writeStrictDomain(const AbstractZDBSymbol& symbol);
  bool copyRecords(AbstractZDBSymbol& symbol);
  bool writeRecords(AbstractZDBSymbol& symbol);
  bool writeSorted(DataSource& source, const AbstractZDBSymbol& symbol);
  void writeRelaxedDomain(const AbstractZDBSymbol& symbol, int fileNumber);
  void writeTexts();
  [[gnu::format(printf, 2, 3)]] bool failWriting(const char* format, ...);
  bool finish();
  void takeErrors();
  bool reportErrors();

  ZDB& db_;
  zxfRec* zxf_;
  int forgivenErrors_ = 0;  ///< raised by strict domains that the companion rejected
  /// Of the other errors: those that have been taken off the companion's list.
  int errors_ = 0;
  int firstError_ = 0;
  int newestError_ = 0;
};

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
    const FileError cause(zxf_, error);
    return db_.setLastError(cause.kind, "%s: %s", cause.text, fileName.c_str()) ||
           db_.keepReason(cause.text);
  }
  forgivenErrors_ = error;
  zxfStoreDomainSetsSet(zxf_, 0);
  return zxfSetSpecialValues(zxf_, zxfSpecialValues(zxf_).data()) != 0 ||
         failWriting("Error setting special values");
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
         failWriting("Error writing alias %s of set %s to ZXF", symbol.name.c_str(), set);
}

bool ZXFWriter::writeSymbol(AbstractZDBSymbol& symbol, int fileNumber, bool domainCheck) {
  const int userInfo = toFileUserInfo(symbol.type, symbol.userInfo);
  if (zxfDataWriteRawStart(zxf_, symbol.name.c_str(), symbol.explText.c_str(), symbol.dim,
                           symbol.type, userInfo) == 0) {
    return failWriting("Error writing symbol %s to ZXF", symbol.name.c_str());
  }
  const bool isStrict = domainCheck && writeStrictDomain(symbol);
  if (!copyRecords(symbol)) return false;
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
  if (before > forgivenErrors_) takeErrors();  // or the oldest of these would be forgiven below
  if (zxfSymbolSetDomain(zxf_, names.data()) != 0) return true;
  const int raised = zxfErrorCount(zxf_) - before;
  forgivenErrors_ += raised;
  for (int i = 0; i < raised; ++i) zxfGetLastError(zxf_);
  return false;
}

/// What fails here is the source.
bool ZXFWriter::copyRecords(AbstractZDBSymbol& symbol) {
  const unsigned before = db_.error().count;
  if (writeRecords(symbol)) return true;
  LastError cause;
  cause.kind = ErrorByCallback;  // which is all that fails without a message
  if (db_.error().count != before) cause = db_.error();
  return db_.setLastError(cause.kind, "Problems writing symbol %s to ZXF", symbol.name.c_str()) ||
         db_.reportReason(cause.text);
}

bool ZXFWriter::writeRecords(AbstractZDBSymbol& symbol) {
  const auto write = [this](const int* keys, const double* values) {
    zxfDataWriteRaw(zxf_, keys, values);
  };
  if (!symbol.isLoaded) {
    DataSource* source = db_.source(db_.GetInitFrom());
    if (source == nullptr) return true;  // there is nothing to copy from
    return source->isInKeyOrder() ? source->read(symbol, write) : writeSorted(*source, symbol);
  }
  if (!db_.ensureLoaded(&symbol)) return false;  // a part would replace what is whole in the file
  symbol.forEachRecord(write);
  return true;
}

/// Through a symbol of its own: writing leaves the database as it is.
bool ZXFWriter::writeSorted(DataSource& source, const AbstractZDBSymbol& symbol) {
  constexpr int storage = static_cast<int>(dmap::StorageTypes::Map);
  const auto sorted = db_.symbolFactory(storage, symbol.name, symbol.dim, symbol.type,
                                        symbol.number, symbol.userInfo, symbol.explText);
  if (!source.read(symbol, sorted->appender())) return false;
  sorted->forEachRecord(
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

/// Sets the message of a failure, and why the companion failed. That may have been in an earlier
/// call, whose result is not looked at: after it, all calls fail.
bool ZXFWriter::failWriting(const char* format, ...) {
  char text[kMessageSize];
  std::va_list arguments;
  va_start(arguments, format);
  writeMessageV(text, format, arguments);
  va_end(arguments);
  takeErrors();
  const FileError cause(zxf_, newestError_);
  return db_.setLastError(cause.kind, "%s", text) || db_.reportReason(cause.reason());
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

/// The companion hands out the oldest error first.
void ZXFWriter::takeErrors() {
  for (int number = zxfGetLastError(zxf_); number != 0; number = zxfGetLastError(zxf_)) {
    if (errors_++ == 0) firstError_ = number;
    newestError_ = number;
  }
}

bool ZXFWriter::reportErrors() {
  takeErrors();
  const FileError cause(zxf_, firstError_);
  return db_.setLastError(cause.kind, "%d ZXF Error(s). First Error: %s", errors_, cause.text) ||
         db_.keepReason(cause.text);
}

/// Whether the database still reads from the file with this name.
bool isOwnSource(const ZDB& db, const std::string& fileName) {
  if (db.GetInitFrom() != FROM_ZXF) return false;
  const auto* source = static_cast<const ZXFSource*>(db.source(FROM_ZXF));
  return zxf::utils::sameTextInvariant(fileName, source->fileName());
}

bool writeFile(ZDB& db, const std::string& fileName, bool domainCheck) {
  const ZXFHandle zxf(db.directory());
  if (zxf.get() == nullptr) {
    return db.setLastError(ErrorCompanion, "ZXF create did not succeed: %s", zxf.message()) ||
           db.keepReason(zxf.message());
  }
  if (isOwnSource(db, fileName)) db.CloseZXF(true);
  return ZXFWriter(db, zxf.get()).write(fileName, domainCheck);
}

}  // namespace

bool ZDB::WriteZXF(const std::string& fileName, int noDomainCheck) {
  return writeFile(*this, fileName, noDomainCheck == 0);
}

}  // namespace zdb
