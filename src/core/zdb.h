#pragma once

#include <array>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "core/abstractzdbsymbol.h"
#include "core/message.h"
#include "core/modellink.h"
#include "core/specialvalues.h"
#include "core/strpool.h"
#include "core/symtable.h"
#include "core/uellist.h"

namespace zdb {

class AbstractZDBSymbolIterator;
class DenseAxes;
class DomainViolation;

namespace loaders {
struct zxfRec;
}

/// Where the data of a database comes from.
enum InitSource : int {
  FROM_NOSOURCE = 0,      ///< fresh
  FROM_ZXF = 1,           ///< a data exchange file, still open
  FROM_ZMI = 2,           ///< a model instance
  FROM_MEMORY = 3,        ///< everything is in memory
  FROM_DMRF = 4,          ///< callbacks that load symbols on first use
  FROM_DATACALLBACKS = 6  ///< data callbacks
};

/// The element text number that a set record's value holds: truncated, 0 when it is no number that
/// a text can have.
inline int textNumber(double value) {
  return value >= 1 && value < 2147483647.0 ? static_cast<int>(value) : 0;
}

/// What a caller hands over to stand in for a data source. Texts go as short strings (length byte,
/// then the characters); results are 0 for success; `user` is the caller's own.
struct DataCallbacks {
  int (*findSymbol)(const char* name, int* symbolNumber, void* user) = nullptr;
  int (*readStart)(int symbolNumber, int* recordCount, void* user) = nullptr;
  int (*readRecord)(int* key, double* values, int* firstChanged, void* user) = nullptr;
  int (*readDone)(void* user) = nullptr;
  int (*elemText)(int textNumber, char* text, int capacity, void* user) = nullptr;
  int (*print)(const char* text, void* user) = nullptr;  ///< receives the log lines
  void* user = nullptr;
};

/// One database: labels, element texts, symbols, special values and the last error.
///
/// The class is declared here and implemented where its work belongs: labels, texts and special
/// values in core, symbols and records in symbols, data sources in io. Operations report failure by
/// their result and one message in the last-error text; nothing is rolled back.
/// A database is used by one thread at a time.
class ZDB {
 public:
  /// Process-wide trace level: 0 silent, 1 API calls and the main steps of long operations, 2 and
  /// above smaller steps.
  static int debugLevel;
  /// The library's own special values, in the order of SpecialValueIndex.
  static const SpecialValues iSpecValues;

  /// The companion that reads and writes data exchange files is found by the default search.
  ZDB();
  /// The companion comes from `directory`. A companion that cannot be had leaves a message in the
  /// last-error text; the database works all the same, but for files.
  explicit ZDB(const std::string& directory);
  ~ZDB();
  ZDB(const ZDB&) = delete;
  ZDB& operator=(const ZDB&) = delete;

  // ---- messages and log
  // --------------------------------------------------------------------------

  /// Replaces the last-error text, cut to 255 characters. Always returns false, so that a failing
  /// operation can `return setLastError(...)`.
  [[gnu::format(printf, 2, 3)]] bool setLastError(const char* format, ...);
  const char* lastError() const { return lastErrorText_; }

  /// One line to the log callback, or to standard output when there is none.
  void PrintLog(const char* text) const;

  // ---- special values
  // ----------------------------------------------------------------------------

  const SpecialValues& userSpecialValues() const { return specialValues_.user(); }
  /// Makes `values` the caller's special values; returns the state (0: the library's own, 1: only
  /// epsilon differs, 2: others differ).
  int SetSpecialValues(const double* values) { return specialValues_.set(values); }
  const SpecialValueMap& specialValues() const { return specialValues_; }

  // ---- labels and texts
  // --------------------------------------------------------------------------

  uellist::UELList& labels() { return labels_; }
  const uellist::UELList& labels() const { return labels_; }
  /// Number of the highest label; 0 without labels.
  int highestLabel() const { return labels_.size() - 1; }
  bool isLabel(int number) const { return number >= 1 && number < labels_.size(); }
  /// Text of any number a record may hold: of one that is no label, a question mark.
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

  // ---- symbols (src/symbols)
  // ---------------------------------------------------------------------

