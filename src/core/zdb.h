#pragma once

#include <memory>
#include <string>
#include <utility>

#include "core/abstractzdbsymbol.h"
#include "core/datasource.h"
#include "core/lasterror.h"
#include "core/log.h"
#include "core/ownedsymbols.h"
#include "core/specialvalues.h"
#include "core/strpool.h"
#include "core/uellist.h"
#include "core/zxfhandle.h"

namespace zdb {

class AbstractZDBSymbolIterator;
struct DataCallbacks;

namespace loaders {
struct zmiRec;
}

/// The element text number in the value of a set's record: truncated; 0 if it cannot be the number
/// of a text.
inline int textNumber(double value) {
  return value >= 1 && value < 2147483647.0 ? static_cast<int>(value) : 0;
}

/// Makes a new empty symbol with the container of a storage type; null for an unknown type or
/// unless 0 <= dim <= 20. The database knows only the interface of symbols, so it is given the
/// function that makes them.
using SymbolFactory = std::unique_ptr<AbstractZDBSymbol> (*)(ZDB& owner, int storageType,
                                                             const std::string& name, int dim,
                                                             int type, int number, int userInfo,
                                                             const std::string& explText);

/// Whether a domain can be known by this name, wherever the name comes from: hosts read it into as
/// much room as names take. One that is too long is reported.
bool isDomainName(ZDB& db, const char* name);

/// For a symbol that could not be made in the default storage, which hosts may set to anything:
/// whether that storage is unknown, which is reported.
bool isStorageUnknown(ZDB& db, const std::string& symbolName);

/// One database: labels, element texts, symbols, special values, data sources and the last error.
///
/// It owns these; what works on them is in the layers symbols (records, domain checks, arrays,
/// copies) and io (files, callbacks, models), which also define some of the members below.
/// Functions report failure by their result and one message in the last-error text; nothing is
/// rolled back. A database is used by one thread at a time.
class ZDB {
 public:
  /// Process-wide trace level: 0 silent, 1 API calls and the main steps of long operations, 2 and
  /// above smaller steps as well.
  static int debugLevel;
  /// The library's own special values, in the order of SpecialValueIndex.
  static const SpecialValues iSpecValues;

  /// Loads the companion for data exchange files by the default search.
  explicit ZDB(SymbolFactory makeSymbol);
  /// Loads the companion from `directory`. If that fails, there is a message in the last-error
  /// text, and the database works except for files.
  ZDB(SymbolFactory makeSymbol, const std::string& directory);
  ZDB(const ZDB&) = delete;
  ZDB& operator=(const ZDB&) = delete;

  // Messages and log.

  /// Replaces the last error; its text is cut to 255 characters, and it has no reason. Always
  /// returns false, so that a failing function can `return setLastError(...)`.
  [[gnu::format(printf, 3, 4)]] bool setLastError(ErrorKind kind, const char* format, ...);
  /// Takes over a failure of another database, or an earlier one of this.
  bool setLastError(const LastError& failure) { return lastError_.set(failure); }
  /// Keeps what is behind the last error, where its text says so already or cannot. Always returns
  /// false: `return setLastError(...) || keepReason(...)`.
  bool keepReason(const char* reason);
  /// The same where the text does not say it: also goes to the log, if the host has set one, and to
  /// the trace.
  bool reportReason(const char* reason);
  const char* lastError() const { return lastError_.text; }
  const LastError& error() const { return lastError_; }
  void clearError() { lastError_.clear(); }

  /// Writes a line to the log callback, or to standard output if there is none.
  void PrintLog(const char* text) const { log_.print(text); }
  void setLogCallback(LogCallback callback) { log_.setCallback(callback); }

  // Special values, labels and texts.

  SpecialValueMap& specialValues() { return specialValues_; }
  const SpecialValueMap& specialValues() const { return specialValues_; }

  uellist::UELList& labels() { return labels_; }
  const uellist::UELList& labels() const { return labels_; }
  /// Number of the last label; 0 if there are none.
  int highestLabel() const { return labels_.size() - 1; }
  bool isLabel(int number) const { return number >= 1 && number < labels_.size(); }
  /// Text of any number that a record may hold; "?" if it is not the number of a label.
  const char* labelText(int number) const {
    return number >= 0 && number < labels_.size() ? labels_[number] : "?";
  }

