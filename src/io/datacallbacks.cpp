#include <algorithm>
#include <cstring>
#include <iterator>

#include "core/textutils.h"
#include "core/zdb.h"
#include "io/trace.h"
#include "loaders/zxf.h"

// Callbacks of the caller that stand in for a data source.
namespace zdb {

void ZDB::SetDataCallbacks(bool clear, const DataCallbacks& callbacks,
                           const double* specialValues) {
  initFrom_ = FROM_DATACALLBACKS;
  callbacks_ = callbacks;
  std::copy_n(specialValues, callbackSpecialValues_.size(), callbackSpecialValues_.begin());
  if (clear) symbols_.clearAndUnload();
}

void ZDB::InitFromDMRF(const DataCallbacks& callbacks) {
  static constexpr double specialValues[] = {1.0E300, 2.0E300, 3.0E300, 4.0E300, 5.0E300};
  SetDataCallbacks(true, callbacks, specialValues);
  initFrom_ = FROM_DMRF;
}

bool ZDB::LoadSymbolFromCallbacks(AbstractZDBSymbol* symbol, loaders::zxfRec* target) {
  const char* name = symbol->name.c_str();
  if (symbol->isAlias()) return setLastError("Cannot load alias %s", name);
  char shortName[kMessageSize];
  zxf::utils::strConvCppToDelphi(symbol->name, shortName);
  int number = 0;
  if (callbacks_.findSymbol(shortName, &number, callbacks_.user) != 0) {
    return setLastError("Problems with findSymbol for symbol %s", name);
  }
  int records = 0;
  if (callbacks_.readStart(number, &records, callbacks_.user) != 0) {
    return setLastError("Problems with dataReadRawStart for symbol %s", name);
  }
  if (records >= 1 && !readCallbackRecords(symbol, target, records)) return false;
  return callbacks_.readDone(callbacks_.user) == 0 ||
         setLastError("Problems with dataReadDone for symbol %s", name);
}

bool ZDB::readCallbackRecords(AbstractZDBSymbol* symbol, loaders::zxfRec* target, int records) {
  int keys[kMaxDim] = {};
  double values[kMaxValues] = {};
  int firstChanged = 0;
  for (int r = 0; r < records; ++r) {
    if (callbacks_.readRecord(keys, values, &firstChanged, callbacks_.user) != 0) {
      return symbol->dim == 0 ||
             setLastError("Problems with dataReadRaw for symbol %s", symbol->name.c_str());
    }
    if (!translateCallbackValues(*symbol, values)) return false;
    if (target != nullptr) {
      loaders::zxfDataWriteRaw(target, keys, values);
    } else {
      symbol->addRecordEnd(keys, values);
    }
  }
  return true;
}

bool ZDB::translateCallbackValues(const AbstractZDBSymbol& symbol, double* values) {
  if (symbol.type == TypeSet) return translateCallbackText(values[0]);
  for (int i = 0; i < valueWidth(symbol.type); ++i) {
    const auto special = std::find_if(callbackSpecialValues_.begin(), callbackSpecialValues_.end(),
                                      [&](double value) { return sameBits(value, values[i]); });
    if (special == callbackSpecialValues_.end()) continue;
    values[i] = kLibrarySpecialValues[std::distance(callbackSpecialValues_.begin(), special)];
  }
  return true;
}

bool ZDB::translateCallbackText(double& value) {
  if (value == 0) return true;
  char text[kMessageSize + 1] = "";
  const bool isInteger = value > -2147483649.0 && value < 2147483648.0;
  const int number = isInteger ? static_cast<int>(value) : 0;
  if (callbacks_.elemText(number, text, kMaxTextLength, callbacks_.user) != 0) {
    return false;
  }
  const auto length = static_cast<unsigned char>(text[0]);
  text[1 + length] = '\0';
  const int before = texts_.size();
  value = SetElemText(text + 1);
  if (texts_.size() == before) traceStep("Text already exists", 2);
  return true;
}

}  // namespace zdb
