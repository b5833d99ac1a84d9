#include "io/callbacksource.h"

#include <algorithm>
#include <iterator>

#include "core/delivery.h"
#include "core/textutils.h"
#include "io/trace.h"

namespace zdb {

CallbackSource::CallbackSource(ZDB& db, const DataCallbacks& callbacks, const double* specialValues)
    : db_(db), callbacks_(callbacks) {
  std::copy_n(specialValues, specialValues_.size(), specialValues_.begin());
}

bool CallbackSource::read(const AbstractZDBSymbol& symbol, RecordSink sink) {
  const char* name = symbol.name.c_str();
  if (symbol.isAlias()) return db_.setLastError(ErrorArgument, "Cannot load alias %s", name);
  const Delivery delivery(symbol);
  char shortName[kMessageSize];
  zxf::utils::strConvCppToDelphi(symbol.name, shortName);
  int number = 0;
  if (callbacks_.findSymbol == nullptr ||
      callbacks_.findSymbol(shortName, &number, callbacks_.user) != 0) {
    return db_.setLastError(ErrorByCallback, "Problems with findSymbol for symbol %s", name);
  }
  int records = 0;
  if (callbacks_.readStart == nullptr ||
      callbacks_.readStart(number, &records, callbacks_.user) != 0) {
    return db_.setLastError(ErrorByCallback, "Problems with dataReadRawStart for symbol %s", name);
  }
  if (!readRecords(symbol, records, sink)) return false;
  return (callbacks_.readDone != nullptr && callbacks_.readDone(callbacks_.user) == 0) ||
         db_.setLastError(ErrorByCallback, "Problems with dataReadDone for symbol %s", name);
}

bool CallbackSource::readRecords(const AbstractZDBSymbol& symbol, int records, RecordSink sink) {
  const auto fail = [&] {
    return db_.setLastError(ErrorByCallback, "Problems with dataReadRaw for symbol %s",
                            symbol.name.c_str());
  };
  if (records > 0 && callbacks_.readRecord == nullptr) return fail();
  int keys[kMaxDim] = {};
  double values[kMaxValues] = {};
  int firstChanged = 0;
  for (int r = 0; r < records; ++r) {
    if (callbacks_.readRecord(keys, values, &firstChanged, callbacks_.user) != 0) {
      return symbol.dim == 0 || fail();
    }
    if (!translateValues(symbol, values)) return false;
    sink(keys, values);
  }
  return true;
}

bool CallbackSource::translateValues(const AbstractZDBSymbol& symbol, double* values) {
  if (symbol.type == TypeSet) return translateText(values[0]);
  for (int i = 0; i < valueWidth(symbol.type); ++i) {
    const auto special = std::find_if(specialValues_.begin(), specialValues_.end(),
                                      [&](double value) { return sameBits(value, values[i]); });
    if (special == specialValues_.end()) continue;
    values[i] = kLibrarySpecialValues[std::distance(specialValues_.begin(), special)];
  }
  return true;
}

bool CallbackSource::translateText(double& value) {
  if (value == 0) return true;
  char text[kMessageSize + 1] = "";
  const bool isInteger = value > -2147483649.0 && value < 2147483648.0;
  const int number = isInteger ? static_cast<int>(value) : 0;
  if (callbacks_.elemText == nullptr) {
    return db_.setLastError(ErrorByCallback, "No callback for element texts was given");
  }
  if (callbacks_.elemText(number, text, kMaxTextLength, callbacks_.user) != 0) return false;
  const auto length = static_cast<unsigned char>(text[0]);
  text[1 + length] = '\0';
  const int before = db_.textPool().size();
  value = db_.SetElemText(text + 1);
  if (db_.textPool().size() == before) traceStep("Text already exists", 2);
  return true;
}

bool ZDB::SetDataCallbacks(bool clear, const DataCallbacks& callbacks,
                           const double* specialValues) {
  if (!isAtRest(*this)) return false;  // by the source that would be replaced
  attachSource(std::make_unique<CallbackSource>(*this, callbacks, specialValues));
  setInitFrom(FROM_DATACALLBACKS);
  log_.setCallback({callbacks.print, callbacks.user});
  if (clear) symbols().clearAndUnload();
  return true;
}

bool ZDB::InitFromDMRF(const DataCallbacks& callbacks) {
  static constexpr double specialValues[] = {1.0E300, 2.0E300, 3.0E300, 4.0E300, 5.0E300};
  if (!SetDataCallbacks(false, callbacks, specialValues)) return false;
  setInitFrom(FROM_DMRF);  // first, so that what is unloaded can be loaded whatever happens
  symbols().clearAndUnload();
  return true;
}

bool ZDB::LoadSymbolFromCallbacks(AbstractZDBSymbol* symbol, RecordSink sink) const {
  return source(FROM_DMRF)->read(*symbol, sink);
}

}  // namespace zdb
