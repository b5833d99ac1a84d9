#pragma once

#include "core/functionref.h"

namespace zdb {

class AbstractZDBSymbol;

/// Where the data of a database comes from. The numbers are shown in a message.
enum InitSource : int {
  FROM_NOSOURCE = 0,      ///< fresh
  FROM_ZXF = 1,           ///< a data exchange file, still open
  FROM_ZMI = 2,           ///< a model instance
  FROM_MEMORY = 3,        ///< everything is in memory
  FROM_DMRF = 4,          ///< callbacks that load symbols on first use
  FROM_DATACALLBACKS = 6  ///< data callbacks, which load nothing
};

/// What takes the records that a source delivers: a key of the symbol's `dim` label numbers of the
/// database, and a row of the symbol's value width in the library's special values. Both are the
/// source's and may change as soon as the call returns.
using RecordSink = FunctionRef<void(const int* key, const double* values)>;

/// What holds the records of symbols that have not been loaded yet.
///
/// A source is made for one database, which owns it, and knows nothing of where records go: loading
/// a symbol and copying it into a file that is being written differ in the sink alone.
class DataSource {
 public:
  DataSource() = default;
  DataSource(const DataSource&) = delete;
  DataSource& operator=(const DataSource&) = delete;
  virtual ~DataSource() = default;

  /// The state of the database in which this source loads its symbols.
  virtual InitSource kind() const = 0;
  /// Delivers all records of a symbol. False and a message in the database's last-error text on
  /// failure; the records before it have been delivered by then.
  virtual bool read(const AbstractZDBSymbol& symbol, RecordSink sink) = 0;
  /// Whether records come in the database's key order.
  virtual bool isInKeyOrder() const = 0;
};

}  // namespace zdb
