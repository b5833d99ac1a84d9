#include "core/datasource.h"

#include <algorithm>
#include <utility>

#include "core/abstractzdbsymbol.h"

namespace zdb {

namespace {

bool deliver(DataSource& from, AbstractZDBSymbol& symbol) {
  // A scalar has no keys to come in runs.
  if (symbol.dim == 0 || !symbol.empty() || !from.deliversRuns()) {
    return from.read(symbol, symbol.appender());
  }
  return from.readRuns(symbol, *symbol.runAppender(from.recordCount(symbol)));
}

/// Reads the records of a symbol that is not loaded. It counts as loaded even if that fails, and
/// remembers why it did.
bool read(DataSource& from, AbstractZDBSymbol& symbol, const LastError& lastError) {
  const char* name = symbol.name.c_str();
  // Made now, while a lack of memory leaves the symbol as it was.
  const unsigned before = lastError.count;
  auto failure = std::make_unique<LastError>();
  failure->set(ErrorNoMemory, "Symbol %s could not be read to its end", name);
  // Callbacks may ask for the symbol that they are delivering: the part that is there by then is
  // not the symbol either.
  symbol.loadFailure = std::make_unique<LastError>();
  symbol.loadFailure->set(ErrorState, "Symbol %s is being loaded", name);
  symbol.isLoaded = true;
  try {
    if (deliver(from, symbol)) {
      symbol.loadFailure.reset();
      return true;
    }
    failure->kind = ErrorByCallback;  // which is all that fails without a message
    if (before != lastError.count) failure->set(lastError);
  } catch (...) {
    symbol.loadFailure = std::move(failure);
    throw;
  }
  symbol.loadFailure = std::move(failure);
  return false;
}

}  // namespace

DataSource* DataSources::find(int kind) const {
  const auto place =
      std::ranges::find_if(sources_, [kind](const auto& source) { return source->kind() == kind; });
  return place == sources_.end() ? nullptr : place->get();
}

DataSource& DataSources::attach(std::unique_ptr<DataSource> source) {
  drop(source->kind());
  return *sources_.emplace_back(std::move(source));
}

void DataSources::drop(InitSource kind) {
  std::erase_if(sources_, [kind](const auto& source) { return source->kind() == kind; });
}

bool DataSources::load(AbstractZDBSymbol& symbol, LastError& error) const {
  const char* name = symbol.name.c_str();
  if (symbol.isLoaded) return error.set(ErrorState, "Symbol %s already loaded", name);
  DataSource* source = find(current_);
  if (source != nullptr) return read(*source, symbol, error);
  auto failure = std::make_unique<LastError>();
  failure->set(ErrorState, "Symbol %s not initialized from ZXF or ZMI: %d", name, current_);
  symbol.isLoaded = true;
  symbol.loadFailure = std::move(failure);
  return error.set(*symbol.loadFailure);
}

}  // namespace zdb
