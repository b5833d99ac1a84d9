#include <algorithm>

#include "core/zdb.h"

// Copying the records of a symbol, within a database or across two.
namespace zdb {

bool ZDB::CopySymbol(AbstractZDBSymbol* target, AbstractZDBSymbol* source) {
  if (source->dim != target->dim) return setLastError("Inconsistent symbol dimensions");
  if (source->type != target->type && target->type != TypeSet) {
    return setLastError("Inconsistent symbol types");
  }
  if (source == target) return true;  // clearing the target would lose what is to be copied
  ZDB* into = target->database;
  if (!target->isUniverse()) {
    if (target->isLoaded) target->clear();
    target->isLoaded = true;
  }
  const bool copied = into->copyInto(target, source);
  // Labels and records report to the database that they enter; the caller asks this one.
  if (!copied && into != this) setLastError("%s", into->lastError());
  into->markWritten(target);
  return copied;
}

bool ZDB::copyInto(AbstractZDBSymbol* target, AbstractZDBSymbol* source) {
  ZDB* from = source->database;
  if (source->isUniverse()) return copyUniverse(target, *from);
  if (!from->ensureLoaded(source)) return setLastError("%s", from->lastError());
  return source->forEachRecordPred([&](const int* keys, const double* values) {
    return copyRecord(target, *source, keys, values);
  });
}

bool ZDB::copyUniverse(AbstractZDBSymbol* target, const ZDB& from) {
  static constexpr double noText[] = {0};
  const int highest = from.highestLabel();
  for (int i = 1; i <= highest; ++i) {
    int number;
    if (!labels_.merge(from.labels()[i], number)) return false;
    if (!target->isUniverse()) target->storeRow(&number, noText, false);
  }
  return true;
}

bool ZDB::translateKeys(const AbstractZDBSymbol& source, int count, const int* keys,
                        int* translated) {
  const ZDB* from = source.database;
  for (int i = 0; i < count; ++i) {
    if (keys[i] < 0 || keys[i] > from->highestLabel()) {
      return setLastError("Symbol %s has a record with the label number %d, which is unknown",
                          source.name.c_str(), keys[i]);
    }
    translated[i] = keys[i];
    if (from != this && !labels_.merge(from->labels()[keys[i]], translated[i])) return false;
  }
  return true;
}

bool ZDB::copyRecord(AbstractZDBSymbol* target, const AbstractZDBSymbol& source, const int* keys,
                     const double* values) {
  int translated[kMaxDim];
  const int count = target->isUniverse() ? 1 : source.dim;
  if (!translateKeys(source, count, keys, translated)) return false;
  if (target->isUniverse()) return true;
  if (target->type != TypeSet) {
    target->storeRow(translated, values, true);
    return true;
  }
  char text[kMessageSize] = "";
  if (source.type == TypeSet) source.database->GetElemText(textNumber(values[0]), text);
  const double row[] = {static_cast<double>(SetElemText(text))};
  target->storeRow(translated, row, true);
  return true;
}

}  // namespace zdb
