// Many records in one call.
#include <algorithm>
#include <limits>
#include <memory>
#include <optional>

#include "api/bulkcall.h"
#include "symbols/records.h"

// NOLINTBEGIN(bugprone-reserved-identifier): the names are the interface.

/// What hosts know as a cursor.
struct zdbxCursor : zdb::RecordCursor {
  using RecordCursor::RecordCursor;
};

namespace {

using zdb::AbstractZDBSymbol;
using zdb::BulkCall;

/// The symbol to read: of an alias, its set. Null and a message on failure.
AbstractZDBSymbol* readable(const BulkCall& call, AbstractZDBSymbol* symbol) {
  return symbolGiven(call.frame(), symbol) ? symbol->aliasTarget : nullptr;
}

/// Makes sure that its records are there. Comes after all arguments have been checked, as it may
/// take long and lasts.
bool loaded(const BulkCall& call, AbstractZDBSymbol& symbol) {
  return symbol.isUniverse() || call.db.ensureLoaded(&symbol);
}

bool keyColumnsGiven(const BulkCall& call, const AbstractZDBSymbol& symbol,
                     const zdbx_columns& from, zdb::RecordColumns& columns) {
  if (!call.countGiven(from.rows, "rows")) return false;
  columns.rows = from.rows;
  for (int i = 0; i < symbol.dim && from.rows > 0; ++i) {
    if (from.keys[i].data == nullptr)
      return call.refuse("%s: argument keys[%d] must not be null", i);
    columns.keys[static_cast<std::size_t>(i)] = zdb::inside<int>(from.keys[i]);
  }
  return true;
}

/// Values of a set are its texts, which have numbers that hosts cannot know.
bool valueColumnsGiven(const BulkCall& call, const AbstractZDBSymbol& symbol,
                       const zdbx_columns& from, zdb::RecordColumns& columns) {
  const bool isSet = symbol.type == zdb::TypeSet;
  if (isSet && from.values[0].data != nullptr) {
    return call.refuse("%s: records of set %s have texts and no values", symbol.name.c_str());
  }
  if (!isSet && from.texts != nullptr) {
    return call.refuse("%s: records of symbol %s have values and no texts", symbol.name.c_str());
  }
  for (int i = 0; !isSet && i < zdb::valueWidth(symbol.type); ++i) {
    columns.values[static_cast<std::size_t>(i)] = zdb::inside<double>(from.values[i]);
  }
  return from.texts == nullptr || call.textsGiven(from.texts, "texts", columns.texts);
}

bool buffersGiven(const BulkCall& call, const zdbx_buffers* given, zdb::RecordBuffers& buffers) {
  if (!call.structGiven(given, "buffers") || !call.countGiven(given->rows, "rows")) return false;
  buffers.rows = given->rows;
  for (std::size_t i = 0; i < buffers.keys.size(); ++i) {
    buffers.keys[i] = zdb::inside<int>(given->keys[i]);
    buffers.labels[i] = zdb::inside<const char*>(given->labels[i]);
  }
  for (std::size_t i = 0; i < buffers.values.size(); ++i) {
    buffers.values[i] = zdb::inside<double>(given->values[i]);
  }
  buffers.texts = zdb::inside<const char*>(given->texts);
  return true;
}

/// Whether the records that the cursor was opened for are still there.
bool cursorGiven(const BulkCall& call, const zdbxCursor* cursor) {
  if (!call.given(cursor, "cursor")) return false;
  const zdb::HandleNotes::Reader& notes = cursor->notes();
  if (notes.database() != &call.db) {
    return failWith(call.db, call.outcome, zdb::ErrorHandle,
                    "%s: the cursor belongs to another database", call.function);
  }
  return (!notes.isSymbolGone() && !notes.hasEnded()) ||
         failWith(call.db, call.outcome, zdb::ErrorHandle,
                  "%s: the records of this cursor were removed; open another one", call.function);
}

bool isOpen(const AbstractZDBSymbol& symbol, const int* slice) {
  return slice == nullptr || std::all_of(slice, slice + symbol.dim, [](int n) { return n == 0; });
}

/// A handle at the first or last record of a slice.
zdb::AbstractZDBSymbolIterator* sliceHandle(const BulkCall& call, AbstractZDBSymbol& symbol,
                                            const int* slice, bool backwards) {
  if (isOpen(symbol, slice)) {
    return backwards ? findLastRecord(call.db, &symbol) : findFirstRecord(call.db, &symbol);
  }
  if (symbol.isUniverse()) {
    call.refuse("%s: a slice of the Universe must be open");
    return nullptr;
  }
  auto* record = backwards ? symbol.findSliceBackwards(slice) : symbol.findSlice(slice);
  if (record == nullptr) {
    failWith(call.db, call.outcome, zdb::ErrorNotFound, "%s: symbol %s has no record of this slice",
             call.function, symbol.name.c_str());
  }
  return record;
}

}  // namespace

