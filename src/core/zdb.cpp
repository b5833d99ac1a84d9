#include "core/zdb.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

#include "core/shortstring.h"

namespace zdb {

int ZDB::debugLevel = 0;
const SpecialValues ZDB::iSpecValues = kLibrarySpecialValues;

ZDB::ZDB(SymbolFactory makeSymbol) : ZDB(makeSymbol, std::string()) {}

ZDB::ZDB(SymbolFactory makeSymbol, const std::string& directory)
    : makeSymbol_(makeSymbol), directory_(directory), zxf_(directory) {
  texts_.insert("", 0);  // number 0: no text
  universe_ = symbolFactory(defaultStorage_, "*", 1, TypeSet, -1, 0, "universe");
  if (zxf_.get() == nullptr) {
    setLastError(ErrorCompanion, "ZXF create did not succeed: %s", zxf_.message());
    keepReason(zxf_.message());
  }
}

ZDB::~ZDB() {
  symbols_.forEach([](AbstractZDBSymbol* symbol) {
    delete symbol;
    return true;
  });
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
  if (*reason == '\0' || (log_.print == nullptr && debugLevel == 0)) return false;
  char line[kMessageSize];
  writeMessage(line, "%s: %s", lastError_.text, lastError_.reason);
  if (log_.print != nullptr) PrintLog(line);
  if (debugLevel > 0) debug_out(line, 1);
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
          ErrorNotFound,
          "Error when adding record to symbol %s: UEL needs to be greater than zero but is %d",
          symbol->name.c_str(), keys[i]);
    }
    if (keys[i] > highest) {
      return setLastError(
          ErrorNotFound,
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
      return setLastError(ErrorNotFound, "Cannot find element %s (on position %d) in Symbol %s",
                          texts[i], i + 1, symbol->name.c_str());
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
  if (writeRecording_) return setLastError(ErrorState, "Write Recording already active");
  writeRecording_ = true;
  for (int i = 1; i < symbols_.size(); ++i) {
    if (!symbols_[i]->isAlias()) symbols_[i]->isWritten = false;
  }
  return true;
}

bool ZDB::StopWriteRecording() {
  if (!writeRecording_) return setLastError(ErrorState, "Write Recording not active");
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
  if (symbol->isLoaded) return setLastError(ErrorState, "Symbol %s already loaded", name);
  DataSource* from = source(initFrom_);
  // Made now, while a lack of memory leaves the symbol as it was.
  const unsigned before = lastError_.count;
  auto failure = std::make_unique<LastError>();
  if (from == nullptr) {
    failure->set(ErrorState, "Symbol %s not initialized from ZXF or ZMI: %d", name, initFrom_);
    symbol->isLoaded = true;
    symbol->loadFailure = std::move(failure);
    return setLastError(*symbol->loadFailure);
  }
  failure->set(ErrorNoMemory, "Symbol %s could not be read to its end", name);
  // Callbacks may ask for the symbol that they are delivering: the part that is there by then is
  // not the symbol either.
  symbol->loadFailure = std::make_unique<LastError>();
  symbol->loadFailure->set(ErrorState, "Symbol %s is being loaded", name);
  symbol->isLoaded = true;
  try {
    if (from->read(*symbol, symbol->appender())) {
      symbol->loadFailure.reset();
      return true;
    }
    failure->kind = ErrorByCallback;  // which is all that fails without a message
    if (before != lastError_.count) failure->set(lastError_);
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
