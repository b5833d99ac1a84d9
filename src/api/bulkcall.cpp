#include "api/bulkcall.h"

namespace zdb {

void writeResult(const ZDB* db, bool isDone, const BulkOutcome& outcome, zdbx_result* result) {
  if (result == nullptr) return;
  result->done = outcome.done;
  result->added = outcome.added;
  result->skipped = outcome.skipped;
  result->row = outcome.row;
  result->position = outcome.position;
  result->kind = outcome.kind;
  copyText(outcome.text, result->text);
  if (isDone) return;
  if (db == nullptr) {
    result->kind = ErrorArgument;
    copyText("The database is null", result->text);
    return;
  }
  if (outcome.kind == ErrorNone) result->kind = db->error().kind;
  copyText(db->lastError(), result->text);
}

}  // namespace zdb