  AbstractZDBSymbol* universe() const { return universe_.get(); }
  symtable::TSymbolTable& symbols() { return symbols_; }
  const symtable::TSymbolTable& symbols() const { return symbols_; }

  /// Storage of symbols made later.
  int defaultStorage() const { return defaultStorage_; }
  void setDefaultStorage(int storageType) { defaultStorage_ = storageType; }

  /// A new empty symbol that belongs to no table yet; null for an unknown storage type or a dim
  /// outside 0..20.
  std::unique_ptr<AbstractZDBSymbol> symbolFactory(int storageType, const std::string& name,
                                                   int dim, int type, int number, int userInfo,
                                                   const std::string& explText);
  /// A copy of a symbol, flags and records included, in another storage; null for an unknown one.
  std::unique_ptr<AbstractZDBSymbol> symbolFactory(int storageType, AbstractZDBSymbol* from);
  /// Puts the symbol's records into another storage. The returned symbol replaces the given one,
  /// whose handle ends; null (and no change) for an unknown storage.
  AbstractZDBSymbol* switchSymbolStorage(AbstractZDBSymbol* symbol, int storageType);

  /// `domains` and `domainNames` hold `dim` entries; a null domain is taken by name. Null on
  /// failure.
  AbstractZDBSymbol* AddSymbol(const std::string& name, int dim, int type, int userInfo,
                               const std::string& explText, AbstractZDBSymbol* const* domains,
                               const char* const* domainNames);
  /// Finds a symbol by name ("*": the universe), an alias as itself; null and a message when
  /// absent.
  bool FindSymbol(const char* name, AbstractZDBSymbol** symbol);
  /// Takes ownership and enters the symbol into the table; the caller has seen that the name is
  /// new.
  AbstractZDBSymbol* insertSymbol(std::unique_ptr<AbstractZDBSymbol> symbol);

  /// Loads the symbol unless it is loaded.
  bool ensureLoaded(AbstractZDBSymbol* symbol) { return symbol->isLoaded || LoadSymbol(symbol); }
  /// Replaces the target's records; the two may belong to different databases.
  bool CopySymbol(AbstractZDBSymbol* target, AbstractZDBSymbol* source);
  /// Adds to `counters` (indexed by label number, `length` long) how often each label stands in a
  /// key.
  bool GetSymbolsUels(AbstractZDBSymbol* const* list, int count, int* counters, int length);

  bool StartWriteRecording();
  bool StopWriteRecording();
  /// Marks the symbol changed while write recording is active.
  void markWritten(AbstractZDBSymbol* symbol) const {
    if (writeRecording_) symbol->isWritten = true;
  }

  // ---- records (src/symbols)
  // --------------------------------------------------------------------- Handles belong to the
  // caller. The symbol is neither null nor the universe, and is loaded first.

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
  /// First or last record, of the universe too.
  AbstractZDBSymbolIterator* FindFirstRecord(AbstractZDBSymbol* symbol);
  AbstractZDBSymbolIterator* FindLastRecord(AbstractZDBSymbol* symbol);
  /// First (or last) record of a slice; a text of one blank leaves its position open.
  AbstractZDBSymbolIterator* FindRecordSlice(AbstractZDBSymbol* symbol, const char* const* texts,
                                             bool backwards);
  bool DeleteRecord(AbstractZDBSymbolIterator* record);

  // ---- domain checking (src/symbols)
  // ------------------------------------------------------------- A violation is a record with a
  // label that is no record of its position's domain. Positions whose domain is the universe or
  // known by name only are not checked. `violation` becomes null when there is none, else a new
  // object of the caller's, to be given to FreeDVHandle.

  bool GetFirstDVInSymbol(AbstractZDBSymbol* symbol, DomainViolation** violation);
  /// The same over all symbols, in table order; the sets are looked at once, until DomainCheckDone.
  bool GetFirstDBDV(DomainViolation** violation);
  /// Moves the violation on to the first one of a later symbol; `found` tells whether there is one.
  bool GetFirstDVInNextSymbol(DomainViolation* violation, bool& found);
  bool CheckSymbolDV(AbstractZDBSymbol* symbol, bool& found);
  bool CheckDBDV(bool& found);
  void FreeDVHandle(DomainViolation* violation);
  void DomainCheckDone();

