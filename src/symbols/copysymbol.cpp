#include "symbols/copysymbol.h"

#include "core/delivery.h"

namespace zdb {

namespace {

/// One copy. Labels and texts are added to the target's database, which also receives the messages.
class SymbolCopy {
 public:
  SymbolCopy(AbstractZDBSymbol& target, AbstractZDBSymbol& source)
      : target_(target), source_(source), db_(*target.database), from_(*source.database) {}

  bool run() {
    if (source_.isUniverse()) return copyUniverse();
    return source_.forEachRecordPred(
        [this](const int* keys, const double* values) { return copyRecord(keys, values); });
  }

 private:
  bool copyUniverse() const {
    static constexpr double noText[] = {0};
    const int highest = from_.highestLabel();
    for (int i = 1; i <= highest; ++i) {
      int number;
      if (!db_.labels().merge(from_.labels()[i], number)) return false;
      if (!target_.isUniverse()) target_.storeRow(&number, noText, false);
    }
    return true;
  }

  bool copyRecord(const int* keys, const double* values) const {
    int translated[kMaxDim];
    const int count = target_.isUniverse() ? 1 : source_.dim;
    if (!translateKeys(count, keys, translated)) return false;
    if (target_.isUniverse()) return true;
    if (target_.type != TypeSet) {
      target_.storeRow(translated, values, true);
      return true;
    }
    const double row[] = {textOf(values)};
    target_.storeRow(translated, row, true);
    return true;
  }

  bool translateKeys(int count, const int* keys, int* translated) const {
    for (int i = 0; i < count; ++i) {
      if (keys[i] < 0 || keys[i] > from_.highestLabel()) {
        return db_.setLastError(ErrorNotFound,
                                "Symbol %s has a record with the label number %d, which is unknown",
                                source_.name.c_str(), keys[i]);
      }
      translated[i] = keys[i];
      if (&from_ != &db_ && !db_.labels().merge(from_.labels()[keys[i]], translated[i])) {
        return false;
      }
    }
    return true;
  }

  /// The value of a set's record: the number that its text has in the target's database.
  double textOf(const double* values) const {
    char text[kMessageSize] = "";
    if (source_.type == TypeSet) from_.GetElemText(textNumber(values[0]), text);
    return db_.SetElemText(text);
  }

  AbstractZDBSymbol& target_;
  AbstractZDBSymbol& source_;
  ZDB& db_;
  ZDB& from_;
};

}  // namespace

bool copySymbol(ZDB& db, AbstractZDBSymbol* target, AbstractZDBSymbol* source) {
  source = source->aliasTarget;  // whose records an alias stands for: it has none of its own
  if (source->dim != target->dim)
    return db.setLastError(ErrorArgument, "Inconsistent symbol dimensions");
  if (source->type != target->type && target->type != TypeSet) {
    return db.setLastError(ErrorArgument, "Inconsistent symbol types");
  }
  // Clearing the target would lose the records.
  if (source == target) return true;
  if (!isAtRest(db, target)) return false;
  // First of all: without records to copy, the target keeps its own.
  ZDB& from = *source->database;
  if (!source->isUniverse() && !from.ensureLoaded(source)) return db.setLastError(from.error());
  if (!target->isUniverse()) {
    if (target->isLoaded) target->clear();
    target->isLoaded = true;
  }
  const bool copied = SymbolCopy(*target, *source).run();
  ZDB* into = target->database;
  if (!copied && into != &db) db.setLastError(into->error());
  into->markWritten(target);
  return copied;
}

}  // namespace zdb
