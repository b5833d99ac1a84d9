// Filling a database with the contents of another.
#include <vector>

#include "core/zdb.h"
#include "io/trace.h"

namespace zdb {

namespace {

/// One copy of a database into an empty one.
class DatabaseCopy {
 public:
  DatabaseCopy(ZDB& db, ZDB& source) : db_(db), source_(source) {}

  bool run();

 private:
  bool isEmpty();
  void copyTexts();
  bool copySymbol(AbstractZDBSymbol& from);
  void copyRecords(AbstractZDBSymbol& from, AbstractZDBSymbol& copy);
  void copyDomains(const AbstractZDBSymbol& from);

  ZDB& db_;
  ZDB& source_;
  std::vector<int> textNumbers_;  ///< in this database, by the number in the source
  bool textsKeepNumbers_ = true;
};

/// Whether a symbol without records may get some from the model that its database is tied to.
bool isInModel(const AbstractZDBSymbol& symbol) {
  return (symbol.type == TypeVariable || symbol.type == TypeEquation) &&
         symbol.database->source(FROM_ZMI) != nullptr;
}

bool DatabaseCopy::run() {
  if (!isEmpty()) return false;
  db_.setInitFrom(FROM_MEMORY);
  db_.labels() = source_.labels();
  copyTexts();
  for (int i = 0; i < source_.symbols().size(); ++i) {
    if (!copySymbol(*source_.symbols()[i])) return false;
  }
  for (int i = 0; i < source_.symbols().size(); ++i) copyDomains(*source_.symbols()[i]);
  return true;
}

bool DatabaseCopy::isEmpty() {
  if (db_.labels().size() > 1) {
    return db_.setLastError(ErrorState, "Uels present. Cannot load Uels from other database.");
  }
  if (!db_.symbols().empty()) {
    return db_.setLastError(ErrorState,
                            "Symbols present. Cannot load symbols from other database.");
  }
  return db_.GetInitFrom() == FROM_NOSOURCE || db_.GetInitFrom() == FROM_MEMORY ||
         db_.setLastError(ErrorState, "Database incorrectly initialized.");
}

/// Set records hold text numbers, so the texts are copied too: with the same numbers, unless this
/// database has texts already, from a file with nothing else in it.
void DatabaseCopy::copyTexts() {
  strpool::TStrHashPool& texts = source_.textPool();
  textNumbers_.reserve(static_cast<std::size_t>(texts.size()));
  for (int i = 0; i < texts.size(); ++i) {
    textNumbers_.push_back(db_.SetElemText(texts.get(i)));
    textsKeepNumbers_ = textsKeepNumbers_ && textNumbers_.back() == i;
  }
}

bool DatabaseCopy::copySymbol(AbstractZDBSymbol& from) {
  // Before there is a copy, which could be taken for a symbol without records.
  const int initFrom = source_.GetInitFrom();
  const bool isLoadable = from.isLoaded || initFrom == FROM_ZXF || initFrom == FROM_DMRF;
  if (isLoadable && !from.isAlias() && !source_.ensureLoaded(&from)) {
    return db_.setLastError(source_.error());
  }
  auto made = db_.symbolFactory(db_.defaultStorage(), from.name, from.dim, from.type, from.number,
                                from.userInfo, from.explText);
  if (!made) {
    isStorageUnknown(db_, from.name);  // which it is, and which this reports
    return false;
  }
  AbstractZDBSymbol* copy = db_.insertSymbol(std::move(made));
  if (from.isAlias()) {
    const AbstractZDBSymbol* target = from.aliasTarget;
    copy->aliasTarget = target->isUniverse() ? db_.universe() : db_.symbols()[target->name.c_str()];
    return true;
  }
  // What has not been loaded from a model instance can be loaded later; everything else is
  // loaded now.
  copy->isLoaded = from.isLoaded || !isInModel(from);
  copyRecords(from, *copy);
  return true;
}

void DatabaseCopy::copyRecords(AbstractZDBSymbol& from, AbstractZDBSymbol& copy) {
  if (from.type != TypeSet || textsKeepNumbers_) {
    copy.assignRecords(&from);
    return;
  }
  from.forEachRecord([&](const int* keys, const double* values) {
    const auto number = static_cast<std::size_t>(textNumber(values[0]));
    const double row[] = {number < textNumbers_.size() ? double(textNumbers_[number]) : 0.0};
    copy.addRecordEnd(keys, row);
  });
}

void DatabaseCopy::copyDomains(const AbstractZDBSymbol& from) {
  if (from.isAlias()) return;
  AbstractZDBSymbol* copy = db_.symbols()[from.name.c_str()];
  for (int d = 0; d < from.dim; ++d) {
    AbstractZDBSymbol* domain = from.domains[d];
    if (domain == source_.universe()) {
      domain = db_.universe();
    } else if (domain != nullptr) {
      domain = db_.symbols()[domain->name.c_str()];
      domain->markAsDomain();
    }
    copy->domains[d] = domain;
    copy->domainNames[d] = from.domainNames[d];
  }
}

}  // namespace

bool ZDB::InitFromDB(ZDB* source) {
  traceStep("---- Entering InitFromDB ----");
  return DatabaseCopy(*this, *source).run();
}

}  // namespace zdb
