#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "core/abstractzdbsymbol.h"
#include "core/datasource.h"
#include "core/message.h"
#include "core/specialvalues.h"
#include "core/strpool.h"
#include "core/symtable.h"
#include "core/uellist.h"
#include "core/zxfhandle.h"

namespace zdb {

class AbstractZDBSymbolIterator;
struct DataCallbacks;

namespace loaders {
struct zmiRec;
}

/// The element text number that a set record's value holds: truncated, 0 when it is not a number
/// that a text can have.
inline int textNumber(double value) {
  return value >= 1 && value < 2147483647.0 ? static_cast<int>(value) : 0;
}

/// Makes a new empty symbol over the container of a storage type; null for an unknown type or a dim
/// outside 0..20. The database knows only the interface of symbols, so it is told who makes them.
using SymbolFactory = std::unique_ptr<AbstractZDBSymbol> (*)(ZDB& owner, int storageType,
                                                             const std::string& name, int dim,
                                                             int type, int number, int userInfo,
                                                             const std::string& explText);

/// Whether a domain can be known by this name, wherever the name comes from: hosts read it into as
/// much room as names take. One that is too long is reported.
bool isDomainName(ZDB& db, const char* name);

/// Receives the log lines of a database as short strings, with what the caller has left for it.
struct LogCallback {
  int (*print)(const char* text, void* user) = nullptr;
  void* user = nullptr;
};

/// One database: labels, element texts, symbols, special values, data sources and the last error.
///
/// It owns these and keeps them together; the work on them stands in symbols (records, domain
/// checks, arrays, copies) and io (files, callbacks, models), which also define the members below
/// that carry it. Operations report failure by their result and one message in the last-error text;
/// nothing is rolled back. A database is used by one thread at a time.
class ZDB {
 public:
  /// Process-wide trace level: 0 silent, 1 API calls and the main steps of long operations, 2 and
  /// above smaller steps.
  static int debugLevel;
  /// The library's own special values, in the order of SpecialValueIndex.
  static const SpecialValues iSpecValues;

  /// The companion that reads and writes data exchange files is found by the default search.
  explicit ZDB(SymbolFactory makeSymbol);
  /// The companion comes from `directory`. A companion that cannot be had leaves a message in the
  /// last-error text; the database works all the same, but for files.
  ZDB(SymbolFactory makeSymbol, const std::string& directory);
  ~ZDB();
  ZDB(const ZDB&) = delete;
  ZDB& operator=(const ZDB&) = delete;

  // Messages and log.

  /// Replaces the last-error text, cut to 255 characters. Always returns false, so that a failing
  /// operation can `return setLastError(...)`.
  [[gnu::format(printf, 2, 3)]] bool setLastError(const char* format, ...);
  const char* lastError() const { return lastErrorText_; }

  /// One line to the log callback, or to standard output when there is none.
  void PrintLog(const char* text) const;
  void setLogCallback(LogCallback log) { log_ = log; }

  // Special values, labels and texts.

  SpecialValueMap& specialValues() { return specialValues_; }
  const SpecialValueMap& specialValues() const { return specialValues_; }

  uellist::UELList& labels() { return labels_; }
  const uellist::UELList& labels() const { return labels_; }
  /// Number of the highest label; 0 without labels.
  int highestLabel() const { return labels_.size() - 1; }
  bool isLabel(int number) const { return number >= 1 && number < labels_.size(); }
  /// Text of any number a record may hold: of one that is not a label, a question mark.
  const char* labelText(int number) const {
    return number >= 0 && number < labels_.size() ? labels_[number] : "?";
  }

  strpool::TStrHashPool& textPool() { return texts_; }
  /// Number of an element text, added when new; texts that differ only in case are one.
  int SetElemText(const char* text);
  /// Copies text `number` (1..) into `out` (256 bytes); false and no change when there is none.
  bool GetElemText(int number, char* out) const;

  /// Whether every label number of the key exists; the first that does not is reported.
  bool uelsInRange(const AbstractZDBSymbol* symbol, const int* keys);
  /// Looks the labels of a key up, adding none; the first that is missing or malformed is reported.
  bool strKeysToUelIndices(const AbstractZDBSymbol* symbol, const char* const* texts, int* keys);
  /// The key as messages show it: ("i1","j2").
  static std::string joinKeys(const char* const* texts, int count);
  std::string joinKeys(const int* numbers, int count) const;

