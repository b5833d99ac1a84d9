#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "contract/names.h"
#include "core/datasource.h"
#include "core/functionref.h"
#include "core/handlenotes.h"
#include "core/lasterror.h"
#include "dmap/idmap.h"

namespace zdb {

class ZDB;
class AbstractZDBSymbolIterator;

/// Type codes of symbols, as in files and in the exported interface.
enum SymbolType : int {
  TypeSet = 0,
  TypeParameter = 1,
  TypeVariable = 2,
  TypeEquation = 3,
  TypeAlias = 4,
};

using contract::kMaxNameLength;             ///< longest symbol name and label, in bytes
using dmap::kMaxDim;                        // largest number of index positions
inline constexpr int kMaxTextLength = 255;  ///< longest explanatory text, in bytes
inline constexpr int kMaxValues = 5;        ///< level, marginal, lower, upper, scale

/// Doubles per record of a symbol of this type: 1 or 5.
inline constexpr int valueWidth(int type) {
  return type < TypeVariable ? 1 : kMaxValues;
}

/// What the database knows of a symbol without knowing how its records are stored.
///
/// The part that depends on the storage is ZDBSymbol<Map, It>. Records are accessed through the
/// virtual functions only; the fields are plain data that the database, the readers and the writers
/// share. Keys are arrays of `dim` label numbers, rows are valueWidth(type) doubles. A function
/// that returns a record handle returns a new object, which the caller deletes; null means that
/// there is no such record.
class AbstractZDBSymbol {
 public:
  using KeyVisitor = FunctionRef<void(const int* keys)>;
  using RecordVisitor = FunctionRef<void(const int* keys, const double* values)>;
  using RecordPredicate = FunctionRef<bool(const int* keys, const double* values)>;
  using ValueVisitor = FunctionRef<void(const double* values)>;

  AbstractZDBSymbol(ZDB* owner, std::string symbolName, int dimension, int typeCode, int position,
                    int info, std::string text)
      : dim(dimension),
        type(typeCode),
        userInfo(info),
        number(position),
        name(std::move(symbolName)),
        explText(std::move(text)),
        handleNotes(owner),
        database(owner),
        aliasTarget(this) {}
  AbstractZDBSymbol(const AbstractZDBSymbol&) = delete;
  AbstractZDBSymbol& operator=(const AbstractZDBSymbol&) = delete;

  virtual ~AbstractZDBSymbol() = default;

  /// Removes all records, and with them the memory of a load that failed.
  virtual void clear() = 0;
  virtual bool isEnd(const AbstractZDBSymbolIterator* it) = 0;
  virtual bool isEnd(const dmap::IDMapIterator& it) = 0;
  virtual bool isBegin(const dmap::IDMapIterator& it) = 0;
  virtual bool empty() const = 0;
  virtual int size() const = 0;
  /// Adds a record; an existing one is left as it is.
  virtual void addRecord(const int* keys, const double* values) = 0;
  /// Adds a record, in constant time if the key is greater than all others.
  virtual void addRecordEnd(const int* keys, const double* values) = 0;
  virtual void forEachRecordKeys(KeyVisitor visit) = 0;
  virtual void forEachRecord(RecordVisitor visit) = 0;
  /// Visits records in key order until `visit` returns false, and then returns false;
  /// otherwise true.
  virtual bool forEachRecordPred(RecordPredicate visit) = 0;
  virtual void forEachRecordValues(ValueVisitor visit) = 0;
  virtual AbstractZDBSymbolIterator* find(const int* keys) = 0;
  /// Handle on the first record.
  /// REQUIRES the symbol has records.
  virtual AbstractZDBSymbolIterator* getBegin() = 0;
  /// First record in key order that has the labels `keys` wherever these are not 0.
  virtual AbstractZDBSymbolIterator* findSlice(const int* keys) = 0;
  /// Finds or adds the record; a new one gets the default row for the symbol's type. Returns
  /// success and the record's row; makes a handle only if `out` is given.
  virtual std::pair<bool, double*> mergeRecord(int* keys, const double* variableDefaults,
                                               const double* equationDefaults,
                                               AbstractZDBSymbolIterator** out) = 0;
  /// Adds the record with the default row for the symbol's type; null if the key exists already.
  virtual AbstractZDBSymbolIterator* addRecord(int* keys, const double* variableDefaults,
                                               const double* equationDefaults) = 0;
  /// Adds the record or, if it exists and `overwrite` is true, replaces its row. Returns a handle
  /// in either case.
  virtual AbstractZDBSymbolIterator* addRecordRaw(const int* keys, const double* values,
                                                  bool overwrite) = 0;
  /// Adds a record after the last one added, for sources that deliver in key order.
  virtual void addRecordLastIt(const int* keys, const double* values) = 0;
  /// Handle on the last record.
  /// REQUIRES the symbol has records.
  virtual AbstractZDBSymbolIterator* getLast() = 0;
  /// Like findSlice, from the last record towards the first.
  virtual AbstractZDBSymbolIterator* findSliceBackwards(const int* keys) = 0;
  virtual dmap::StorageTypes getStorageType() const = 0;
  /// Like forEachRecordPred, but ends on the record for which `visit` returns false, and returns
  /// its result.
  virtual bool forEachRecordPredIt(RecordPredicate visit) = 0;
  /// Moves the handle to the next record outside a checked domain; false if there is none.
  virtual bool toNextDomainViolation(AbstractZDBSymbolIterator* it) = 0;
  /// Deletes the record at the handle, which must not be moved or read afterwards.
  virtual void deleteRecord(AbstractZDBSymbolIterator* it) = 0;
  /// Replaces this symbol's records by copies of the other's.
  /// REQUIRES both have the same dimension and value width.
  virtual void assignRecords(AbstractZDBSymbol* other) = 0;
  /// Replaces them by the other's own, which gets the old ones.
  /// REQUIRES both have the same storage, dimension and value width.
  virtual void takeRecords(AbstractZDBSymbol& other) = 0;
  /// Like addRecordRaw, but returns the record's row instead of a handle.
  virtual double* storeRow(const int* keys, const double* values, bool overwrite) = 0;
  /// A sink that adds records as addRecordEnd does, without a virtual call for each. Valid as long
  /// as the symbol.
  virtual RecordSink appender() = 0;
  /// The same for runs of records in key order, of which so many are expected.
  /// REQUIRES dim > 0 and the symbol is empty.
  virtual std::unique_ptr<RecordRuns> runAppender(std::optional<int> expected) = 0;

