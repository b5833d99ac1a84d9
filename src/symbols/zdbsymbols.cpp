#include <algorithm>
#include <cstring>

#include "core/zdb.h"
#include "symbols/zdbsymboliterator.h"

// Making, finding and describing symbols.
namespace zdb {

void ZDB::createUniverse() {
  universe_ = symbolFactory(defaultStorage_, "*", 1, TypeSet, -1, 0, "universe");
}

AbstractZDBSymbol* ZDB::insertSymbol(std::unique_ptr<AbstractZDBSymbol> symbol) {
  // Whoever reads domains may count on them, even when what should have set them failed.
  symbol->domains.resize(static_cast<std::size_t>(symbol->dim), universe());
  symbol->domainNames.resize(static_cast<std::size_t>(symbol->dim));
  symbols_.insert(symbol->name.c_str(), symbol.get());
  return symbol.release();
}

bool ZDB::appendDomain(AbstractZDBSymbol* symbol, AbstractZDBSymbol* domain, const char* name) {
  symbol->domains.push_back(nullptr);
  symbol->domainNames.emplace_back();
  if (domain == nullptr) {
    if (name == nullptr || std::strcmp(name, "*") == 0 || std::strcmp(name, " ") == 0) {
      symbol->domains.back() = universe();
    } else if (std::strlen(name) > kMaxNameLength) {
      return setLastError("Domain name too long. Max length is %d: >%s<", kMaxNameLength, name);
    } else {
      symbol->domainNames.back() = name;
    }
    return true;
  }
  if (domain != universe()) {
    const char* domainName = domain->name.c_str();
    if (domain->dim != 1) return setLastError("1 <> Dim of Symbol %s", domainName);
    if (domain->type != TypeSet && domain->type != TypeAlias) {
      return setLastError("Symbol %s not a set/alias", domainName);
    }
    if (domain->name == "*") return setLastError("Universe from different database");
    if (domain->database != this) return setLastError("Symbol %s not in this database", domainName);
    domain->isDomain = true;
    domain->aliasTarget->isDomain = true;  // an alias is checked through its set
  }
  symbol->domains.back() = domain;
  return true;
}

AbstractZDBSymbol* ZDB::AddSymbol(const std::string& name, int dim, int type, int userInfo,
                                  const std::string& explText, AbstractZDBSymbol* const* domains,
                                  const char* const* domainNames) {
  if (initFrom_ == FROM_NOSOURCE) initFrom_ = FROM_MEMORY;
  if (symbols_.contains(name.c_str())) {
    setLastError("Symbol %s exists already", name.c_str());
    return nullptr;
  }
  auto symbol =
      symbolFactory(defaultStorage_, name, dim, type, symbols_.size(), userInfo, explText);
  if (!symbol) {
    setLastError("Dimension must be greater or equal 0 and smaller or equal %d (saw %d)", kMaxDim,
                 dim);
    return nullptr;
  }
  for (int i = 0; i < dim; ++i) {
    AbstractZDBSymbol* domain = domains == nullptr ? nullptr : domains[i];
    const char* domainName = domainNames == nullptr ? nullptr : domainNames[i];
    if (!appendDomain(symbol.get(), domain, domainName)) return nullptr;
  }
  AbstractZDBSymbol* added = insertSymbol(std::move(symbol));
  // With callbacks as the source, a symbol's records come through them on first use.
  if (initFrom_ == FROM_DMRF && !added->isAlias()) added->isLoaded = false;
  if (added->isAlias()) added->aliasTarget = aliasTargetFor(userInfo);
  return added;
}

AbstractZDBSymbol* ZDB::aliasTargetFor(int position) {
  const bool isSet =
      position >= 0 && position < symbols_.size() && symbols_[position]->type == TypeSet;
  return isSet ? symbols_[position] : universe();
}

bool ZDB::FindSymbol(const char* name, AbstractZDBSymbol** symbol) {
  *symbol = nullptr;
  if (std::strcmp(name, "*") == 0) {
    *symbol = universe();
  } else if (symbols_.contains(name)) {
    *symbol = symbols_[name];
  }
  return *symbol != nullptr || setLastError("Cannot find symbol %s", name);
}

AbstractZDBSymbol* ZDB::switchSymbolStorage(AbstractZDBSymbol* symbol, int storageType) {
  if (static_cast<int>(symbol->getStorageType()) == storageType) return symbol;
  auto copy = symbolFactory(storageType, symbol);
  if (!copy) return nullptr;
  redirectReferences(symbol, copy.get());
  if (symbol->isUniverse()) {
    universe_ = std::move(copy);
    return universe();
  }
  symbols_.replace(symbol, copy.get());
  delete symbol;
  return copy.release();
}

void ZDB::redirectReferences(AbstractZDBSymbol* from, AbstractZDBSymbol* to) {
  const auto redirect = [&](AbstractZDBSymbol* symbol) {
    if (symbol->aliasTarget == from) symbol->aliasTarget = to;
    std::replace(symbol->domains.begin(), symbol->domains.end(), from, to);
    return true;
  };
  redirect(to);  // a set can be its own domain
  symbols_.forEach(redirect);
}

bool ZDB::GetSymbolsUels(AbstractZDBSymbol* const* list, int count, int* counters, int length) {
  if (length < labels_.size()) {
    return setLastError("Uel list size (%d) too short for %d uels", length, labels_.size());
  }
  std::fill_n(counters, length, 0);
  for (int i = 0; i < count; ++i) {
    AbstractZDBSymbol* symbol = list[i];
    if (symbol == nullptr) return setLastError("No symbol handle specified");
    if (symbol->dim == 0 || symbol->isAlias()) continue;
    if (!ensureLoaded(symbol)) return false;
    symbol->forEachRecordKeys([&](const int* keys) {
      for (int d = 0; d < symbol->dim; ++d) {
        if (keys[d] >= 0 && keys[d] < length) ++counters[keys[d]];
      }
    });
  }
  return true;
}

}  // namespace zdb
