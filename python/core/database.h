#pragma once

#include <pybind11/pybind11.h>

#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "errors.h"
#include "texts.h"

namespace zdbpy {

class Database;

/// The result of a call that leaves its failure in the database.
inline std::optional<Failure> check(zdbHandle_t db, int done) {
  return done != 0 ? std::nullopt : std::optional(Failure::of(db));
}

/// A symbol of a database, which it keeps. The handle is null once the symbol has been removed or
/// the database has been closed; it is used within Database::call() only.
struct Symbol {
  std::shared_ptr<Database> db;
  zdbSymbol_t handle;
};

/// As a number of records that change: all of them.
inline constexpr std::int64_t kAllRecords = std::numeric_limits<std::int64_t>::max();

/// A database handle that any thread may use: calls wait for each other. It frees itself.
class Database : public std::enable_shared_from_this<Database> {
 public:
  Database();
  ~Database() { zdbfree(&handle_); }
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  /// Calls function(zdbHandle_t), which returns false after filling a Failure that it captured, or
  /// leaving it for the last error of the database, without the GIL; raises what failed. The lock
  /// is taken without the GIL too, so no thread waits for one while it holds the other.
  template <typename Function>
  void call(Function&& function) {
    std::optional<Failure> failure;
    {
      const pybind11::gil_scoped_release release;
      const std::scoped_lock lock(mutex_);
      if (handle_ == nullptr) {
        failure = closed();
      } else {
        zdbx_clear_error(handle_);
        failure = function(handle_);
      }
    }
    if (failure) raise(*failure);
  }
  /// The same for a symbol of this database: function(zdbHandle_t, zdbSymbol_t).
  template <typename Function>
  void call(const Symbol& symbol, Function&& function) {
    call([&](zdbHandle_t db) -> std::optional<Failure> {
      if (symbol.handle == nullptr) return removed();
      return function(db, symbol.handle);
    });
  }

  /// The same for a call that adds or deletes so many records, other than all.
  template <typename Function>
  void change(Symbol& symbol, std::int64_t records, Function&& function) {
    call(symbol, [&](zdbHandle_t db, zdbSymbol_t) -> std::optional<Failure> {
      if (auto failure = prepareChange(db, symbol, records)) return failure;
      return function(db, symbol.handle);
    });
  }

  /// Runs read(zdbHandle_t), which takes a file as the source, so that symbols have the storage
  /// that is read fastest; see change().
  template <typename Function>
  void readFile(Function&& read) {
    call([&](zdbHandle_t db) {
      c__zdbselectrecordstorage(db, nullptr, ZDB_STORAGE_VECTOR);
      const int done = read(db);
      c__zdbselectrecordstorage(db, nullptr, ZDB_STORAGE_MAP);
      return check(db, done);
    });
  }

  /// A call from another program's code, such as of a stream: function(zdbHandle_t or null).
  /// Needs no GIL.
  template <typename Function>
  auto callFromOutside(Function&& function) {
    const std::scoped_lock lock(mutex_);
    return function(handle_);
  }

  /// The object of a symbol; the same one as long as anybody has it. Within a call.
  std::shared_ptr<Symbol> symbolOf(zdbSymbol_t handle);

  /// Frees the database and empties its symbols; does nothing if it is closed already.
  void close();
  bool isClosed() const { return handle_ == nullptr; }
  void remove(Symbol& symbol);

 private:
  /// Moves a symbol with the storage of files to that for changes, unless so many records change
  /// that it does not matter.
  std::optional<Failure> prepareChange(zdbHandle_t db, Symbol& symbol, std::int64_t records);

  static Failure closed();
  static Failure removed();

  zdbHandle_t handle_ = nullptr;
  std::mutex mutex_;  ///< nothing of another program is called while it is held
  std::map<zdbSymbol_t, std::weak_ptr<Symbol>> symbols_;
};

void bindDatabase(pybind11::module_& module);
void bindSymbols(pybind11::module_& module);
void bindLabels(pybind11::module_& module);
void bindColumns(pybind11::module_& module);
void bindStreams(pybind11::module_& module);

}  // namespace zdbpy
