#pragma once

namespace zdb {

class AbstractZDBSymbol;
class ZDB;

/// From construction to destruction, callbacks of the caller deliver the records of a symbol in
/// this thread. They may use the database, but must find the symbol as it was when they return.
class Delivery {
 public:
  explicit Delivery(const AbstractZDBSymbol& symbol);
  ~Delivery();
  Delivery(const Delivery&) = delete;
  Delivery& operator=(const Delivery&) = delete;

 private:
  friend bool isAtRest(ZDB& db, const AbstractZDBSymbol* symbol);

  const AbstractZDBSymbol& symbol_;
  Delivery* const outer_;  ///< callbacks may use another symbol, which is loaded for them
};

/// Whether nothing of the database is being delivered to it or to its file, or, given a symbol, not
/// that one: what would take away what the delivery needs is refused. Reports what is delivered.
bool isAtRest(ZDB& db, const AbstractZDBSymbol* symbol = nullptr);

}  // namespace zdb
