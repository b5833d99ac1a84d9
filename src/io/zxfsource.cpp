#include "io/zxfsource.h"

#include <algorithm>

#include "io/fileerror.h"

namespace zdb {

using namespace loaders;

/// Has the records of a symbol delivered: deliver(file, records) is false if that fails.
template <class Deliver>
bool ZXFSource::readSymbol(const AbstractZDBSymbol& symbol, Deliver deliver) {
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
  return deliver(file, records) || failRead(symbol);
}

bool ZXFSource::read(const AbstractZDBSymbol& symbol, RecordSink sink) {
  return readSymbol(symbol, [&](zxfRec* file, int records) {
    int keys[kMaxDim];
    double values[kMaxValues];
    int firstChanged = 0;
    for (int r = 0; r < records; ++r) {
      const bool isRead = zxfDataReadRaw(file, keys, values, &firstChanged) != 0;
      if (!isRead || !labels_.translate(keys, symbol.dim)) return false;
      sink(keys, values);
    }
    return true;
  });
}

bool ZXFSource::readRuns(const AbstractZDBSymbol& symbol, RecordRuns& sink) {
  return readSymbol(symbol, [&](zxfRec* file, int records) {
    const contract::ReadColumns readColumns = zxfReadColumns();
    for (int left = records; left > 0;) {
      const RecordRoom room = sink.room();
      int count = 0;
      const bool isRead =
          readColumns(file, std::min(room.records, left), room.keys.data(), room.keyStep,
                      room.values.data(), room.valueStep, &count) != 0;
      if (!isRead || count < 1) return false;
      sink.taken(count);
      left -= count;
    }
    return true;
  });
}

std::optional<int> ZXFSource::recordCount(const AbstractZDBSymbol& symbol) {
  int fileNumber = 0;
  int records = 0;
  int userInfo = 0;
  char text[kMessageSize] = "";
  const bool isKnown = zxfFindSymbol(zxf(), symbol.name.c_str(), &fileNumber) != 0 &&
                       zxfSymbolInfoX(zxf(), fileNumber, &records, &userInfo, text) != 0;
  return isKnown && records >= 0 ? std::optional(records) : std::nullopt;
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
  // What a host has read stays there, also if it was not kept then.
  const bool loadedAll = db.symbols().forEach([&](AbstractZDBSymbol* symbol) {
    const bool isWanted = loadRemain || symbol->hasBeenPassedOn;
    return symbol->isLoaded || symbol->isAlias() || !isWanted || db.LoadSymbol(symbol);
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
