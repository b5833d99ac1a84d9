#include "core/ownedsymbols.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace zdb {

OwnedSymbols::~OwnedSymbols() {
  table_.forEach([](AbstractZDBSymbol* symbol) {
    delete symbol;
    return true;
  });
}

AbstractZDBSymbol* OwnedSymbols::add(std::unique_ptr<AbstractZDBSymbol> symbol) {
  // Code that reads domains can rely on them, even if what should have set them failed.
  symbol->domains.resize(static_cast<std::size_t>(symbol->dim), universe());
  symbol->domainNames.resize(static_cast<std::size_t>(symbol->dim));
  table_.insert(symbol->name.c_str(), symbol.get());
  symbol->serial = ++lastSerial_;
  return symbol.release();
}

AbstractZDBSymbol* OwnedSymbols::replace(AbstractZDBSymbol* symbol,
                                         std::unique_ptr<AbstractZDBSymbol> replacement) {
  AbstractZDBSymbol* to = replacement.get();
  const auto redirect = [&](AbstractZDBSymbol* other) {
    if (other->aliasTarget == symbol) other->aliasTarget = to;
    std::replace(other->domains.begin(), other->domains.end(), symbol, to);
    return true;
  };
  redirect(to);  // a set can be its own domain
  table_.forEach(redirect);
  if (symbol->isUniverse()) {
    setUniverse(std::move(replacement));
    return to;
  }
  table_.replace(symbol, to);
  delete symbol;
  return replacement.release();
}

AbstractZDBSymbol* OwnedSymbols::find(const char* name) {
  if (std::strcmp(name, "*") == 0) return universe();
  return table_.contains(name) ? table_[name] : nullptr;
}

bool OwnedSymbols::startRecording() {
  if (isRecording_) return false;
  isRecording_ = true;
  for (int i = 1; i < table_.size(); ++i) {
    if (!table_[i]->isAlias()) table_[i]->isWritten = false;
  }
  return true;
}

}  // namespace zdb