extern "C" {

int zdbx_put_records(zdbHandle_t db, zdbSymbol_t symbol, const zdbx_columns* records, int mode,
                     int onFailure, zdbx_result* result) {
  return zdb::bulk(__func__, zdb::inside(db), result, [&](const BulkCall& call) {
    AbstractZDBSymbol* target = zdb::inside(symbol);
    zdb::RecordColumns columns;
    if (!call.fillable(target) || !call.structGiven(records, "records") ||
        !call.among(mode, ZDBX_ADD, "mode") || !call.among(onFailure, ZDBX_SKIP, "onFailure") ||
        !keyColumnsGiven(call, *target, *records, columns) ||
        !valueColumnsGiven(call, *target, *records, columns)) {
      return false;
    }
    if (columns.rows > std::numeric_limits<int>::max()) {
      return call.refuse("%s: %lld rows are more than a symbol can have",
                         static_cast<long long>(columns.rows));
    }
    return putRecords(call.db, *target, columns, static_cast<zdb::PutMode>(mode),
                      static_cast<zdb::OnFailure>(onFailure), call.outcome);
  });
}

int zdbx_count_records(zdbHandle_t db, zdbSymbol_t symbol, const int32_t* slice, int64_t* count) {
  return zdb::bulk(__func__, zdb::inside(db), nullptr, [&](const BulkCall& call) {
    AbstractZDBSymbol* read = readable(call, zdb::inside(symbol));
    if (read == nullptr || !call.given(count, "count")) return false;
    const auto known = isOpen(*read, slice) ? countUnloaded(call.db, *read) : std::nullopt;
    if (!known && !loaded(call, *read)) return false;
    *count = known ? *known : countRecords(call.db, *read, slice);
    return true;
  });
}

int zdbx_get_records(zdbHandle_t db, zdbSymbol_t symbol, const int32_t* slice,
                     const zdbx_buffers* buffers, zdbx_result* result) {
  return zdb::bulk(__func__, zdb::inside(db), result, [&](const BulkCall& call) {
    zdb::RecordBuffers columns;
    AbstractZDBSymbol* read = readable(call, zdb::inside(symbol));
    if (read == nullptr || !buffersGiven(call, buffers, columns)) return false;
    if (isOpen(*read, slice)) {
      if (const auto passed = passRecords(call.db, *read, columns)) {
        call.outcome.done = *passed;
        return true;
      }
    }
    if (!loaded(call, *read)) return false;
    const std::int64_t count = countRecords(call.db, *read, slice);
    if (count > columns.rows) {
      return call.refuse("%s: there are %lld records, and room for %lld",
                         static_cast<long long>(count), static_cast<long long>(columns.rows));
    }
    call.outcome.done = readRecords(call.db, *read, slice, nullptr, columns, nullptr);
    return true;
  });
}

int zdbx_open_cursor(zdbHandle_t db, zdbSymbol_t symbol, const int32_t* slice,
                     zdbxCursor_t* cursor) {
  return zdb::bulk(__func__, zdb::inside(db), nullptr, [&](const BulkCall& call) {
    if (!call.given(cursor, "cursor")) return false;
    *cursor = nullptr;
    AbstractZDBSymbol* read = readable(call, zdb::inside(symbol));
    if (read == nullptr || !loaded(call, *read)) return false;
    *cursor = std::make_unique<zdbxCursor>(*read, slice).release();
    return true;
  });
}

int zdbx_read_cursor(zdbHandle_t db, zdbxCursor_t cursor, const zdbx_buffers* buffers,
                     zdbx_result* result) {
  return zdb::bulk(__func__, zdb::inside(db), result, [&](const BulkCall& call) {
    zdb::RecordBuffers columns;
    if (!call.given(result, "result") || !cursorGiven(call, cursor)) return false;
    if (!buffersGiven(call, buffers, columns)) return false;
    if (columns.rows == 0) return call.refuse("%s: there must be room for at least one record");
    call.outcome.done = cursor->read(call.db, columns);
    return true;
  });
}

int zdbx_close_cursor(zdbHandle_t db, zdbxCursor_t* cursor) {
  return zdb::bulk(__func__, zdb::inside(db), nullptr, [&](const BulkCall& call) {
    if (!call.given(cursor, "cursor")) return false;
    std::unique_ptr<zdbxCursor>(*cursor).reset();
    *cursor = nullptr;
    return true;
  });
}

int zdbx_find_records(zdbHandle_t db, zdbSymbol_t symbol, const zdbx_columns* keys,
                      const zdbx_buffers* values, unsigned char* found, zdbx_result* result) {
  return zdb::bulk(__func__, zdb::inside(db), result, [&](const BulkCall& call) {
    zdb::RecordColumns columns;
    zdb::RecordBuffers buffers;
    AbstractZDBSymbol* read = readable(call, zdb::inside(symbol));
    if (read == nullptr || !call.structGiven(keys, "keys")) return false;
    if (!keyColumnsGiven(call, *read, *keys, columns)) return false;
    if (values != nullptr) {
      if (!buffersGiven(call, values, buffers)) return false;
      if (buffers.rows < columns.rows) {
        return call.refuse("%s: there are %lld keys, and room for %lld values",
                           static_cast<long long>(columns.rows),
                           static_cast<long long>(buffers.rows));
      }
    }
    if (!loaded(call, *read)) return false;
    findRecords(call.db, *read, columns, buffers, found, call.outcome);
    return true;
  });
}

int zdbx_find_record(zdbHandle_t db, zdbSymbol_t symbol, const int32_t* keys, zdbRecord_t* record) {
  return zdb::bulk(__func__, zdb::inside(db), nullptr, [&](const BulkCall& call) {
    if (!call.given(record, "record")) return false;
    *record = nullptr;
    AbstractZDBSymbol* read = readable(call, zdb::inside(symbol));
    if (read == nullptr || !(read->dim == 0 || call.given(keys, "keys"))) return false;
    if (!loaded(call, *read)) return false;
    if (read->isUniverse() && !call.db.isLabel(keys[0])) {
      return failWith(call.db, call.outcome, zdb::ErrorNotFound, "Cannot find UEL %d in Universe",
                      keys[0]);
    }
    return zdb::handOut(call.db.FindRecordInt(read, keys), zdb::inside(record));
  });
}

int zdbx_find_slice(zdbHandle_t db, zdbSymbol_t symbol, const int32_t* slice, int last,
                    zdbRecord_t* record) {
  return zdb::bulk(__func__, zdb::inside(db), nullptr, [&](const BulkCall& call) {
    if (!call.given(record, "record")) return false;
    *record = nullptr;
    AbstractZDBSymbol* read = readable(call, zdb::inside(symbol));
    if (read == nullptr || !loaded(call, *read)) return false;
    return zdb::handOut(sliceHandle(call, *read, slice, last != 0), zdb::inside(record));
  });
}

}  // extern "C"

// NOLINTEND(bugprone-reserved-identifier)
