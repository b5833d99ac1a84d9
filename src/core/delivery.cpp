#include "core/delivery.h"

#include <utility>

#include "core/zdb.h"

namespace zdb {

namespace {

thread_local Delivery* innermost = nullptr;

}  // namespace

Delivery::Delivery(const AbstractZDBSymbol& symbol)
    : symbol_(symbol), outer_(std::exchange(innermost, this)) {}

Delivery::~Delivery() {
  innermost = outer_;
}

bool isAtRest(ZDB& db, const AbstractZDBSymbol* symbol) {
  for (const Delivery* one = innermost; one != nullptr; one = one->outer_) {
    const AbstractZDBSymbol& delivered = one->symbol_;
    if (symbol != nullptr ? symbol == &delivered : delivered.database == &db) {
      return db.setLastError(ErrorState, "Symbol %s is being loaded", delivered.name.c_str());
    }
  }
  return true;
}

}  // namespace zdb
