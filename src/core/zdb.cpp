#include "core/zdb.h"

#include <cstdarg>
#include <cstdio>

namespace zdb {

int ZDB::debugLevel = 0;
const SpecialValues ZDB::iSpecValues = kLibrarySpecialValues;

ZDB::ZDB(SymbolFactory makeSymbol) : ZDB(makeSymbol, std::string()) {}

ZDB::ZDB(SymbolFactory makeSymbol, const std::string& directory)
    : makeSymbol_(makeSymbol), directory_(directory), zxf_(directory) {
  texts_.insert("", 0);  // number 0: no text
  symbols_.setUniverse(symbolFactory(defaultStorage_, "*", 1, TypeSet, -1, 0, "universe"));
  if (zxf_.get() == nullptr) {
    setLastError(ErrorCompanion, "ZXF create did not succeed: %s", zxf_.message());
    keepReason(zxf_.message());
  }
}

bool ZDB::setLastError(ErrorKind kind, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  lastError_.setV(kind, format, arguments);
  va_end(arguments);
  return false;
}

bool ZDB::keepReason(const char* reason) {
  writeMessage(lastError_.reason, "%s", reason);
  return false;
}

bool ZDB::reportReason(const char* reason) {
  keepReason(reason);
  log_.report(lastError_, debugLevel > 0);
  return false;
}

int ZDB::SetElemText(const char* text) {
  return texts_.insert(text, texts_.size());
}

bool ZDB::GetElemText(int number, char* out) const {
  if (number < 1 || number >= texts_.size()) return false;
  std::snprintf(out, kMessageSize, "%s", texts_.get(number));
  return true;
}

std::string ZDB::joinKeys(const char* const* texts, int count) {
  std::string joined = "(";
  for (int i = 0; i < count; ++i) {
    joined.append(i == 0 ? "\"" : ",\"").append(texts[i]).append("\"");
  }
  return joined.append(")");
}

std::string ZDB::joinKeys(const int* numbers, int count) const {
  const char* texts[kMaxDim];
  for (int i = 0; i < count; ++i) texts[i] = labelText(numbers[i]);
  return joinKeys(texts, count);
}

bool ZDB::StartWriteRecording() {
  return symbols_.startRecording() || setLastError(ErrorState, "Write Recording already active");
}

bool ZDB::StopWriteRecording() {
  return symbols_.stopRecording() || setLastError(ErrorState, "Write Recording not active");
}

}  // namespace zdb
