#include "kit/modelfile/symbols.h"

#include "kit/modelfile/errors.h"

namespace zdb::kit::modelfile {

namespace {

void checkSame(const PlannedSymbol& symbol, const SymbolicName& name, const std::string& whole) {
  const std::string both = "\"" + symbol.example + "\" and \"" + whole + "\"";
  if (symbol.dim != static_cast<int>(name.labels.size())) {
    throw ReadError("the names " + both + " give the symbol " + symbol.name +
                    " different numbers of labels");
  }
  if (symbol.written != name.written) {
    throw ReadError("the names " + both + " are different but become the same symbol, " +
                    symbol.name + ": rename one of them");
  }
}

}  // namespace

int PlannedSymbols::add(const SymbolicName& name, const std::string& whole) {
  const int next = static_cast<int>(symbols_.size());
  const auto [entry, isNew] = byName_.emplace(name.symbol, next);
  if (isNew) {
    symbols_.push_back({name.symbol, name.written, whole, static_cast<int>(name.labels.size())});
  } else {
    checkSame(symbols_[entry->second], name, whole);
  }
  return entry->second;
}

int PlannedSymbols::addOwn(const std::string& name, int dim) {
  const int next = static_cast<int>(symbols_.size());
  symbols_.push_back({name, name, name, dim});
  byName_.emplace(name, next);
  return next;
}

bool PlannedSymbols::has(const std::string& name) const {
  return byName_.contains(name);
}

void PlannedSymbols::rename(int symbol, const std::string& name) {
  byName_.erase(symbols_[symbol].name);
  byName_.emplace(name, symbol);
  symbols_[symbol].name = name;
}

std::string freeName(const std::string& name, const std::string& suffix,
                     const PlannedSymbols& columns, const PlannedSymbols& rows) {
  std::string result = name + suffix;
  for (int number = 2; columns.has(result) || rows.has(result); ++number) {
    result = name + suffix + std::to_string(number);
  }
  if (result.size() > kit::kMaxName) {
    throw ReadError("the symbol " + result + ", which is added for " + name +
                    ", would have more than 63 characters");
  }
  return result;
}

}  // namespace zdb::kit::modelfile