  // Symbols.

  AbstractZDBSymbol* universe() const { return universe_.get(); }
  symtable::TSymbolTable& symbols() { return symbols_; }
  const symtable::TSymbolTable& symbols() const { return symbols_; }
  /// Whether the symbol is one of this database; one that is not is reported, as `name`.
  bool owns(const AbstractZDBSymbol& symbol, const char* name) {
    return symbol.database == this || setLastError("Symbol %s not in this database", name);
  }

  /// Storage of symbols made later.
  int defaultStorage() const { return defaultStorage_; }
  void setDefaultStorage(int storageType) { defaultStorage_ = storageType; }

  /// A new empty symbol that belongs to no table yet; null as SymbolFactory says.
  std::unique_ptr<AbstractZDBSymbol> symbolFactory(int storageType, const std::string& name,
                                                   int dim, int type, int number, int userInfo,
                                                   const std::string& explText);
  /// For a symbol that could not be made in the default storage, which hosts may set to anything:
  /// whether that storage is unknown, which is reported.
  bool isStorageUnknown(const std::string& symbolName);
  /// A copy of a symbol, flags and records included, in another storage; null for an unknown one.
  std::unique_ptr<AbstractZDBSymbol> symbolFactory(int storageType, AbstractZDBSymbol* from);
  /// Takes ownership and enters the symbol into the table. REQUIRES: no symbol has this name.
  AbstractZDBSymbol* insertSymbol(std::unique_ptr<AbstractZDBSymbol> symbol);
  /// Puts the records of a symbol, which may be the universe, into another storage. The returned
  /// symbol replaces the given one, whose handle ends; null (and no change) for an unknown storage.
  AbstractZDBSymbol* switchSymbolStorage(AbstractZDBSymbol* symbol, int storageType);

  /// `domains` and `domainNames` hold `dim` entries; a null domain is taken by name. Gives null and
  /// leaves a message on failure.
  AbstractZDBSymbol* AddSymbol(const std::string& name, int dim, int type, int userInfo,
                               const std::string& explText, AbstractZDBSymbol* const* domains,
                               const char* const* domainNames);
  /// Finds a symbol by name ("*": the universe), an alias as itself; null and a message when there
  /// is none.
  bool FindSymbol(const char* name, AbstractZDBSymbol** symbol);

  bool StartWriteRecording();
  bool StopWriteRecording();
  /// Marks the symbol changed while write recording is active.
  void markWritten(AbstractZDBSymbol* symbol) const {
    if (writeRecording_) symbol->isWritten = true;
  }

  /// Whether a check over all symbols is under way, which keeps what it has noted of their domains.
  bool isDomainCheckInProgress() const { return domainCheckInProgress_; }
  void setDomainCheckInProgress(bool isInProgress) { domainCheckInProgress_ = isInProgress; }

  // Records. Handles belong to the caller. The symbol is neither null nor the universe, and is
  // loaded first.

  AbstractZDBSymbolIterator* AddRecord(AbstractZDBSymbol* symbol, const char* const* texts);
  /// Returns whether it worked and the record's row; `out` may be null (no handle is made).
  std::pair<bool, double*> MergeRecord(AbstractZDBSymbol* symbol, const char* const* texts,
                                       AbstractZDBSymbolIterator** out);
  /// Also takes the universe.
  AbstractZDBSymbolIterator* FindRecord(AbstractZDBSymbol* symbol, const char* const* texts);
  /// Also takes the universe.
  AbstractZDBSymbolIterator* FindRecordInt(AbstractZDBSymbol* symbol, const int* keys);
  /// Adds or overwrites by label numbers. `values` (in the caller's special values) counts for
  /// parameters, variables and equations, `text` for sets, both only with `haveValues`.
  bool AddRecordRaw(AbstractZDBSymbol* symbol, const int* keys, bool checkLabels, bool haveValues,
                    const double* values, const char* text, AbstractZDBSymbolIterator** out);

  /// A handle that walks the labels, standing on `label`.
  static AbstractZDBSymbolIterator* symbolIteratorFactory(AbstractZDBSymbol* universe, int label);
  /// A handle that stands where `from` stands.
  static AbstractZDBSymbolIterator* symbolIteratorFactory(AbstractZDBSymbolIterator* from);

