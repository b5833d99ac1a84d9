// Filling a database from a data exchange file: headers now, records on first use.
#include <array>

#include "io/fileerror.h"
#include "io/trace.h"
#include "io/zxfconventions.h"
#include "io/zxfsource.h"

namespace zdb {

using namespace loaders;

namespace {

/// Reads everything but the records of one file.
class ZXFReader {
 public:
  ZXFReader(ZDB& db, ZXFSource& source) : db_(db), source_(source), zxf_(source.zxf()) {}

  bool run();

 private:
  bool open();
  void readTexts();
  bool readLabels();
  bool makeSymbol(int fileNumber);
  AbstractZDBSymbol* aliasTarget(int fileNumber);
  AbstractZDBSymbol* domainNamed(const std::string& name);
  bool readDomains(AbstractZDBSymbol& symbol, int fileNumber);

  ZDB& db_;
  ZXFSource& source_;
  zxfRec* zxf_;
};

bool ZXFReader::run() {
  if (!open()) return false;
  readTexts();
  if (!readLabels()) return false;
  int symbolCount = 0;
  int labelCount = 0;
  zxfSystemInfo(zxf_, &symbolCount, &labelCount);
  traceStep("creating symbols");
  for (int s = 1; s <= symbolCount; ++s) {
    if (!makeSymbol(s)) return false;
  }
  for (int s = 1; s <= symbolCount; ++s) {
    AbstractZDBSymbol* symbol = db_.symbols()[s - 1];
    if (!symbol->isAlias() && !readDomains(*symbol, s)) return false;
  }
  return true;
}

bool ZXFReader::open() {
  traceStep("Open zxf file for reading");
  int error = 0;
  zxfOpenRead(zxf_, source_.fileName().c_str(), &error);
  if (error != 0) {
    traceStep("Error opening zxf file");
    const FileError cause(zxf_, error);
    return db_.setLastError(cause.kind, "Error opening ZXF file: %s", cause.text) ||
           db_.keepReason(cause.text);
  }
  traceStep("Opening zxf file was successful");
  traceStep("using special values from ZDB", 2);
  if (zxfSetReadSpecialValues(zxf_, zxfSpecialValues(zxf_).data()) != 0) return true;
  const FileError cause = newestFileError(zxf_);
  return db_.setLastError(cause.kind, "Error setting special values") ||
         db_.reportReason(cause.reason());
}

void ZXFReader::readTexts() {
  traceStep("Start loading string table");
  traceStep("loading strings");
  strpool::TStrHashPool& texts = db_.textPool();
  char text[kMessageSize] = "";
  int node = 0;
  for (int n = 1; zxfGetElemText(zxf_, n, text, &node) != 0; ++n) {
    traceStep("reading string: ", text, 2);
    const int before = texts.size();
    texts.insert(text, before);
    traceStep(texts.size() > before ? "Adding text" : "Text already exists", 2);
  }
  traceStep("loading strings done");
}

bool ZXFReader::readLabels() {
  traceStep("start loading uels");
  int count = 0;
  int highest = 0;
  zxfUMUelInfo(zxf_, &count, &highest);
  char text[kMessageSize] = "";
  for (int i = 1; i <= count; ++i) {
    traceStep("Get uel", 2);
    int mapped = 0;
    if (zxfUMUelGet(zxf_, i, text, &mapped) == 0) {
      const FileError cause = newestFileError(zxf_);
      return db_.setLastError(cause.kind, "Error reading label %d from ZXF file %s", i,
                              source_.fileName().c_str()) ||
             db_.reportReason(cause.reason());
    }
    int number;
    if (!db_.labels().merge(text, number)) return false;
    source_.labels().add(number);
    traceStep("Uel loaded: ", text, 2);
  }
  traceStep("loading uels done");
  return true;
}

bool ZXFReader::makeSymbol(int fileNumber) {
  traceStep("creating symbol", 2);
  char name[kMessageSize] = "";
  char text[kMessageSize] = "";
  int dim = 0;
  int type = 0;
  int records = 0;
  int userInfo = 0;
  zxfSymbolInfo(zxf_, fileNumber, name, &dim, &type);
  zxfSymbolInfoX(zxf_, fileNumber, &records, &userInfo, text);
  userInfo = fromFileUserInfo(type, userInfo);
  auto symbol =
      db_.symbolFactory(db_.defaultStorage(), name, dim, type, fileNumber - 1, userInfo, text);
  if (!symbol && isStorageUnknown(db_, name)) return false;
  if (!symbol || db_.symbols().contains(name)) {
    return db_.setLastError(ErrorDamaged,
                            "File %s has a symbol %s of dimension %d that cannot be added",
                            source_.fileName().c_str(), name, dim);
  }
  symbol->isLoaded = false;
  AbstractZDBSymbol* added = db_.insertSymbol(std::move(symbol));
  if (added->isAlias()) added->aliasTarget = aliasTarget(userInfo);
  traceStep("symbol created: ", name, 2);
  return true;
}

AbstractZDBSymbol* ZXFReader::aliasTarget(int fileNumber) {
  if (fileNumber == 0) return db_.universe();
  char name[kMessageSize] = "";
  int dim = 0;
  int type = 0;
  zxfSymbolInfo(zxf_, fileNumber, name, &dim, &type);
  if (!db_.symbols().contains(name)) return db_.universe();
  AbstractZDBSymbol* target = db_.symbols()[name]->aliasTarget;
  return target->type == TypeSet ? target : db_.universe();
}

/// Null for a name that is not that of a one-dimensional set.
AbstractZDBSymbol* ZXFReader::domainNamed(const std::string& name) {
  if (name == "*") return db_.universe();
  if (!db_.symbols().contains(name.c_str())) return nullptr;
  AbstractZDBSymbol* named = db_.symbols()[name.c_str()];
  return named->canBeDomain() ? named : nullptr;
}

bool ZXFReader::readDomains(AbstractZDBSymbol& symbol, int fileNumber) {
  char rows[kMaxDim][kMessageSize] = {};
  std::array<char*, kMaxDim> names;
  for (int d = 0; d < kMaxDim; ++d) names[d] = rows[d];
  const bool hasDomains = zxfSymbolGetDomainX(zxf_, fileNumber, names.data()) != 0;
  for (int d = 0; d < symbol.dim; ++d) {
    const std::string name = hasDomains ? names[d] : "*";
    AbstractZDBSymbol* domain = domainNamed(name);
    if (domain == nullptr && !isDomainName(db_, name.c_str())) return false;
    symbol.domains[d] = domain;
    symbol.domainNames[d] = domain == nullptr ? name : std::string();
    if (domain != nullptr && domain != db_.universe()) domain->markAsDomain();
  }
  return true;
}

bool initFromFile(ZDB& db, const std::string& fileName) {
  traceStep("---- Entering InitFromZXF ----");
  if (db.GetInitFrom() != FROM_NOSOURCE) {
    traceStep("FROM_NOSOURCE!=initFrom", 2);
    return db.setLastError(ErrorState, "Database has been initialized, cannot initialize from %s",
                           fileName.c_str());
  }
  if (db.zxf().get() == nullptr) {
    return db.setLastError(ErrorCompanion, "ZXF create did not succeed: %s", db.zxf().message()) ||
           db.keepReason(db.zxf().message());
  }
  auto& source =
      static_cast<ZXFSource&>(db.attachSource(std::make_unique<ZXFSource>(db, fileName)));
  db.setInitFrom(FROM_ZXF);
  if (!ZXFReader(db, source).run()) return false;
  traceStep("---- Leaving InitFromZXF ----");
  return true;
}

}  // namespace

bool ZDB::InitFromZXF(const std::string& fileName) {
  return initFromFile(*this, fileName);
}

}  // namespace zdb
