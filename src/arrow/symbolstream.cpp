#include "arrow/symbolstream.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <memory>
#include <new>
#include <string_view>
#include <utility>
#include <vector>

#include "arrow/dictionary.h"
#include "arrow/give.h"
#include "arrow/symbolschema.h"
#include "contract/utf8.h"
#include "symbols/bulk.h"

namespace zdb::arrow {

namespace {

/// Batches of this size keep their columns in the caches and cost little each.
constexpr std::int64_t kUsualRows = 1 << 16;
/// As many element texts as fit into a column with offsets of 32 bits.
constexpr std::int64_t kMostRows = 1 << 20;
/// Columns have room for what is left, and for this at least, as records may have been added.
constexpr std::int64_t kFewestRows = 1 << 10;
/// Records whose keys are examined at a time to find the labels in use.
constexpr std::int64_t kRowsAhead = 1 << 13;

/// The columns of one batch while they are being filled.
struct Batch {
  Batch(const SymbolColumns& columns, std::int64_t rows) {
    const auto count = static_cast<std::size_t>(rows);
    buffers.rows = rows;
    for (std::size_t i = 0; i < static_cast<std::size_t>(columns.dim); ++i) {
      buffers.keys[i] = columnOf(labels.emplace_back(makeColumn<int>(count)).get());
    }
    for (std::size_t i = 0; i < static_cast<std::size_t>(columns.width); ++i) {
      buffers.values[i] = columnOf(values.emplace_back(makeColumn<double>(count)).get());
    }
    if (!columns.hasTexts) return;
    texts.resize(count);
    buffers.texts = columnOf(texts.data());
  }

  template <class T>
  static OutColumn columnOf(T* data) {
    return {reinterpret_cast<std::byte*>(data), sizeof(T)};
  }

  RecordBuffers buffers;
  std::vector<std::shared_ptr<int[]>> labels;
  std::vector<std::shared_ptr<double[]>> values;
  std::vector<const char*> texts;
};

/// The state of a stream. When its symbol or its database has gone, it can still be released,
/// and requests for records fail.
class SymbolStream {
 public:
  SymbolStream(ZDB& db, AbstractZDBSymbol& symbol, const int* slice, std::int64_t batchRows)
      : db_(db),
        name_(symbol.name),
        schema_(schemaOf(symbol)),
        columns_(symbol),
        batchRows_(batchRows == 0 ? kUsualRows : std::min(batchRows, kMostRows)),
        dictionaries_(static_cast<std::size_t>(columns_.dim)),
        cursor_(*symbol.aliasTarget, slice),
        left_(countRecords(db, *symbol.aliasTarget, slice)) {}

  /// Finds the labels of all records, so that one dictionary for each position serves all batches.
  bool open(const int* slice) {
    for (const Field& field : schema_.children) {
      if (contract::isUtf8(field.name)) continue;
      return fail(EILSEQ, "symbol %s: the name of a domain is not UTF-8 text: %s", name_.c_str(),
                  field.name.c_str());
    }
    RecordCursor ahead(cursor_.symbol(), slice);
    SymbolColumns keysOnly = columns_;
    keysOnly.width = 0;
    keysOnly.hasTexts = false;
    const Batch piece(keysOnly, std::min(left_, kRowsAhead));
    while (const std::int64_t rows = ahead.read(db_, piece.buffers)) {
      for (std::size_t i = 0; i < dictionaries_.size(); ++i) {
        if (!note(dictionaries_[i], piece.labels[i].get(), rows)) return false;
      }
    }
    return std::all_of(dictionaries_.begin(), dictionaries_.end(),
                       [this](LabelDictionary& dictionary) { return build(dictionary); });
  }

  const char* message() const { return message_; }
  ErrorKind kind() const { return failure_ == EILSEQ ? ErrorLabel : ErrorNotFound; }

  int getSchema(ArrowSchema& out) {
    out.release = nullptr;
    try {
      giveSchema(schema_, out);
      return 0;
    } catch (const std::bad_alloc&) {
      writeMessage(message_, "memory exhausted");
      return ENOMEM;
    }
  }

  /// After a failure each further call fails in the same way: what was read before it is lost.
  int getNext(ArrowArray& out) {
    out.release = nullptr;
    if (failure_ != 0) return failure_;
    try {
      next(out);
    } catch (const std::bad_alloc&) {
      fail(ENOMEM, "memory exhausted");
    }
    return failure_;
  }

 private:
  [[gnu::format(printf, 3, 4)]] bool fail(int code, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    writeMessageV(message_, format, arguments);
    va_end(arguments);
    failure_ = code;
    return false;
  }

  bool note(LabelDictionary& dictionary, const int* labels, std::int64_t rows) {
    int unknown = 0;
    return dictionary.note(db_, labels, static_cast<std::size_t>(rows), unknown) ||
           fail(EINVAL, "symbol %s has a record with label %d, which does not exist", name_.c_str(),
                unknown);
  }

