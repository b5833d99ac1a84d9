#pragma once

#include <memory>

#include "core/zdb.h"
#include "symbols/domaincheck.h"
#include "symbols/zdbsymboliterator.h"

namespace zdb {

/// A domain violation handle: a position at a violating record of any symbol and storage. It is
/// spent, that is, has no record, once a walk has found no further violation.
class DomainViolation {
 public:
  explicit DomainViolation(std::unique_ptr<AbstractZDBSymbolIterator> record) {
    moveTo(std::move(record));
  }

  const ZDB* database() const { return database_; }
  /// The symbol's serial, even if the symbol itself no longer exists.
  std::uint64_t symbolSerial() const { return symbolSerial_; }
  /// Null if spent, or if the record, all records of its symbol or the symbol were
  /// removed meanwhile.
  AbstractZDBSymbolIterator* record() const {
    if (isSpent_ || record_->hasEnded()) return nullptr;
    record_->catchUp();
    return record_->getKeys() != nullptr ? record_.get() : nullptr;
  }
  /// REQUIRES record() != nullptr.
  AbstractZDBSymbol* symbol() const { return record_->symbol; }

  /// To be called before the two functions below if another check may have ended meanwhile, which
  /// drops the look-ups of domains. False and a message if a domain cannot be loaded.
  bool refreshDomains() const { return record() == nullptr || noteDomainLabels(*symbol()); }

  /// Moves to the next violation of the same symbol; returns false and is spent if there is none.
  bool moveNext() {
    isSpent_ = record() == nullptr || !symbol()->toNextDomainViolation(record_.get());
    return !isSpent_;
  }

  /// Moves to `record`; if that is null, the handle is spent.
  void moveTo(std::unique_ptr<AbstractZDBSymbolIterator> record) {
    isSpent_ = record == nullptr;
    if (isSpent_) return;
    record_ = std::move(record);
    database_ = record_->symbol->database;
    symbolSerial_ = record_->symbol->serial;
  }

  /// Writes `dim` numbers: 1 at every violating position, else 0.
  /// REQUIRES record() != nullptr.
  void indicate(int* positions) const {
    const int* keys = record_->getKeys();
    for (int i = 0; i < symbol()->dim; ++i)
      positions[i] = symbol()->violatesDomain(i, keys) ? 1 : 0;
  }

 private:
  std::unique_ptr<AbstractZDBSymbolIterator> record_;
  ZDB* database_ = nullptr;
  std::uint64_t symbolSerial_ = 0;
  bool isSpent_ = false;
};

}  // namespace zdb
