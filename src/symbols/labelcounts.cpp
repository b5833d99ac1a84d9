#include "symbols/labelcounts.h"

#include <algorithm>

namespace zdb {

bool countLabels(ZDB& db, AbstractZDBSymbol* const* list, int count, int* counters, int length) {
  const int labels = db.labels().size();
  if (length < labels) {
    return db.setLastError(ErrorArgument, "Uel list size (%d) too short for %d uels", length,
                           labels);
  }
  std::fill_n(counters, length, 0);
  for (int i = 0; i < count; ++i) {
    AbstractZDBSymbol* symbol = list[i];
    if (symbol == nullptr) return db.setLastError(ErrorArgument, "No symbol handle specified");
    if (symbol->dim == 0 || symbol->isAlias()) continue;
    if (!db.ensureLoaded(symbol)) return false;
    symbol->forEachRecordKeys([&](const int* keys) {
      for (int d = 0; d < symbol->dim; ++d) {
        if (keys[d] >= 0 && keys[d] < length) ++counters[keys[d]];
      }
    });
  }
  return true;
}

}  // namespace zdb
