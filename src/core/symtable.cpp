#include "core/symtable.h"

#include <algorithm>
#include <stdexcept>

#include "contract/names.h"
#include "core/abstractzdbsymbol.h"

namespace zdb::symtable {

void OrderedSymbolTable::clearAndUnload() {
  forEach([](AbstractZDBSymbol* symbol) {
    symbol->clear();
    symbol->isLoaded = false;
    return true;
  });
}

bool OrderedSymbolTable::forEach(SymbolVisitor visit) {
  for (int i = 0; i < size(); ++i) {
    if (!visit((*this)[i])) return false;
  }
  return true;
}

bool OrderedSymbolTable::forEach(NamedVisitor visit) {
  return forEach([&](AbstractZDBSymbol* symbol) { return visit(symbol->name.c_str(), symbol); });
}

void OrderedSymbolTable::noteInserted(AbstractZDBSymbol* symbol) {
  if (!symbol->isAlias()) nonAlias_.push_back(symbol);
}

void OrderedSymbolTable::noteReplaced(AbstractZDBSymbol* oldSymbol, AbstractZDBSymbol* newSymbol) {
  const auto place = std::find(nonAlias_.begin(), nonAlias_.end(), oldSymbol);
  if (place != nonAlias_.end()) *place = newSymbol;
}

void TSymbolTable::insert(const char* name, AbstractZDBSymbol* symbol) {
  makeRoom();
  list_.AddObject(name, symbol);
  noteInserted(symbol);
}

void TSymbolTable::replace(AbstractZDBSymbol* oldSymbol, AbstractZDBSymbol* newSymbol) {
  noteReplaced(oldSymbol, newSymbol);
  (*this)[oldSymbol->name.c_str()] = newSymbol;
}

bool TSymbolTable::contains(const char* name) {
  return list_.IndexOf(name) >= 0;
}

AbstractZDBSymbol*& TSymbolTable::operator[](const char* name) {
  const int index = list_.IndexOf(name);
  if (index < 0) throw std::out_of_range(std::string("no symbol named ") + name);
  return list_.GetObject(index);
}

void TUMapSymbolTable::insert(const char* name, AbstractZDBSymbol* symbol) {
  makeRoom();
  symbols_.push_back(symbol);
  try {
    positions_[contract::lowerCase(name)] = size() - 1;
  } catch (...) {
    symbols_.pop_back();
    throw;
  }
  noteInserted(symbol);
}

void TUMapSymbolTable::replace(AbstractZDBSymbol* oldSymbol, AbstractZDBSymbol* newSymbol) {
  noteReplaced(oldSymbol, newSymbol);
  (*this)[oldSymbol->name.c_str()] = newSymbol;
}

AbstractZDBSymbol*& TUMapSymbolTable::operator[](const char* name) {
  return symbols_[positions_.at(contract::lowerCase(name))];
}

bool TUMapSymbolTable::contains(const char* name) {
  return positions_.contains(contract::lowerCase(name));
}

}  // namespace zdb::symtable
