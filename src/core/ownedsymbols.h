#pragma once

#include <cstdint>
#include <memory>
#include <utility>

#include "core/abstractzdbsymbol.h"
#include "core/symtable.h"

namespace zdb {

/// The symbols of a database, which it owns, with its universe and the record of changes.
class OwnedSymbols {
 public:
  OwnedSymbols() = default;
  OwnedSymbols(const OwnedSymbols&) = delete;
  OwnedSymbols& operator=(const OwnedSymbols&) = delete;
  ~OwnedSymbols();

  symtable::TSymbolTable& table() { return table_; }
  const symtable::TSymbolTable& table() const { return table_; }
  AbstractZDBSymbol* universe() const { return universe_.get(); }
  void setUniverse(std::unique_ptr<AbstractZDBSymbol> universe) { universe_ = std::move(universe); }

  /// Adds a symbol to the table, with the universe for domains that it has not got.
  /// REQUIRES no symbol has this name.
  AbstractZDBSymbol* add(std::unique_ptr<AbstractZDBSymbol> symbol);
  /// Deletes a symbol of the table, or the universe, and puts another one in its place, also where
  /// symbols refer to it. Takes time in all symbols.
  AbstractZDBSymbol* replace(AbstractZDBSymbol* symbol,
                             std::unique_ptr<AbstractZDBSymbol> replacement);
  /// A symbol by name, "*" for the universe; null if there is none.
  AbstractZDBSymbol* find(const char* name);

  /// Whether symbols that change are marked.
  bool isRecording() const { return isRecording_; }
  /// False if it has started already; else no symbol is marked at first.
  bool startRecording();
  /// False if it has not been started.
  bool stopRecording() { return std::exchange(isRecording_, false); }

 private:
  symtable::TSymbolTable table_;
  std::uint64_t lastSerial_ = 0;  ///< of a symbol in the table, which may have been removed
  std::unique_ptr<AbstractZDBSymbol> universe_;
  bool isRecording_ = false;
};

}  // namespace zdb