  // ---- dense arrays (src/symbols)
  // ---------------------------------------------------------------- Arrays are row-major over the
  // domains; null domains stand for all labels. include/zdbcclib.h tells the rest.

  bool DenseSymbolToDenseArray(double* array, const int* dims, AbstractZDBSymbol* symbol,
                               int field);
  bool SparseSymbolToDenseArray(double* array, const int* dims, AbstractZDBSymbol* symbol,
                                AbstractZDBSymbol* const* domains, int field, int& dropped);
  bool SparseSymbolToSqzdArray(double* array, int* dims, AbstractZDBSymbol* symbol,
                               AbstractZDBSymbol* const* domains,
                               AbstractZDBSymbol* const* squeezed, int field, int& dropped);
  /// `slices` may be null: no position is fixed.
  bool DenseArrayToSymbol(const double* array, AbstractZDBSymbol* const* domains,
                          AbstractZDBSymbol* const* slices, AbstractZDBSymbol* symbol,
                          const int* dims);

  /// A handle that walks the labels, standing on `label`.
  static AbstractZDBSymbolIterator* symbolIteratorFactory(AbstractZDBSymbol* universe, int label);
  /// A handle that stands where `from` stands.
  static AbstractZDBSymbolIterator* symbolIteratorFactory(AbstractZDBSymbolIterator* from);

  // ---- data sources (src/io)
  // ---------------------------------------------------------------------

  int GetInitFrom() const { return initFrom_; }
  bool InitFromZXF(const std::string& fileName);
  /// Reads a symbol's records from the source on first use; the symbol counts as loaded even when
  /// that fails.
  bool LoadSymbol(AbstractZDBSymbol* symbol);
  /// Reads the records into the symbol, or straight into a file being written when `target` is
  /// given.
  bool LoadSymbolFromZXF(AbstractZDBSymbol* symbol, loaders::zxfRec* target);
  bool CloseZXF(bool loadRemain);
  /// Fills this empty database with copies of the source's labels, texts, symbols and records.
  bool InitFromDB(ZDB* source);
  /// Symbols that are added from now on are read through the callbacks when they are first used.
  void InitFromDMRF(const DataCallbacks& callbacks);
  /// As LoadSymbolFromZXF, through the callbacks.
  bool LoadSymbolFromCallbacks(AbstractZDBSymbol* symbol, loaders::zxfRec* target);
  /// Keeps the callbacks and the special values that their data uses; `clear` empties the symbols.
  void SetDataCallbacks(bool clear, const DataCallbacks& callbacks, const double* specialValues);
  bool WriteZXF(const std::string& fileName, int noDomainCheck);

  // ---- model instances (src/io)
  // ------------------------------------------------------------------ The instance belongs to the
  // caller and outlives the database. include/zdbcclib.h tells the rest.

  /// Ties the database to the instance and its dictionary; another one loses its preparation.
  bool RegisterZMI(loaders::zmiRec* instance);
  /// Registers the instance and takes its labels, variables and equations over, without records.
  bool InitFromDict(loaders::zmiRec* instance);
  /// As LoadSymbolFromZXF, from the registered instance.
  bool LoadSymbolFromZMI(AbstractZDBSymbol* symbol, loaders::zxfRec* target);
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
  friend class ZXFWriter;

  void createUniverse();
  int createZXFHandle(loaders::zxfRec** handle, char* message, int size) const;
  bool mergeKeys(const char* const* texts, int dim, int* keys);
  AbstractZDBSymbol* aliasTargetFor(int position);
  void redirectReferences(AbstractZDBSymbol* from, AbstractZDBSymbol* to);
  bool appendDomain(AbstractZDBSymbol* symbol, AbstractZDBSymbol* domain, const char* name);
  bool canTakeRecords(AbstractZDBSymbol* symbol);
  bool hasRecords(AbstractZDBSymbol* symbol);
  bool hasRecordsToWalk(AbstractZDBSymbol* symbol);
  AbstractZDBSymbolIterator* findLabel(AbstractZDBSymbol* universe, const char* text);
  AbstractZDBSymbolIterator* findEndmost(AbstractZDBSymbol* symbol, int label,
                                         AbstractZDBSymbolIterator* (AbstractZDBSymbol::*get)());
  const double* rowToStore(const AbstractZDBSymbol* symbol, bool haveValues, const double* values,
                           const char* text, double* row);
  bool sliceKeys(const AbstractZDBSymbol* symbol, const char* const* texts, int* keys);
  bool copyInto(AbstractZDBSymbol* target, AbstractZDBSymbol* source);
  bool copyUniverse(AbstractZDBSymbol* target, const ZDB& from);
  bool translateKeys(const AbstractZDBSymbol& source, int count, const int* keys, int* translated);
  bool copyRecord(AbstractZDBSymbol* target, const AbstractZDBSymbol& source, const int* keys,
                  const double* values);

