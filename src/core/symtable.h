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

/// The symbols of a database by name (without regard to case) and in order of insertion, and apart
/// from that the ones that are not aliases. A table does not own its symbols.
class ISymbolTable {
 public:
  using SymbolVisitor = FunctionRef<bool(AbstractZDBSymbol*)>;
  using NamedVisitor = FunctionRef<bool(const char*, AbstractZDBSymbol*)>;

  virtual ~ISymbolTable() = default;
  /// Drops the records of every symbol and marks it as not loaded; the symbols stay.
  virtual void clearAndUnload() = 0;
  /// Does not test for a present name: the caller has asked contains().
  virtual void insert(const char* name, AbstractZDBSymbol* symbol) = 0;
  /// Puts the new symbol in the old one's place in both orders and under its name.
  virtual void replace(AbstractZDBSymbol* oldSymbol, AbstractZDBSymbol* newSymbol) = 0;
  /// In order of insertion; stops at the first false and returns the last call's result, or true
  /// for an empty table.
  virtual bool forEach(SymbolVisitor visit) = 0;
  virtual bool forEach(NamedVisitor visit) = 0;
  /// Slot of a name that contains() reports; for any other an std::out_of_range.
  virtual AbstractZDBSymbol*& operator[](const char* name) = 0;
  /// Slot at a position in 0..size()-1.
  virtual AbstractZDBSymbol*& operator[](int index) = 0;
  virtual AbstractZDBSymbol* front() = 0;
  virtual bool contains(const char* name) = 0;
  virtual int size() const = 0;
  virtual bool empty() const = 0;
  virtual int nonAliasCount() const = 0;
  /// The index-th (from 0) symbol that is not an alias.
  virtual AbstractZDBSymbol* nonAliasSymbol(int index) const = 0;
};

/// What both tables do alike: the walks and the order of the symbols that are not aliases.
class OrderedSymbolTable : public ISymbolTable {
 public:
  void clearAndUnload() override;
  bool forEach(SymbolVisitor visit) override;
  bool forEach(NamedVisitor visit) override;
  AbstractZDBSymbol* front() override { return (*this)[0]; }
  // NOLINTNEXTLINE(readability-container-size-empty): this is empty()
  bool empty() const override { return size() == 0; }
  int nonAliasCount() const override { return static_cast<int>(nonAlias_.size()); }
  AbstractZDBSymbol* nonAliasSymbol(int index) const override { return nonAlias_[index]; }
  using ISymbolTable::operator[];

 protected:
  /// Makes room first, so that an insertion that runs out of memory leaves no trace of the symbol.
  void makeRoom() {
    if (nonAlias_.size() == nonAlias_.capacity()) nonAlias_.reserve(2 * nonAlias_.size() + 8);
  }
  void noteInserted(AbstractZDBSymbol* symbol);
  void noteReplaced(AbstractZDBSymbol* oldSymbol, AbstractZDBSymbol* newSymbol);

 private:
  std::vector<AbstractZDBSymbol*> nonAlias_;
};

/// The table that the database uses.
class TSymbolTable final : public OrderedSymbolTable {
 public:
  void insert(const char* name, AbstractZDBSymbol* symbol) override;
  void replace(AbstractZDBSymbol* oldSymbol, AbstractZDBSymbol* newSymbol) override;
  AbstractZDBSymbol*& operator[](const char* name) override;
  AbstractZDBSymbol*& operator[](int index) override { return list_.GetObject(index); }
  bool contains(const char* name) override { return list_.IndexOf(name) >= 0; }
  int size() const override { return list_.Count(); }

 private:
  zxf::collections::strhash::TXStrHashList<AbstractZDBSymbol*> list_;
};

/// The same on a standard hash map.
class TUMapSymbolTable final : public OrderedSymbolTable {
 public:
  void insert(const char* name, AbstractZDBSymbol* symbol) override;
  void replace(AbstractZDBSymbol* oldSymbol, AbstractZDBSymbol* newSymbol) override;
  AbstractZDBSymbol*& operator[](const char* name) override;
  AbstractZDBSymbol*& operator[](int index) override { return symbols_[index]; }
  bool contains(const char* name) override;
  int size() const override { return static_cast<int>(symbols_.size()); }

 private:
  std::unordered_map<std::string, int> positions_;  ///< lower-cased name, position in symbols_
  std::vector<AbstractZDBSymbol*> symbols_;
};

}  // namespace zdb::symtable
