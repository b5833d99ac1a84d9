#include "io/zxfsource.h"

#include "io/fileerror.h"

namespace zdb {

using namespace loaders;

bool ZXFSource::read(const AbstractZDBSymbol& symbol, RecordSink sink) {
  if (symbol.isAlias())
    return db_.setLastError(ErrorArgument, "Cannot load alias %s", symbol.name.c_str());
  zxfRec* file = zxf();
  int fileNumber = 0;
  int records = 0;
  zxfFindSymbol(file, symbol.name.c_str(), &fileNumber);
  const struct EndOfReading {  // whatever the sink throws, other symbols can be read
    zxfRec* file;
    ~EndOfReading() { zxfDataReadDone(file); }
  } end{file};
  if (zxfDataReadRawStart(file, fileNumber, &records) == 0) return failRead(symbol);
  int keys[kMaxDim];
  double values[kMaxValues];
  int firstChanged = 0;
  for (int r = 0; r < records; ++r) {
    const bool isRead = zxfDataReadRaw(file, keys, values, &firstChanged) != 0;
    if (!isRead || !labels_.translate(keys, symbol.dim)) return failRead(symbol);
    sink(keys, values);
  }
  return true;
}

bool ZXFSource::failRead(const AbstractZDBSymbol& symbol) {
  const FileError cause = newestFileError(zxf());
  // A record that the companion delivers and this database cannot take is one of a damaged file.
  const ErrorKind kind = cause.number != 0 ? cause.kind : ErrorDamaged;
  return db_.setLastError(kind, "Error reading symbol %s from ZXF file %s: %s", symbol.name.c_str(),
                          fileName_.c_str(), cause.text) ||
         db_.keepReason(cause.reason());
}

namespace {

bool closeFile(ZDB& db, bool loadRemain) {
  if (db.GetInitFrom() != FROM_ZXF)
    return db.setLastError(ErrorState, "Database not initialized from ZXF");
  const bool loadedAll = db.symbols().forEach([&](AbstractZDBSymbol* symbol) {
    return symbol->isLoaded || symbol->isAlias() || !loadRemain || db.LoadSymbol(symbol);
  });
  if (!loadedAll) return false;
  zxfClose(db.zxf().get());
  db.dropSource(FROM_ZXF);
  db.setInitFrom(FROM_MEMORY);
  return true;
}

}  // namespace

bool ZDB::CloseZXF(bool loadRemain) {
  return closeFile(*this, loadRemain);
}

bool ZDB::LoadSymbolFromZXF(AbstractZDBSymbol* symbol, RecordSink sink) const {
  return source(FROM_ZXF)->read(*symbol, sink);
}

}  // namespace zdb
