#pragma once

#include <memory>

#include "symbols/zdbsymboliterator.h"

namespace zdb {

/// A domain-violation handle: stands on a violating record, of whichever symbol and storage the
/// walk has come to. It is spent, without a record, once a walk has found no further violation.
class DomainViolation {
 public:
  explicit DomainViolation(std::unique_ptr<AbstractZDBSymbolIterator> record)
      : record_(std::move(record)) {}

  /// Null when spent, or when the symbol's records went in the meantime.
  AbstractZDBSymbolIterator* record() const {
    return isSpent_ || record_->hasEnded() ? nullptr : record_.get();
  }
  AbstractZDBSymbol* symbol() const { return record_->symbol; }

  /// On to the next violation of the same symbol; false, and spent, when there is none.
  bool moveNext() {
    isSpent_ = record() == nullptr || !record_->symbol->toNextDomainViolation(record_.get());
    return !isSpent_;
  }

  /// Stands on `record`, or is spent when that is null.
  void moveTo(std::unique_ptr<AbstractZDBSymbolIterator> record) {
    isSpent_ = record == nullptr;
    if (record) record_ = std::move(record);
  }

  /// Writes `dim` numbers: 1 at every violating position, else 0. Not for a spent handle.
  void indicate(int* positions) const {
    const int* keys = record_->getKeys();
    for (int i = 0; i < symbol()->dim; ++i)
      positions[i] = symbol()->violatesDomain(i, keys) ? 1 : 0;
  }

 private:
  std::unique_ptr<AbstractZDBSymbolIterator> record_;
  bool isSpent_ = false;
};

}  // namespace zdb