  bool build(LabelDictionary& dictionary) {
    std::string reason;
    return dictionary.build(db_, reason) ||
           fail(EILSEQ, "symbol %s: %s", name_.c_str(), reason.c_str());
  }

  /// Labels become numbers of the dictionary. Records that were added since the stream began may
  /// have labels that it lacks; then this and the following batches get a larger one.
  bool translate(LabelDictionary& dictionary, int* labels, std::int64_t rows) {
    const auto count = static_cast<std::size_t>(rows);
    return dictionary.translate(labels, count) ||
           (note(dictionary, labels, rows) && build(dictionary) &&
            dictionary.translate(labels, count));
  }

  bool addTexts(const std::vector<const char*>& texts, std::int64_t rows, Array& out) {
    const auto count = static_cast<std::size_t>(rows);
    const auto offsets = makeColumn<std::int32_t>(count + 1);
    std::size_t end = 0;
    for (std::size_t i = 0; i < count; ++i) {
      offsets[i] = static_cast<std::int32_t>(end);
      const std::string_view text = texts[i];
      if (!contract::isUtf8(text)) {
        return fail(EILSEQ, "symbol %s: an element text is not UTF-8 text: %s", name_.c_str(),
                    texts[i]);
      }
      end += text.size();
    }
    offsets[count] = static_cast<std::int32_t>(end);
    const auto bytes = makeColumn<char>(end);
    for (std::size_t i = 0; i < count; ++i) {
      std::memcpy(&bytes[offsets[i]], texts[i],
                  static_cast<std::size_t>(offsets[i + 1] - offsets[i]));
    }
    out.children.push_back({rows, {offsets, bytes}, {}, {}});
    return true;
  }

  bool next(ArrowArray& out) {
    if (cursor_.notes().hasEnded()) {
      return fail(EINVAL,
                  "the records of symbol %s were removed or moved to another storage while the "
                  "stream was open",
                  name_.c_str());
    }
    Batch batch(columns_, std::min(batchRows_, std::max(left_, kFewestRows)));
    const std::int64_t rows = cursor_.read(db_, batch.buffers);
    if (rows == 0) return true;
    left_ -= rows;
    Array array{rows, {}, {}, {}};
    for (std::size_t i = 0; i < dictionaries_.size(); ++i) {
      if (!translate(dictionaries_[i], batch.labels[i].get(), rows)) return false;
      array.children.push_back({rows, {batch.labels[i]}, {}, {dictionaries_[i].texts()}});
    }
    for (const auto& values : batch.values) array.children.push_back({rows, {values}, {}, {}});
    if (columns_.hasTexts && !addTexts(batch.texts, rows, array)) return false;
    giveArray(std::move(array), out);
    return true;
  }

  ZDB& db_;  ///< not to be used unless the cursor's symbol is still there
  std::string name_;
  Field schema_;
  SymbolColumns columns_;
  std::int64_t batchRows_;
  std::vector<LabelDictionary> dictionaries_;
  RecordCursor cursor_;
  std::int64_t left_ = 0;  ///< records to come, as counted when the stream began
  int failure_ = 0;
  char message_[kMessageSize] = "";
};

/// A consumer may by mistake use a stream that it has released.
SymbolStream* stateOf(ArrowArrayStream* stream) {
  return static_cast<SymbolStream*>(stream->private_data);
}

int getSchema(ArrowArrayStream* stream, ArrowSchema* out) {
  return stateOf(stream) == nullptr ? EINVAL : stateOf(stream)->getSchema(*out);
}

int getNext(ArrowArrayStream* stream, ArrowArray* out) {
  return stateOf(stream) == nullptr ? EINVAL : stateOf(stream)->getNext(*out);
}

const char* getLastError(ArrowArrayStream* stream) {
  return stateOf(stream) == nullptr ? "the stream has been released" : stateOf(stream)->message();
}

void release(ArrowArrayStream* stream) {
  delete stateOf(stream);
  stream->private_data = nullptr;
  stream->release = nullptr;
}

}  // namespace

bool exportStream(ZDB& db, AbstractZDBSymbol& symbol, const int* slice, std::int64_t batchRows,
                  ArrowArrayStream& stream, BulkOutcome& outcome) {
  if (!symbol.aliasTarget->isUniverse() && !db.ensureLoaded(symbol.aliasTarget)) return false;
  auto state = std::make_unique<SymbolStream>(db, symbol, slice, batchRows);
  if (!state->open(slice)) {
    return failWith(db, outcome, state->kind(), "%s", state->message());
  }
  stream = {getSchema, getNext, getLastError, release, state.release()};
  return true;
}

}  // namespace zdb::arrow
