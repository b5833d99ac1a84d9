// Symbols as streams of Arrow's C data interface, and records from such streams.
#include "api/bulkcall.h"
#include "arrow/importstream.h"
#include "arrow/symbolstream.h"

// NOLINTBEGIN(bugprone-reserved-identifier): the names are the interface.

using zdb::BulkCall;

extern "C" {

int zdbx_export_stream(zdbHandle_t db, zdbSymbol_t symbol, const int32_t* slice, int64_t batchRows,
                       struct ArrowArrayStream* stream) {
  if (stream != nullptr) *stream = {};
  return zdb::bulk(__func__, zdb::inside(db), nullptr, [&](const BulkCall& call) {
    zdb::AbstractZDBSymbol* exported = zdb::inside(symbol);
    return call.given(stream, "stream") && symbolGiven(call.frame(), exported) &&
           call.countGiven(batchRows, "batchRows") &&
           zdb::arrow::exportStream(call.db, *exported, slice, batchRows, *stream, call.outcome);
  });
}

int zdbx_import_stream(zdbHandle_t db, zdbSymbol_t symbol, struct ArrowArrayStream* stream,
                       int mode, int onFailure, zdbx_result* result) {
  ArrowArrayStream none = {};
  zdb::arrow::Received<ArrowArrayStream> taken(stream != nullptr ? *stream : none);
  return zdb::bulk(__func__, zdb::inside(db), result, [&](const BulkCall& call) {
    if (!call.given(stream, "stream")) return false;
    if (taken.release == nullptr) return call.refuse("%s: the stream has been released");
    zdb::AbstractZDBSymbol* filled = zdb::inside(symbol);
    return call.fillable(filled) && call.among(mode, ZDBX_ADD, "mode") &&
           call.among(onFailure, ZDBX_SKIP, "onFailure") &&
           zdb::arrow::importStream(call.db, *filled, taken, static_cast<zdb::PutMode>(mode),
                                    static_cast<zdb::OnFailure>(onFailure), call.outcome);
  });
}

}  // extern "C"

// NOLINTEND(bugprone-reserved-identifier)
