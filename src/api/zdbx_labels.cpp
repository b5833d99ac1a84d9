// Many labels in one call.
#include <cstring>

#include "api/bulkcall.h"

// NOLINTBEGIN(bugprone-reserved-identifier): the names are the interface.

extern "C" {

int zdbx_add_labels(zdbHandle_t db, const zdbx_texts* labels, int64_t count, int32_t* numbers,
                    int onFailure, zdbx_result* result) {
  return zdb::bulk(__func__, zdb::inside(db), result, [&](const zdb::BulkCall& call) {
    zdb::TextColumn texts;
    return call.countGiven(count, "count") && call.textsGiven(labels, "labels", texts) &&
           call.given(numbers, "numbers") && call.among(onFailure, ZDBX_SKIP, "onFailure") &&
           zdb::addLabels(call.db, texts, count, numbers, static_cast<zdb::OnFailure>(onFailure),
                          call.outcome);
  });
}

int zdbx_find_labels(zdbHandle_t db, const zdbx_texts* labels, int64_t count, int32_t* numbers,
                     zdbx_result* result) {
  return zdb::bulk(__func__, zdb::inside(db), result, [&](const zdb::BulkCall& call) {
    zdb::TextColumn texts;
    if (!call.countGiven(count, "count") || !call.textsGiven(labels, "labels", texts)) return false;
    if (!call.given(numbers, "numbers")) return false;
    zdb::findLabels(call.db, texts, count, numbers, call.outcome);
    return true;
  });
}

int zdbx_get_labels(zdbHandle_t db, int32_t first, int64_t count, char* bytes, int64_t capacity,
                    int64_t* offsets, int64_t* needed) {
  return zdb::bulk(__func__, zdb::inside(db), nullptr, [&](const zdb::BulkCall& call) {
    if (!call.given(needed, "needed") || !call.countGiven(count, "count")) return false;
    if (first < 1 || count > call.db.highestLabel() - first + 1) {
      return call.refuse("%s: there are no %lld labels from number %d on",
                         static_cast<long long>(count), first);
    }
    const zdb::uellist::UELList& labels = call.db.labels();
    int64_t size = 0;
    for (int64_t i = 0; i < count; ++i) {
      if (offsets != nullptr) offsets[i] = size;
      size += static_cast<int64_t>(labels.length(static_cast<int>(first + i)));
    }
    if (offsets != nullptr) offsets[count] = size;
    *needed = size;
    if (bytes == nullptr) return true;
    if (capacity < size) {
      return call.refuse("%s: the labels take %lld bytes, and there is room for %lld",
                         static_cast<long long>(size), static_cast<long long>(capacity));
    }
    for (int64_t i = 0; i < count; ++i) {
      const int number = static_cast<int>(first + i);
      bytes = std::copy_n(labels[number], labels.length(number), bytes);
    }
    return true;
  });
}

}  // extern "C"

// NOLINTEND(bugprone-reserved-identifier)