  int dim;       ///< index positions, 0 <= dim <= 20
  int type;      ///< a SymbolType
  int userInfo;  ///< the caller's; subtype of variables and equations, set number of an alias
  int number;    ///< position in the symbol table; -1 for the universe
  /// What remains when numbers change or another storage replaces the symbol: larger for symbols
  /// that were added later, and never used again. 0 for the universe and outside a table.
  std::uint64_t serial = 0;
  bool isLoaded = true;  ///< false while the records are still in the data source
  /// Records went from the source straight to the host once, while the symbol was not loaded.
  bool hasBeenPassedOn = false;
  bool isDomain = false;   ///< some symbol has this one as a domain
  bool isWritten = false;  ///< changed while write recording was active
  /// Why the records that should be here are not, or not all of them; null otherwise. What is known
  /// to be a part must neither be used nor written as if it were the whole.
  std::unique_ptr<LastError> loadFailure;
  std::string name;         ///< at most 63 bytes
  std::string explText;     ///< at most 255 bytes
  HandleNotes handleNotes;  ///< for the handles on its records
  /// For each label number, whether it is a record of this set; empty unless domains are checked.
  std::vector<int> domainLookup;
  ZDB* database;                            ///< owner
  AbstractZDBSymbol* aliasTarget;           ///< itself; for an alias, its set (or the universe)
  std::vector<AbstractZDBSymbol*> domains;  ///< per position; null: known by name only
  std::vector<std::string> domainNames;     ///< the name where `domains` holds null, else empty

  /// Whether a record with this key lies outside the domain of a position that is being checked.
  bool violatesDomain(int position, const int* keys) const {
    const AbstractZDBSymbol* domain = domains[position];
    if (domain == nullptr || domain->aliasTarget->domainLookup.empty()) return false;
    const std::vector<int>& lookup = domain->aliasTarget->domainLookup;
    const auto label = static_cast<std::size_t>(keys[position]);  // negative: becomes too large
    return label >= lookup.size() || lookup[label] == 0;
  }
  bool violatesDomains(const int* keys) const {
    for (int i = 0; i < dim; ++i) {
      if (violatesDomain(i, keys)) return true;
    }
    return false;
  }

  /// Whether this is a one-dimensional set, or an alias of one, which can be a domain.
  bool canBeDomain() const { return dim == 1 && (type == TypeSet || type == TypeAlias); }
  /// Marks this symbol as the domain of another one; for an alias, its set, which is checked.
  void markAsDomain() {
    isDomain = true;
    aliasTarget->isDomain = true;
  }

  /// Makes a new symbol a copy of another one but for the storage: flags, domains and records.
  /// REQUIRES both have the same name, dimension and type.
  void assign(AbstractZDBSymbol& other);

  bool isAlias() const { return type == TypeAlias; }
  bool isUniverse() const { return number == -1; }
};

}  // namespace zdb
