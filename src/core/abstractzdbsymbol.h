#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "contract/names.h"
#include "core/datasource.h"
#include "core/functionref.h"
#include "dmap/idmap.h"

namespace zdb {

class ZDB;
class AbstractZDBSymbolIterator;

/// Type codes of symbols, as they stand in files and in the exported interface.
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
/// The storage-specific half is ZDBSymbol<Map, It>. Records are reached only through the virtual
/// operations; the fields are plain data that the database, the readers and the writers share.
/// Keys are arrays of `dim` label numbers, rows are valueWidth(type) doubles. Operations that
/// return a record handle give the caller a new object to delete; null means "no such record".
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
        database(owner),
        aliasTarget(this) {}
  AbstractZDBSymbol(const AbstractZDBSymbol&) = delete;
  AbstractZDBSymbol& operator=(const AbstractZDBSymbol&) = delete;

  virtual ~AbstractZDBSymbol() = default;

  /// Removes all records.
  virtual void clear() = 0;
  virtual bool isEnd(const AbstractZDBSymbolIterator* it) = 0;
  virtual bool isEnd(const dmap::IDMapIterator& it) = 0;
  virtual bool isBegin(const dmap::IDMapIterator& it) = 0;
  virtual bool empty() const = 0;
  virtual int size() const = 0;
  /// Plain insert; an existing record is left alone.
  virtual void addRecord(const int* keys, const double* values) = 0;
  /// Appends; constant time when the key is above every present one.
  virtual void addRecordEnd(const int* keys, const double* values) = 0;
  virtual void forEachRecordKeys(KeyVisitor visit) = 0;
  virtual void forEachRecord(RecordVisitor visit) = 0;
  /// Stops at the first false and returns it; true when every record was visited.
  virtual bool forEachRecordPred(RecordPredicate visit) = 0;
  virtual void forEachRecordValues(ValueVisitor visit) = 0;
  virtual AbstractZDBSymbolIterator* find(const int* keys) = 0;
  /// Handle on the first record; only for symbols that have one.
  virtual AbstractZDBSymbolIterator* getBegin() = 0;
  /// First record in key order that agrees with `keys` wherever those are not 0.
  virtual AbstractZDBSymbolIterator* findSlice(const int* keys) = 0;
  /// Finds or creates the record; a new one gets the row that fits the symbol's type. Returns
  /// whether it worked and the record's row; a handle is made only when `out` is given.
  virtual std::pair<bool, double*> mergeRecord(int* keys, const double* variableDefaults,
                                               const double* equationDefaults,
                                               AbstractZDBSymbolIterator** out) = 0;
  /// Creates the record with the row that fits the symbol's type; null when the key is present.
  virtual AbstractZDBSymbolIterator* addRecord(int* keys, const double* variableDefaults,
                                               const double* equationDefaults) = 0;
  /// Inserts, or replaces the row of a present record when `overwrite` holds; a handle either way.
  virtual AbstractZDBSymbolIterator* addRecordRaw(const int* keys, const double* values,
                                                  bool overwrite) = 0;
  /// Appends after the record added last; for sources that deliver in key order.
  virtual void addRecordLastIt(const int* keys, const double* values) = 0;
  /// Handle on the last record; only for symbols that have one.
  virtual AbstractZDBSymbolIterator* getLast() = 0;
  /// As findSlice, from the last record towards the first.
  virtual AbstractZDBSymbolIterator* findSliceBackwards(const int* keys) = 0;
  virtual dmap::StorageTypes getStorageType() const = 0;
  /// As forEachRecordPred, but the visitor may stop on a record and the walk ends with its verdict.
  virtual bool forEachRecordPredIt(RecordPredicate visit) = 0;
  /// Moves the handle on to the next record outside a checked domain; false when there is none.
  virtual bool toNextDomainViolation(AbstractZDBSymbolIterator* it) = 0;
  /// Removes the record under the handle, which must not be moved or read afterwards.
  virtual void deleteRecord(AbstractZDBSymbolIterator* it) = 0;
  /// Replaces this symbol's records by copies of the other's (equal dim and value width).
  virtual void assignRecords(AbstractZDBSymbol* other) = 0;
  /// The row that addRecordRaw would give a handle on, without making the handle.
  virtual double* storeRow(const int* keys, const double* values, bool overwrite) = 0;
  /// Takes records as addRecordEnd does, without a virtual call for each; ends with the symbol.
  virtual RecordSink appender() = 0;

  int dim;                 ///< index positions, 0..20
  int type;                ///< a SymbolType
  int userInfo;            ///< caller's; subtype of variables and equations, set number of an alias
  int number;              ///< position in the symbol table; -1 for the universe
  int generation = 0;      ///< raised when all records go at once, which ends every handle
  bool isLoaded = true;    ///< false: the records are still with the data source
  bool isDomain = false;   ///< some symbol has this one as a domain
  bool isWritten = false;  ///< changed while write recording was active
  std::string name;        ///< at most 63 bytes
  std::string explText;    ///< at most 255 bytes
  /// Per label number, whether it is a record of this set; empty unless domains are checked.
  std::vector<int> domainLookup;
  ZDB* database;                   ///< owner
  AbstractZDBSymbol* aliasTarget;  ///< itself, or the set (or universe) an alias stands for
  std::vector<AbstractZDBSymbol*> domains;  ///< per position; null: known by name only
  std::vector<std::string> domainNames;     ///< the name where `domains` holds null, else empty

  /// Whether a record with this key lies outside the domain of a position that is being checked.
  bool violatesDomain(int position, const int* keys) const {
    const AbstractZDBSymbol* domain = domains[position];
    if (domain == nullptr || domain->aliasTarget->domainLookup.empty()) return false;
    const std::vector<int>& lookup = domain->aliasTarget->domainLookup;
    const auto label = static_cast<std::size_t>(keys[position]);  // negative: beyond every label
    return label >= lookup.size() || lookup[label] == 0;
  }
  bool violatesDomains(const int* keys) const {
    for (int i = 0; i < dim; ++i) {
      if (violatesDomain(i, keys)) return true;
    }
    return false;
  }

  /// A set or an alias of one, over which a position of another symbol can run.
  bool canBeDomain() const { return dim == 1 && (type == TypeSet || type == TypeAlias); }
  /// Notes that another symbol has this one as a domain; an alias is checked through its set.
  void markAsDomain() {
    isDomain = true;
    aliasTarget->isDomain = true;
  }

  bool isAlias() const { return type == TypeAlias; }
  bool isUniverse() const { return number == -1; }
};

}  // namespace zdb