  // Data sources.

  int GetInitFrom() const { return initFrom_; }
  void setInitFrom(InitSource state) { initFrom_ = state; }
  /// The source of a kind, whatever the state of the database; null when none is attached.
  DataSource* source(int kind) const;
  /// Takes ownership; a source of the same kind that was attached before goes.
  DataSource& attachSource(std::unique_ptr<DataSource> source);
  void dropSource(InitSource kind);

  /// Where the companions are loaded from; empty: the default search.
  const std::string& directory() const { return directory_; }
  /// The companion's object that reads the file of this database.
  const ZXFHandle& zxf() const { return zxf_; }

  /// Loads the symbol unless it is loaded. A load that failed is reported again, as what it was,
  /// until the symbol is cleared.
  bool ensureLoaded(AbstractZDBSymbol* symbol) {
    if (!symbol->isLoaded) return LoadSymbol(symbol);
    return symbol->loadFailure.empty() || setLastError("%s", symbol->loadFailure.c_str());
  }
  /// Reads a symbol's records from the source on first use; the symbol counts as loaded even when
  /// that fails, and remembers why it did.
  bool LoadSymbol(AbstractZDBSymbol* symbol);
  /// These three read a symbol's records from the source of their kind, which must be attached.
  bool LoadSymbolFromZXF(AbstractZDBSymbol* symbol, RecordSink sink) const;
  bool LoadSymbolFromZMI(AbstractZDBSymbol* symbol, RecordSink sink) const;
  bool LoadSymbolFromCallbacks(AbstractZDBSymbol* symbol, RecordSink sink) const;

  bool InitFromZXF(const std::string& fileName);
  bool CloseZXF(bool loadRemain);
  bool WriteZXF(const std::string& fileName, int noDomainCheck);
  /// Fills this empty database with copies of the source's labels, texts, symbols and records.
  bool InitFromDB(ZDB* source);
  /// Symbols that are added from now on are read through the callbacks when they are first used.
  void InitFromDMRF(const DataCallbacks& callbacks);
  /// Keeps the callbacks and the special values that their data uses; `clear` empties the symbols.
  void SetDataCallbacks(bool clear, const DataCallbacks& callbacks, const double* specialValues);

  // Model instances. The instance belongs to the caller and outlives the database.
  // include/zdbcclib.h tells the rest.

  /// Ties the database to the instance and its dictionary; another one loses its preparation.
  bool RegisterZMI(loaders::zmiRec* instance);
  /// Registers the instance and takes its labels, variables and equations over, without records.
  bool InitFromDict(loaders::zmiRec* instance);
  /// Prepares the registered instance, once; registers it when there is none.
  bool InitUpdate(loaders::zmiRec* instance);
  /// Puts the first values of `dataSymbol` into the instance. Time in the entries of the model's
  /// symbol and the records of the data.
  bool UpdateSymbolInModel(AbstractZDBSymbol* modelSymbol, int action,
                           AbstractZDBSymbol* dataSymbol, int updateType, int& noMatch);
  /// Solves the prepared instance and unloads the symbols that it shares with the database. `time`
  /// may be null and becomes 0.
  bool CallSolver(const char* solverName, double* time);

 private:
  char lastErrorText_[kMessageSize] = "";
  SymbolFactory makeSymbol_;
  std::string directory_;
  ZXFHandle zxf_;
  LogCallback log_;
  int defaultStorage_ = static_cast<int>(dmap::StorageTypes::Map);
  bool writeRecording_ = false;
  bool domainCheckInProgress_ = false;
  SpecialValueMap specialValues_;
  uellist::UELList labels_{lastErrorText_};
  strpool::TStrHashPool texts_;
  symtable::TSymbolTable symbols_;
  std::unique_ptr<AbstractZDBSymbol> universe_;
  InitSource initFrom_ = FROM_NOSOURCE;
  std::vector<std::unique_ptr<DataSource>> sources_;  ///< at most one of a kind
};

/// Writes a trace line to standard output and flushes it; deeper steps are indented by two blanks a
/// level beyond 1. The caller tests ZDB::debugLevel.
void debug_out(const char* text, int depth);

}  // namespace zdb
