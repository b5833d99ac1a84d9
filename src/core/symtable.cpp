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

void OrderedSymbolTable::replace(AbstractZDBSymbol* oldSymbol, AbstractZDBSymbol* newSymbol) {
  const auto place = std::find(nonAlias_.begin(), nonAlias_.end(), oldSymbol);
  if (place != nonAlias_.end()) *place = newSymbol;
  (*this)[oldSymbol->name.c_str()] = newSymbol;
}

void TSymbolTable::insert(const char* name, AbstractZDBSymbol* symbol) {
  makeRoom();
  list_->AddObject(name, symbol);
  noteInserted(symbol);
}

std::unique_ptr<TSymbolTable::List> TSymbolTable::listWith(int position, const char* name) const {
  auto list = std::make_unique<List>();
  for (int i = 0; i < size(); ++i) {
    const char* text = i == position ? name : list_->GetString(i);
    if (text != nullptr) list->AddObject(text, list_->GetObject(i));
  }
  return list;
}

void TSymbolTable::remove(const char* name) {
  const int position = list_->IndexOf(name);
  auto others = listWith(position, nullptr);
  noteRemoved(list_->GetObject(position));
  list_ = std::move(others);
}

void TSymbolTable::rename(const char* oldName, const char* newName) {
  list_ = listWith(list_->IndexOf(oldName), newName);
}

bool TSymbolTable::contains(const char* name) {
  return list_->IndexOf(name) >= 0;
}

AbstractZDBSymbol*& TSymbolTable::operator[](const char* name) {
  const int index = list_->IndexOf(name);
  if (index < 0) throw std::out_of_range(std::string("no symbol named ") + name);
  return list_->GetObject(index);
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

void TUMapSymbolTable::remove(const char* name) {
  const auto found = positions_.find(contract::lowerCase(name));
  const int position = found->second;
  positions_.erase(found);
  noteRemoved(symbols_[position]);
  symbols_.erase(symbols_.begin() + position);
  for (auto& [other, later] : positions_) later -= later > position ? 1 : 0;
}

void TUMapSymbolTable::rename(const char* oldName, const char* newName) {
  std::string key = contract::lowerCase(newName);
  auto entry = positions_.extract(contract::lowerCase(oldName));
  entry.key() = std::move(key);
  positions_.insert(std::move(entry));
}

AbstractZDBSymbol*& TUMapSymbolTable::operator[](const char* name) {
  return symbols_[positions_.at(contract::lowerCase(name))];
}

bool TUMapSymbolTable::contains(const char* name) {
  return positions_.contains(contract::lowerCase(name));
}

}  // namespace zdb::symtable
