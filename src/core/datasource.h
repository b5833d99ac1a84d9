#pragma once

#include <array>
#include <memory>
#include <optional>
#include <vector>

#include "core/functionref.h"
#include "core/lasterror.h"
#include "dmap/idmap.h"

namespace zdb {

class AbstractZDBSymbol;

/// Where the data of a database comes from. A message shows these numbers.
enum InitSource : int {
  FROM_NOSOURCE = 0,      ///< none yet
  FROM_ZXF = 1,           ///< a data exchange file, still open
  FROM_ZMI = 2,           ///< a model instance
  FROM_MEMORY = 3,        ///< everything is in memory
  FROM_DMRF = 4,          ///< callbacks that load symbols on first use
  FROM_DATACALLBACKS = 6  ///< data callbacks, which load nothing
};

/// Receives the records that a source delivers: a key of the symbol's `dim` label numbers in the
/// database, and a row of the symbol's value width with the library's special values. The source
/// owns both; they are valid during the call only.
using RecordSink = FunctionRef<void(const int* key, const double* values)>;

/// Where the next records of a source go, by the column: label `p` of record `i`, counted from 0,
/// to keys[p][i * keyStep], value `v` to values[v][i * valueStep].
struct RecordRoom {
  int records = 0;  ///< how many there is room for, at least 1
  std::array<int*, dmap::kMaxDim> keys{};
  int keyStep = 1;
  std::array<double*, 5> values{};
  int valueStep = 1;
};

/// Receives records many at a time, as RecordSink does one by one, where it has room for them.
class RecordRuns {
 public:
  virtual ~RecordRuns() = default;
  virtual RecordRoom room() = 0;
  /// So many records have been written to the room. What lies after them there has no meaning.
  virtual void taken(int count) = 0;
};

/// Holds the records of symbols that have not been loaded yet.
///
/// A source is made for one database, which owns it, and does not know where records go: loading a
/// symbol and copying it to a file that is being written differ in the sink only.
class DataSource {
 public:
  DataSource() = default;
  DataSource(const DataSource&) = delete;
  DataSource& operator=(const DataSource&) = delete;
  virtual ~DataSource() = default;

  /// The database loads symbols from this source while its state has this value.
  virtual InitSource kind() const = 0;
  /// Delivers all records of a symbol. On failure returns false and leaves a message in the
  /// database's last-error text; the records before the failure have been delivered.
  virtual bool read(const AbstractZDBSymbol& symbol, RecordSink sink) = 0;
  /// Whether records are delivered in the database's key order.
  virtual bool isInKeyOrder() const = 0;

  /// Whether readRuns() can be called.
  virtual bool deliversRuns() const { return false; }
  /// As read(), but many at a time, in key order.
  /// REQUIRES deliversRuns().
  virtual bool readRuns(const AbstractZDBSymbol& /*symbol*/, RecordRuns& /*sink*/) { return false; }
  /// How many records readRuns() delivers if nothing is wrong with them; none if it is not known.
  /// REQUIRES deliversRuns().
  virtual std::optional<int> recordCount(const AbstractZDBSymbol& /*symbol*/) { return {}; }
};

/// The data sources of a database, at most one of each kind, and which of them symbols that are not
/// loaded yet come from.
class DataSources {
 public:
  InitSource current() const { return current_; }
  void setCurrent(InitSource state) { current_ = state; }
  /// Null if none of this kind is attached.
  DataSource* find(int kind) const;
  /// Replaces a source of the same kind that was attached before.
  DataSource& attach(std::unique_ptr<DataSource> source);
  void drop(InitSource kind);
  /// Reads a symbol's records from the current source. The symbol counts as loaded even if that
  /// fails, and remembers why it did. `error` is the database's last one.
  bool load(AbstractZDBSymbol& symbol, LastError& error) const;

 private:
  InitSource current_ = FROM_NOSOURCE;
  std::vector<std::unique_ptr<DataSource>> sources_;
};

}  // namespace zdb
