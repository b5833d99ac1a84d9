#include "core/zdb.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "core/shortstring.h"

namespace zdb {

int ZDB::debugLevel = 0;
const SpecialValues ZDB::iSpecValues = kLibrarySpecialValues;

ZDB::ZDB(SymbolFactory makeSymbol) : ZDB(makeSymbol, std::string()) {}

ZDB::ZDB(SymbolFactory makeSymbol, const std::string& directory)
    : makeSymbol_(makeSymbol), directory_(directory), zxf_(directory) {
  texts_.insert("", 0);  // number 0: no text
  universe_ = symbolFactory(defaultStorage_, "*", 1, TypeSet, -1, 0, "universe");
  if (zxf_.get() == nullptr) setLastError("ZXF create did not succeed: %s", zxf_.message());
}

ZDB::~ZDB() {
  symbols_.forEach([](AbstractZDBSymbol* symbol) {
    delete symbol;
    return true;
  });
}

bool ZDB::setLastError(const char* format, ...) {
  // Formatted elsewhere first, since an argument may be the last-error text itself.
  char text[kMessageSize];
  std::va_list arguments;
  va_start(arguments, format);
  writeMessageV(text, format, arguments);
  va_end(arguments);
  std::memcpy(lastErrorText_, text, sizeof text);
  return false;
}

void ZDB::PrintLog(const char* text) const {
  if (log_.print == nullptr) {
    std::printf("%s\n", text);
    std::fflush(stdout);
    return;
  }
  char shortString[256] = {};
  writeShort(text, shortString);
  log_.print(shortString, log_.user);
}

int ZDB::SetElemText(const char* text) {
  return texts_.insert(text, texts_.size());
}

bool ZDB::GetElemText(int number, char* out) const {
  if (number < 1 || number >= texts_.size()) return false;
  std::snprintf(out, kMessageSize, "%s", texts_.get(number));
  return true;
}

bool ZDB::uelsInRange(const AbstractZDBSymbol* symbol, const int* keys) {
  const int highest = highestLabel();
  for (int i = 0; i < symbol->dim; ++i) {
    if (keys[i] < 1) {
      return setLastError(
          "Error when adding record to symbol %s: UEL needs to be greater than zero but is %d",
          symbol->name.c_str(), keys[i]);
    }
    if (keys[i] > highest) {
      return setLastError(
          "Error when adding record to symbol %s: UEL %d is unknown. Largest known UEL is %d",
          symbol->name.c_str(), keys[i], highest);
    }
  }
  return true;
}

bool ZDB::strKeysToUelIndices(const AbstractZDBSymbol* symbol, const char* const* texts,
                              int* keys) {
  for (int i = 0; i < symbol->dim; ++i) {
    if (!labels_.find(texts[i], keys[i])) return false;
    if (keys[i] < 0) {
      return setLastError("Cannot find element %s (on position %d) in Symbol %s", texts[i], i + 1,
                          symbol->name.c_str());
    }
  }
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
  if (writeRecording_) return setLastError("Write Recording already active");
  writeRecording_ = true;
  for (int i = 1; i < symbols_.size(); ++i) {
    if (!symbols_[i]->isAlias()) symbols_[i]->isWritten = false;
  }
  return true;
}

bool ZDB::StopWriteRecording() {
  if (!writeRecording_) return setLastError("Write Recording not active");
  writeRecording_ = false;
  return true;
}

DataSource* ZDB::source(int kind) const {
  for (const auto& source : sources_) {
    if (source->kind() == kind) return source.get();
  }
  return nullptr;
}

DataSource& ZDB::attachSource(std::unique_ptr<DataSource> source) {
  dropSource(source->kind());
  return *sources_.emplace_back(std::move(source));
}

void ZDB::dropSource(InitSource kind) {
  std::erase_if(sources_, [kind](const auto& source) { return source->kind() == kind; });
}

bool ZDB::LoadSymbol(AbstractZDBSymbol* symbol) {
  const char* name = symbol->name.c_str();
  if (symbol->isLoaded) return setLastError("Symbol %s already loaded", name);
  DataSource* from = source(initFrom_);
  if (from == nullptr) {
    symbol->isLoaded = true;
    return setLastError("Symbol %s not initialized from ZXF or ZMI: %d", name, initFrom_);
  }
  // Made now, while a lack of memory leaves the symbol as it was.
  const std::string before = lastErrorText_;
  std::string failure = "Symbol " + symbol->name + " could not be read to its end";
  failure.reserve(kMessageSize);
  symbol->isLoaded = true;
  try {
    if (from->read(*symbol, symbol->appender())) return true;
    if (before != lastErrorText_) failure = lastErrorText_;
  } catch (...) {
    symbol->loadFailure = std::move(failure);
    throw;
  }
  symbol->loadFailure = std::move(failure);
  return false;
}

void debug_out(const char* text, int depth) {
  std::printf("%*s%s\n", depth > 1 ? 2 * (depth - 1) : 0, "", text);
  std::fflush(stdout);
}

}  // namespace zdb
