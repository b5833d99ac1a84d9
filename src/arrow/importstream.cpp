#include "arrow/importstream.h"

#include <cstring>
#include <optional>

#include "arrow/gather.h"
#include "core/addedentries.h"

namespace zdb::arrow {

namespace {

/// The labels that a call has added, which stay if a producer has added labels of its own to the
/// same database while it was asked for a batch.
class AddedLabels {
 public:
  explicit AddedLabels(uellist::UELList& labels)
      : labels_(labels), added_(labels), last_(labels.size()) {}

  /// To be called before and after labels are added.
  void before() {
    if (labels_.size() != last_) keep();
  }
  void after() { last_ = labels_.size(); }
  void keep() { added_.keep(); }

 private:
  uellist::UELList& labels_;
  AddedEntries<uellist::UELList> added_;
  int last_;
};

[[noreturn]] void fail(ArrowArrayStream& stream, int code) {
  const char* text = stream.get_last_error == nullptr ? nullptr : stream.get_last_error(&stream);
  throw StreamError(ErrorByCallback,
                    std::string("the stream failed: ") +
                        (text == nullptr || *text == '\0' ? std::strerror(code) : text));
}

void describe(const StreamError& error, BulkOutcome& outcome) {
  outcome.note(error.kind, -1, -1);
  writeMessage(outcome.text, "%s", error.what());
}

ImportPlan planFor(const AbstractZDBSymbol& symbol, ArrowArrayStream& stream) {
  Received<ArrowSchema> schema;
  if (const int code = stream.get_schema(&stream, &schema); code != 0) {
    schema.release = nullptr;  // what a failed call leaves there is not ours
    fail(stream, code);
  }
  if (schema.release == nullptr) throw StreamError(ErrorByCallback, "the stream has no schema");
  return {symbol, schema};
}

/// Takes the batches. What ends this before the end of the stream is described in
/// the outcome: false.
bool takeAll(ArrowArrayStream& stream, Gather& gather, AddedLabels& labels, BulkOutcome& outcome) {
  try {
    for (;;) {
      Received<ArrowArray> batch;
      if (const int code = stream.get_next(&stream, &batch); code != 0) {
        batch.release = nullptr;
        fail(stream, code);
      }
      if (batch.release == nullptr) return true;
      labels.before();
      if (!gather.take(batch)) return false;
      labels.after();
    }
  } catch (const StreamError& error) {
    describe(error, outcome);
    return false;
  }
}

/// Adds what the put has done to what is known from reading the stream.
void addOutcome(const BulkOutcome& put, const Gather& gather, BulkOutcome& outcome) {
  outcome.done = put.done;
  outcome.added = put.added;
  outcome.skipped = put.skipped + gather.skipped();
  const std::int64_t row = put.row < 0 ? -1 : gather.rowInStream(put.row);
  const bool isFirst = outcome.row < 0 || (row >= 0 && row < outcome.row);
  if (put.kind == ErrorNone || !isFirst) return;
  outcome.note(put.kind, row, put.position);
  writeMessage(outcome.text, "%s", put.text);
}

/// Whether the symbol is still there when the stream has been read: the producer's code may do
/// anything to the database. Open handles make changes of a symbol more expensive, so this one
/// is released before the put.
class Watch {
 public:
  explicit Watch(const AbstractZDBSymbol& symbol) : notes_(symbol.handleNotes) {}
  void end() {
    if (notes_->isSymbolGone()) {
      throw StreamError(ErrorState, "the symbol was replaced or removed while the stream was read");
    }
    notes_.reset();
  }

 private:
  std::optional<HandleNotes::Reader> notes_;
};

/// Throws StreamError for what makes the whole call fail. Other failures leave their message
/// in the outcome.
bool putStream(ZDB& db, AbstractZDBSymbol& symbol, ArrowArrayStream& stream, PutMode mode,
               OnFailure onFailure, BulkOutcome& outcome) {
  Watch watch(symbol);
  AddedLabels labels(db.labels());
  const ImportPlan plan = planFor(symbol, stream);
  Gather gather(db, plan, onFailure, outcome);
  const bool isWhole = takeAll(stream, gather, labels, outcome);
  if (!isWhole && onFailure == FailureUndo) return false;
  watch.end();
  BulkOutcome put;
  const bool isPut = putRecords(db, symbol, gather.columns(), mode, onFailure, put);
  addOutcome(put, gather, outcome);
  if (isPut || onFailure != FailureUndo) labels.keep();
  return isWhole && isPut;
}

}  // namespace

bool importStream(ZDB& db, AbstractZDBSymbol& symbol, Received<ArrowArrayStream>& stream,
                  PutMode mode, OnFailure onFailure, BulkOutcome& outcome) {
  if (mode != PutReplace && !db.ensureLoaded(&symbol)) return false;
  try {
    if (putStream(db, symbol, stream, mode, onFailure, outcome)) return true;
  } catch (const StreamError& error) {
    describe(error, outcome);
  }
  const std::string text = outcome.text;
  return failWith(db, outcome, outcome.kind, "%s", text.c_str());
}

}  // namespace zdb::arrow
