#pragma once

#include <memory>

#include "core/zdb.h"
#include "symbols/domaincheck.h"
#include "symbols/zdbsymboliterator.h"

namespace zdb {

/// A domain-violation handle: stands on a violating record, of whichever symbol and storage the
/// walk has come to. It is spent, without a record, once a walk has found no further violation.
class DomainViolation {
 public:
  explicit DomainViolation(std::unique_ptr<AbstractZDBSymbolIterator> record) {
    moveTo(std::move(record));
  }

  const ZDB* database() const { return database_; }
  /// The symbol's place in the table, also when the symbol itself has gone.
  int symbolNumber() const { return symbolNumber_; }
  /// Null when spent, or when the record, all records of its symbol or the symbol went meanwhile.
  AbstractZDBSymbolIterator* record() const {
    if (isSpent_ || record_->hasEnded()) return nullptr;
    record_->catchUp();
    return record_->getKeys() != nullptr ? record_.get() : nullptr;
  }
  /// Only while there is a record.
  AbstractZDBSymbol* symbol() const { return record_->symbol; }

  /// To be called before the two below when another check may have ended meanwhile, which drops the
  /// notes of its domains. False and a message when a domain cannot be loaded.
  bool refreshDomains() const { return record() == nullptr || noteDomainLabels(*symbol()); }

  /// On to the next violation of the same symbol; false, and spent, when there is none.
  bool moveNext() {
    isSpent_ = record() == nullptr || !symbol()->toNextDomainViolation(record_.get());
    return !isSpent_;
  }

  /// Stands on `record`, or is spent when that is null.
  void moveTo(std::unique_ptr<AbstractZDBSymbolIterator> record) {
    isSpent_ = record == nullptr;
    if (isSpent_) return;
    record_ = std::move(record);
    database_ = record_->symbol->database;
    symbolNumber_ = record_->symbol->number;
  }

  /// Writes `dim` numbers: 1 at every violating position, else 0. Only while there is a record.
  void indicate(int* positions) const {
    const int* keys = record_->getKeys();
    for (int i = 0; i < symbol()->dim; ++i)
      positions[i] = symbol()->violatesDomain(i, keys) ? 1 : 0;
  }

 private:
  std::unique_ptr<AbstractZDBSymbolIterator> record_;
  ZDB* database_ = nullptr;
  int symbolNumber_ = -1;
  bool isSpent_ = false;
};

}  // namespace zdb
