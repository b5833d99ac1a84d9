// The symbols of a database by name and in order.
//
// Models have hundreds of symbols, which are looked up at every call that names one. Of a thousand
// names of 20 characters, the hashed list behind `TSymbolTable` finds one in 27 ns and takes 96
// bytes each, texts included; a std::unordered_map, the alternative `TUMapSymbolTable`, takes 45 ns
// and 125 bytes, as it copies and folds a name before looking it up. A position stays that of the
// same symbol, or of the one that has replaced it, until one before it is removed.
#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "core/functionref.h"
#include "core/txstrhashlist.h"

namespace zdb {
class AbstractZDBSymbol;
}

namespace zdb::symtable {

/// The symbols of a database by name (case-insensitive) and in order of insertion, and separately
/// those that are not aliases. A table does not own its symbols.
class ISymbolTable {
 public:
  using SymbolVisitor = FunctionRef<bool(AbstractZDBSymbol*)>;
  using NamedVisitor = FunctionRef<bool(const char*, AbstractZDBSymbol*)>;

  virtual ~ISymbolTable() = default;
  /// Removes the records of all symbols, which then count as not loaded; the symbols stay.
  virtual void clearAndUnload() = 0;
  /// Adds a symbol at the end of the order.
  /// REQUIRES !contains(name).
  virtual void insert(const char* name, AbstractZDBSymbol* symbol) = 0;
  /// Replaces the old symbol by the new one, in both orders and under its name.
  virtual void replace(AbstractZDBSymbol* oldSymbol, AbstractZDBSymbol* newSymbol) = 0;
  /// Removes the symbol that has this name; those after it move up. Takes time in all symbols,
  /// since the table is made anew; if memory runs out, it stays as it was.
  /// REQUIRES contains(name).
  virtual void remove(const char* name) = 0;
  /// Gives the symbol that has this name another one, or another spelling. As costly.
  /// REQUIRES contains(oldName), and no other symbol has the new name.
  virtual void rename(const char* oldName, const char* newName) = 0;
  /// Visits symbols in order of insertion until `visit` returns false. Returns the result of the
  /// last call, or true for an empty table.
  virtual bool forEach(SymbolVisitor visit) = 0;
  virtual bool forEach(NamedVisitor visit) = 0;
  /// Slot of a name; throws std::out_of_range for an unknown one.
  virtual AbstractZDBSymbol*& operator[](const char* name) = 0;
  /// Slot at a position.
  /// REQUIRES 0 <= index < size().
  virtual AbstractZDBSymbol*& operator[](int index) = 0;
  virtual AbstractZDBSymbol* front() = 0;
  virtual bool contains(const char* name) = 0;
  virtual int size() const = 0;
  virtual bool empty() const = 0;
  virtual int nonAliasCount() const = 0;
  /// The symbol at `index`, counted from 0, among those that are not aliases.
  virtual AbstractZDBSymbol* nonAliasSymbol(int index) const = 0;
};

/// What both tables have in common: the walks and the order of the symbols that are not aliases.
class OrderedSymbolTable : public ISymbolTable {
 public:
  void clearAndUnload() override;
  void replace(AbstractZDBSymbol* oldSymbol, AbstractZDBSymbol* newSymbol) override;
  bool forEach(SymbolVisitor visit) override;
  bool forEach(NamedVisitor visit) override;
  AbstractZDBSymbol* front() override { return (*this)[0]; }
  // NOLINTNEXTLINE(readability-container-size-empty): this is empty()
  bool empty() const override { return size() == 0; }
  int nonAliasCount() const override { return static_cast<int>(nonAlias_.size()); }
  AbstractZDBSymbol* nonAliasSymbol(int index) const override { return nonAlias_[index]; }
  using ISymbolTable::operator[];

 protected:
  /// To be called before an insertion, so that one that runs out of memory leaves no trace.
  void makeRoom() {
    if (nonAlias_.size() == nonAlias_.capacity()) nonAlias_.reserve(2 * nonAlias_.size() + 8);
  }
  void noteInserted(AbstractZDBSymbol* symbol);
  void noteRemoved(AbstractZDBSymbol* symbol) { std::erase(nonAlias_, symbol); }

 private:
  std::vector<AbstractZDBSymbol*> nonAlias_;
};

/// The table that the database uses.
class TSymbolTable final : public OrderedSymbolTable {
 public:
  void insert(const char* name, AbstractZDBSymbol* symbol) override;
  void remove(const char* name) override;
  void rename(const char* oldName, const char* newName) override;
  AbstractZDBSymbol*& operator[](const char* name) override;
  AbstractZDBSymbol*& operator[](int index) override { return list_->GetObject(index); }
  bool contains(const char* name) override;
  int size() const override { return list_->Count(); }

 private:
  using List = zxf::collections::strhash::TXStrHashList<AbstractZDBSymbol*>;

  /// The list with another name at a position; without the entry if that is null.
  std::unique_ptr<List> listWith(int position, const char* name) const;

  std::unique_ptr<List> list_ = std::make_unique<List>();  ///< which only grows: replaced by others
};

/// The same on a standard hash map.
class TUMapSymbolTable final : public OrderedSymbolTable {
 public:
  void insert(const char* name, AbstractZDBSymbol* symbol) override;
  void remove(const char* name) override;
  void rename(const char* oldName, const char* newName) override;
  AbstractZDBSymbol*& operator[](const char* name) override;
  AbstractZDBSymbol*& operator[](int index) override { return symbols_[index]; }
  bool contains(const char* name) override;
  int size() const override { return static_cast<int>(symbols_.size()); }

 private:
  std::unordered_map<std::string, int> positions_;  ///< lower-cased name, position in symbols_
  std::vector<AbstractZDBSymbol*> symbols_;
};

}  // namespace zdb::symtable