  strpool::TStrHashPool& textPool() { return texts_; }
  /// Number of an element text, which is added if it is new. Texts that differ only in case are
  /// the same.
  int SetElemText(const char* text);
  /// Text `number`, counted from 1, or "" if there is none. Valid as long as the database.
  const char* elementText(int number) const {
    return number >= 1 && number < texts_.size() ? texts_.get(number) : "";
  }
  /// Copies text `number`, counted from 1, into `out` (256 bytes); false and no change if there
  /// is none.
  bool GetElemText(int number, char* out) const;

  /// Whether all label numbers of the key exist; reports the first that does not.
  bool uelsInRange(const AbstractZDBSymbol* symbol, const int* keys) {
    return labels_.areNumbers(keys, symbol->dim, symbol->name);
  }
  /// Looks up the labels of a key without adding any; reports the first that is unknown or invalid.
  bool strKeysToUelIndices(const AbstractZDBSymbol* symbol, const char* const* texts, int* keys) {
    return labels_.findAll(texts, symbol->dim, symbol->name, keys);
  }
  /// The key as in messages: ("i1","j2").
  static std::string joinKeys(const char* const* texts, int count);
  std::string joinKeys(const int* numbers, int count) const;

  // Symbols.

  AbstractZDBSymbol* universe() const { return symbols_.universe(); }
  symtable::TSymbolTable& symbols() { return symbols_.table(); }
  const symtable::TSymbolTable& symbols() const { return symbols_.table(); }
  /// Whether the symbol belongs to this database; if not, reports it as `name`.
  bool owns(const AbstractZDBSymbol& symbol, const char* name) {
    return symbol.database == this ||
           setLastError(ErrorHandle, "Symbol %s not in this database", name);
  }

  /// Storage of symbols that are added later.
  int defaultStorage() const { return defaultStorage_; }
  void setDefaultStorage(int storageType) { defaultStorage_ = storageType; }

  /// A new empty symbol that is not in the table yet; null as for SymbolFactory.
  std::unique_ptr<AbstractZDBSymbol> symbolFactory(int storageType, const std::string& name,
                                                   int dim, int type, int number, int userInfo,
                                                   const std::string& explText);
  /// A copy of a symbol, including flags and records, in another storage; null for an
  /// unknown storage.
  std::unique_ptr<AbstractZDBSymbol> symbolFactory(int storageType, AbstractZDBSymbol* from);
  /// Takes ownership and adds the symbol to the table.
  /// REQUIRES no symbol has this name.
  AbstractZDBSymbol* insertSymbol(std::unique_ptr<AbstractZDBSymbol> symbol) {
    return symbols_.add(std::move(symbol));
  }
  /// Moves the records of a symbol, which may be the universe, to another storage. The returned
  /// symbol replaces the given one, whose handle becomes invalid; null (and no change) for an
  /// unknown storage.
  AbstractZDBSymbol* switchSymbolStorage(AbstractZDBSymbol* symbol, int storageType);

  /// `domains` and `domainNames` have `dim` entries; where a domain is null, the name counts.
  /// Returns null and leaves a message on failure.
  AbstractZDBSymbol* AddSymbol(const std::string& name, int dim, int type, int userInfo,
                               const std::string& explText, AbstractZDBSymbol* const* domains,
                               const char* const* domainNames);
  /// Finds a symbol by name ("*": the universe); for an alias returns the alias itself. Null and a
  /// message if there is none.
  bool FindSymbol(const char* name, AbstractZDBSymbol** symbol);

  bool StartWriteRecording();
  bool StopWriteRecording();
  /// Marks the symbol as changed if write recording is active.
  void markWritten(AbstractZDBSymbol* symbol) const {
    if (symbols_.isRecording()) symbol->isWritten = true;
  }

  /// Whether a check of all symbols is in progress, during which the look-ups of domains are kept.
  bool isDomainCheckInProgress() const { return domainCheckInProgress_; }
  void setDomainCheckInProgress(bool isInProgress) { domainCheckInProgress_ = isInProgress; }

  // Records. Handles belong to the caller. The symbol is loaded first.
  // REQUIRES the symbol is neither null nor, unless said otherwise, the universe.

  AbstractZDBSymbolIterator* AddRecord(AbstractZDBSymbol* symbol, const char* const* texts);
  /// Returns success and the record's row. If `out` is null, no handle is made.
  std::pair<bool, double*> MergeRecord(AbstractZDBSymbol* symbol, const char* const* texts,
                                       AbstractZDBSymbolIterator** out);
  /// Also takes the universe.
  AbstractZDBSymbolIterator* FindRecord(AbstractZDBSymbol* symbol, const char* const* texts);
  /// Also takes the universe.
  AbstractZDBSymbolIterator* FindRecordInt(AbstractZDBSymbol* symbol, const int* keys);
  /// Adds or overwrites a record by label numbers. `values` (with the caller's special values) are
  /// used for parameters, variables and equations, `text` for sets, both only with `haveValues`.
  bool AddRecordRaw(AbstractZDBSymbol* symbol, const int* keys, bool checkLabels, bool haveValues,
                    const double* values, const char* text, AbstractZDBSymbolIterator** out);