  bool prepareDomainLookups(AbstractZDBSymbol* symbol);
  void dropDomainLookups(const AbstractZDBSymbol* symbol) const;
  bool findViolation(AbstractZDBSymbol* symbol, std::unique_ptr<AbstractZDBSymbolIterator>& record);
  bool findViolationAfter(const AbstractZDBSymbol* after,
                          std::unique_ptr<AbstractZDBSymbolIterator>& record);
  bool nextSymbol(const AbstractZDBSymbol* after, AbstractZDBSymbol*& symbol);
  void dropAllDomainLookups();

  int fillDenseArray(double* array, const DenseAxes& axes, AbstractZDBSymbol* symbol,
                     int field) const;
  void squeezeSets(const DenseAxes& axes, AbstractZDBSymbol* symbol,
                   AbstractZDBSymbol* const* squeezed) const;
  bool fixPosition(AbstractZDBSymbol* slice, int& label);
  bool isArraySymbol(const AbstractZDBSymbol* symbol);
  void storeCells(const double* array, const DenseAxes& axes, const std::vector<int>& freePositions,
                  AbstractZDBSymbol* symbol, int* keys);

  bool copySymbolFrom(AbstractZDBSymbol& from, const std::vector<int>& textNumbers);
  void copyDomainsFrom(const AbstractZDBSymbol& from, const ZDB& source);
  bool readCallbackRecords(AbstractZDBSymbol* symbol, loaders::zxfRec* target, int records);
  bool translateCallbackValues(const AbstractZDBSymbol& symbol, double* values);
  bool translateCallbackText(double& value);

  bool openZXF(const std::string& fileName);
  void loadZXFTexts();
  bool loadZXFLabels();
  void noteFileLabel(int fileNumber, int number);
  bool createZXFSymbol(int fileNumber);
  AbstractZDBSymbol* zxfAliasTarget(int fileNumber);
  void readZXFDomains(AbstractZDBSymbol* symbol, int fileNumber);
  bool renumberLabels(int* keys, int dim) const;
  bool failZXFRead(const AbstractZDBSymbol* symbol);
  bool copyFromSource(AbstractZDBSymbol& symbol, loaders::zxfRec* target);

  bool fillFromDictionary(loaders::zmiRec* instance);
  bool takeDictionarySymbol(int index);
  void unloadModelSymbols();

  char lastErrorText_[kMessageSize] = "";
  std::string directory_;  ///< where the companions are loaded from; empty: the default search
  InitSource initFrom_ = FROM_NOSOURCE;
  std::string sourceFile_;
  std::vector<int> fileLabels_;  ///< label of each number in the file; empty: the same numbers
  loaders::zxfRec* zxf_ = nullptr;
  char zxfMessage_[228] = "";
  int defaultStorage_ = static_cast<int>(dmap::StorageTypes::Map);
  bool writeRecording_ = false;
  bool domainCheckInProgress_ = false;
  DataCallbacks callbacks_;
  SpecialValues callbackSpecialValues_ = kLibrarySpecialValues;
  SpecialValueMap specialValues_;
  uellist::UELList labels_{lastErrorText_};
  strpool::TStrHashPool texts_;
  symtable::TSymbolTable symbols_;
  std::unique_ptr<AbstractZDBSymbol> universe_;
  ModelLink model_;
};

/// Writes a trace line to standard output and flushes it; deeper steps are indented by two blanks a
/// level beyond 1. The caller tests ZDB::debugLevel.
void debug_out(const char* text, int depth);

}  // namespace zdb
