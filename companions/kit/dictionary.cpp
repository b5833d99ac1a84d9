#include "kit/dictionary.h"

#include <algorithm>
#include <utility>

namespace zdb::kit {

void EntryTable::add(int symbol, const int* key, int dim) {
  starts_.push_back(keys_.size());
  keys_.insert(keys_.end(), key, key + dim);
  symbols_.push_back(symbol);
}

int Dictionary::findLabel(std::string_view label) const {
  const auto found = labelNumbers_.find(withoutEndingBlanks(label));
  return found == labelNumbers_.end() ? 0 : found->second;
}

int Dictionary::addLabel(std::string_view label) {
  const std::string text(withoutEndingBlanks(label));
  const auto [found, isNew] = labelNumbers_.try_emplace(text, labelCount() + 1);
  if (isNew) labels_.push_back(text);
  return found->second;
}

int Dictionary::findSymbol(std::string_view name) const {
  const auto found = symbolNumbers_.find(name);
  return found == symbolNumbers_.end() ? 0 : found->second;
}

int Dictionary::addSymbol(Symbol symbol) {
  const int number = symbolCount() + 1;
  symbolNumbers_.emplace(symbol.name, number);
  symbols_.push_back(std::move(symbol));
  return number;
}

void Dictionary::addEntry(int symbol, const int* key) {
  Symbol& owner = symbols_[static_cast<std::size_t>(symbol) - 1];
  EntryTable& table = owner.type == VariableSymbol ? columns_ : rows_;
  owner.entries.push_back(table.count());
  table.add(symbol, key, owner.dim);
}

void Dictionary::sort() {
  for (Symbol& symbol : symbols_) {
    const EntryTable& table = entriesOf(symbol);
    const auto isBefore = [&table, dim = symbol.dim](int a, int b) {
      return std::lexicographical_compare(table.key(a), table.key(a) + dim, table.key(b),
                                          table.key(b) + dim);
    };
    if (std::is_sorted(symbol.entries.begin(), symbol.entries.end(), isBefore)) continue;
    std::sort(symbol.entries.begin(), symbol.entries.end(), isBefore);
  }
}

std::string Dictionary::entryName(int symbol, const int* key) const {
  const Symbol& owner = this->symbol(symbol);
  std::string name = owner.name;
  for (int d = 0; d < owner.dim; ++d) {
    name += d == 0 ? '(' : ',';
    name += label(key[d]);
  }
  if (owner.dim > 0) name += ')';
  return name;
}

std::string Dictionary::nameOf(const EntryTable& table, int entry) const {
  return entryName(table.symbol(entry), table.key(entry));
}

EntryWalk::EntryWalk(const Dictionary& dictionary, int symbol, const int* key) {
  if (!dictionary.hasSymbol(symbol)) return;
  symbol_ = &dictionary.symbol(symbol);
  table_ = &dictionary.entriesOf(*symbol_);
  end_ = symbol_->entries.size();
  if (key != nullptr) std::copy_n(key, symbol_->dim, key_);
  int fixed = 0;
  while (fixed < symbol_->dim && key_[fixed] != 0) ++fixed;
  isFiltered_ = std::any_of(key_ + fixed, key_ + symbol_->dim, [](int k) { return k != 0; });
  if (fixed == 0) return;

  const auto& entries = symbol_->entries;
  const auto compare = [this, fixed](int entry) {
    const int* own = table_->key(entry);
    for (int d = 0; d < fixed; ++d) {
      if (own[d] != key_[d]) return own[d] < key_[d] ? -1 : 1;
    }
    return 0;
  };
  const auto first = std::partition_point(entries.begin(), entries.end(),
                                          [&](int entry) { return compare(entry) < 0; });
  const auto last =
      std::partition_point(first, entries.end(), [&](int entry) { return compare(entry) == 0; });
  position_ = static_cast<std::size_t>(first - entries.begin());
  end_ = static_cast<std::size_t>(last - entries.begin());
}

bool EntryWalk::matches(int entry) const {
  const int* own = table_->key(entry);
  for (int d = 0; d < symbol_->dim; ++d) {
    if (key_[d] != 0 && key_[d] != own[d]) return false;
  }
  return true;
}

}  // namespace zdb::kit