  /// A handle that walks the labels, positioned at `label`.
  static AbstractZDBSymbolIterator* symbolIteratorFactory(AbstractZDBSymbol* universe, int label);
  /// A handle with the same position as `from`.
  static AbstractZDBSymbolIterator* symbolIteratorFactory(AbstractZDBSymbolIterator* from);

  // Data sources.

  int GetInitFrom() const { return sources_.current(); }
  void setInitFrom(InitSource state) { sources_.setCurrent(state); }
  /// The source of a kind, whatever the state of the database; null if none is attached.
  DataSource* source(int kind) const { return sources_.find(kind); }
  /// Takes ownership. Replaces a source of the same kind that was attached before.
  DataSource& attachSource(std::unique_ptr<DataSource> source) {
    return sources_.attach(std::move(source));
  }
  void dropSource(InitSource kind) { sources_.drop(kind); }

  /// Where the companions are loaded from; empty for the default search.
  const std::string& directory() const { return directory_; }
  /// The object of the companion that reads the file of this database.
  const ZXFHandle& zxf() const { return zxf_; }

  /// Loads the symbol unless it is loaded already. A load that failed is reported again, as what it
  /// was, until the symbol is cleared.
  bool ensureLoaded(AbstractZDBSymbol* symbol) {
    if (!symbol->isLoaded) return LoadSymbol(symbol);
    return symbol->loadFailure == nullptr || setLastError(*symbol->loadFailure);
  }
  /// Reads a symbol's records from the source on first use. The symbol counts as loaded even if
  /// that fails, and remembers why it did.
  bool LoadSymbol(AbstractZDBSymbol* symbol) { return sources_.load(*symbol, lastError_); }
  /// These three read a symbol's records from the source of their kind.
  /// REQUIRES that source is attached.
  bool LoadSymbolFromZXF(AbstractZDBSymbol* symbol, RecordSink sink) const;
  bool LoadSymbolFromZMI(AbstractZDBSymbol* symbol, RecordSink sink) const;
  bool LoadSymbolFromCallbacks(AbstractZDBSymbol* symbol, RecordSink sink) const;

  bool InitFromZXF(const std::string& fileName);
  bool CloseZXF(bool loadRemain);
  bool WriteZXF(const std::string& fileName, int noDomainCheck);
  /// Fills this empty database with copies of the source's labels, texts, symbols and records.
  bool InitFromDB(ZDB* source);
  /// Symbols that are added from now on are read through the callbacks on first use.
  bool InitFromDMRF(const DataCallbacks& callbacks);
  /// Sets the callbacks and the special values that their data uses; `clear` empties the symbols.
  bool SetDataCallbacks(bool clear, const DataCallbacks& callbacks, const double* specialValues);

  // Model instances. The instance belongs to the caller and outlives the database.
  // include/zdbcclib.h has the details.

  /// Ties the database to the instance and its dictionary. An instance other than the registered
  /// one has to be prepared anew.
  bool RegisterZMI(loaders::zmiRec* instance);
  /// Registers the instance and copies its labels, variables and equations, without records.
  bool InitFromDict(loaders::zmiRec* instance);
  /// Prepares the registered instance, once; registers it if there is none.
  bool InitUpdate(loaders::zmiRec* instance);
  /// Writes the first values of `dataSymbol` to the instance. Takes time in the entries of the
  /// model's symbol and the records of the data.
  bool UpdateSymbolInModel(AbstractZDBSymbol* modelSymbol, int action,
                           AbstractZDBSymbol* dataSymbol, int updateType, int& noMatch);
  /// Solves the prepared instance and unloads the symbols that it shares with the database. Sets
  /// `time`, which may be null, to 0.
  bool CallSolver(const char* solverName, double* time);

 private:
  LastError lastError_;
  SymbolFactory makeSymbol_;
  std::string directory_;
  ZXFHandle zxf_;
  Log log_;
  int defaultStorage_ = static_cast<int>(dmap::StorageTypes::Map);
  bool domainCheckInProgress_ = false;
  SpecialValueMap specialValues_;
  uellist::UELList labels_{lastError_};
  strpool::TStrHashPool texts_;
  DataSources sources_;
  OwnedSymbols symbols_;
};

}  // namespace zdb
