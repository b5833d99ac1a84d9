// Scripts over the bulk interface. Its structs are made here from the flat arrays of a script, in
// the layout that the way says, and every array ends at a page that cannot be touched.
#include <malloc.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "script/zdbhost.h"
#include "zdbx.h"

template <>
inline constexpr const char* zdb::script::kKind<zdbxCursor_t> = "cursor";

namespace zdb::script {

namespace {

enum Layout { kRows, kColumns, kBackwards, kPacked };
int layout = kRows;

/// Memory that ends where nothing can be read or written. Not from the heap, whose allocations a
/// sweep lets fail.
class Fenced {
 public:
  explicit Fenced(std::size_t bytes) : bytes_(bytes), size_((bytes / kPage + 2) * kPage) {
    void* mapped = mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED) std::abort();
    start_ = static_cast<char*>(mapped);
    if (mprotect(start_ + size_ - kPage, kPage, PROT_NONE) != 0) std::abort();
  }
  ~Fenced() { munmap(start_, size_); }
  Fenced(const Fenced&) = delete;
  Fenced& operator=(const Fenced&) = delete;
  char* data() const { return start_ + size_ - kPage - bytes_; }

 private:
  static constexpr std::size_t kPage = 4096;
  std::size_t bytes_, size_;
  char* start_;
};

/// The keys and values of a script as columns in the layout of the way.
class Table {
 public:
  Table(int rows, int dim, int width, int* keys, double* values)
      : rows_(rows), dim_(dim), width_(width), keys_(keys), values_(values), memory_(bytes()) {
    each([](char* place, void* cell, std::size_t size) { std::memcpy(place, cell, size); });
  }
  /// Puts into the arrays of the script what is in the columns.
  void takeBack() const {
    each([](char* place, void* cell, std::size_t size) { std::memcpy(cell, place, size); });
  }
  template <class Column>
  void describe(Column* keys, Column* values) const {
    for (int i = 0; keys_ != nullptr && i < dim_; ++i) keys[i] = {place(0, i), stride(i)};
    for (int i = 0; values_ != nullptr && i < width_; ++i) {
      values[i] = {place(0, dim_ + i), stride(dim_ + i)};
    }
  }

 private:
  std::size_t sizeOf(int column) const { return column < dim_ ? sizeof(int) : sizeof(double); }
  std::size_t keyBytes() const { return static_cast<std::size_t>(dim_) * sizeof(int); }
  std::size_t rowBytes() const {
    return keyBytes() + static_cast<std::size_t>(width_) * sizeof(double);
  }
  std::size_t bytes() const { return static_cast<std::size_t>(rows_) * rowBytes(); }
  std::int64_t stride(int column) const {
    const auto size = static_cast<std::int64_t>(sizeOf(column));
    if (layout == kColumns) return 0;
    if (layout == kBackwards) return -size;
    if (layout == kPacked) return static_cast<std::int64_t>(rowBytes());
    return size * (column < dim_ ? dim_ : width_);
  }
  char* place(int row, int column) const {
    const auto rows = static_cast<std::size_t>(rows_);
    const auto r = static_cast<std::size_t>(layout == kBackwards ? rows_ - 1 - row : row);
    const std::size_t before = column < dim_
                                   ? static_cast<std::size_t>(column) * sizeof(int)
                                   : keyBytes() + static_cast<std::size_t>(column - dim_) * 8;
    if (layout == kPacked) return memory_.data() + r * rowBytes() + before;
    if (layout != kRows) return memory_.data() + rows * before + r * sizeOf(column);
    if (column < dim_) return memory_.data() + r * keyBytes() + before;
    return memory_.data() + rows * keyBytes() + r * (rowBytes() - keyBytes()) + before - keyBytes();
  }
  template <class Copy>
  void each(Copy copy) const {
    for (int row = 0; row < rows_; ++row) {
      for (int i = 0; keys_ != nullptr && i < dim_; ++i) {
        copy(place(row, i), keys_ + row * dim_ + i, sizeof(int));
      }
      for (int i = 0; values_ != nullptr && i < width_; ++i) {
        copy(place(row, dim_ + i), values_ + row * width_ + i, sizeof(double));
      }
    }
  }

  int rows_, dim_, width_;
  int* keys_;
  double* values_;
  Fenced memory_;
};

/// Texts of a script as pointers or, for other layouts, as one buffer with offsets of both sizes. A
/// buffer cannot have a null: then pointers are used.
class Texts {
 public:
  Texts(int count, const char* const* texts) : memory_(bytesOf(count, texts)) {
    given_ = {};
    given_.size = sizeof given_;
    const bool usesPointers =
        texts == nullptr || count < 0 || layout == kRows || hasNull(count, texts);
    if (usesPointers) {
      given_.pointers = texts;
      return;
    }
    char* at = memory_.data();
    for (int i = 0; i < count; ++i) {
      offsets_[i] = static_cast<std::int32_t>(at - memory_.data());
      at = stpcpy(at, texts[i]);
    }
    offsets_[count] = static_cast<std::int32_t>(at - memory_.data());
    std::copy(offsets_, offsets_ + count + 1, offsets64_);
    given_.bytes = memory_.data();
    if (layout == kColumns) {
      given_.offsets = offsets_;
    } else {
      given_.offsets64 = offsets64_;
    }
  }
  const zdbx_texts* get() const { return &given_; }

 private:
  static constexpr int kMost = 100;
  static bool hasNull(int count, const char* const* texts) {
    return std::find(texts, texts + count, nullptr) != texts + count;
  }
  static std::size_t bytesOf(int count, const char* const* texts) {
    if (count >= kMost) std::abort();
    std::size_t bytes = 1;  // the last terminator
    for (int i = 0; texts != nullptr && i < count; ++i) {
      if (texts[i] != nullptr) bytes += std::strlen(texts[i]);
    }
    return bytes;
  }
  Fenced memory_;
  zdbx_texts given_;
  std::int32_t offsets_[kMost];
  std::int64_t offsets64_[kMost];
};

struct Shape3 {
  int dim = 0, width = 1;

  Shape3(zdbHandle_t db, zdbSymbol_t symbol) {
    int type = 0;
    if (db == nullptr || symbol == nullptr) return;
    c__zdbsymboldim(db, symbol, &dim);
    c__zdbsymboltype(db, symbol, &type);
    if (dim < 0) dim = 0;
    if (type == ZDB_VARIABLE || type == ZDB_EQUATION) width = ZDB_MAX_VALUES;
  }
};

/// What a script shows of a result: done, added, skipped, row, position, kind; and the text of what
/// was left out. That of a failure must be the last error.
class Result {
 public:
  Result(zdbHandle_t db, int* counts, char* text) : db_(db), counts_(counts), text_(text) {
    result_ = {};
    result_.size = sizeof result_;
  }
  zdbx_result* get() { return counts_ == nullptr ? nullptr : &result_; }
  int finish(int isDone) {
    if (counts_ == nullptr) return isDone;
    char last[ZDB_TEXT_SIZE] = "";
    if (isDone == 0 && db_ != nullptr && c__zdbgetlasterror(db_, last) == 1 &&
        (std::strcmp(last, result_.text) != 0 || result_.kind != zdbx_error_kind(db_))) {
      std::abort();
    }
    const std::int64_t shown[] = {result_.done, result_.added,    result_.skipped,
                                  result_.row,  result_.position, result_.kind};
    for (int i = 0; i < 6; ++i) counts_[i] = static_cast<int>(shown[i]);
    if (text_ != nullptr && isDone == 1) std::strcpy(text_, result_.text);
    return isDone;
  }

 private:
  zdbHandle_t db_;
  int* counts_;
  char* text_;
  zdbx_result result_;
};

int addLabels(zdbHandle_t db, int count, const char* const* labels, int* numbers, int onFailure,
              int* result, char* text) {
  const Texts texts(count, labels);
  Result told(db, result, text);
  return told.finish(zdbx_add_labels(db, texts.get(), count, numbers, onFailure, told.get()));
}

int findLabels(zdbHandle_t db, int count, const char* const* labels, int* numbers, int* result) {
  const Texts texts(count, labels);
  Result told(db, result, nullptr);
  return told.finish(zdbx_find_labels(db, texts.get(), count, numbers, told.get()));
}

/// In both calls of the two-call form, the second with room for `capacity` bytes.
int getLabels(zdbHandle_t db, int first, int count, int capacity, char* bytes, int* needed) {
  std::int64_t offsets[100], size = -1;
  Fenced room(static_cast<std::size_t>(capacity));
  const bool isWanted = needed != nullptr;
  int isDone = zdbx_get_labels(db, first, count, nullptr, 0, offsets, isWanted ? &size : nullptr);
  if (isDone != 1) return isDone;
  if (bytes != nullptr) {
    isDone = zdbx_get_labels(db, first, count, room.data(), capacity, nullptr, &size);
    if (isDone == 1) bytes[0] = '\0';
    for (int i = 0; isDone == 1 && i < count; ++i) {
      const std::int64_t length = offsets[i + 1] - offsets[i];
      std::strncat(bytes, room.data() + offsets[i], static_cast<std::size_t>(length));
      std::strcat(bytes, "|");
    }
  }
  *needed = static_cast<int>(size);
  return isDone;
}

int putRecords(zdbHandle_t db, zdbSymbol_t symbol, int rows, const int* keys, const double* values,
               const char* const* texts, int mode, int onFailure, int* result, char* text) {
  const Shape3 shape(db, symbol);
  const Table table(std::max(rows, 0), shape.dim, shape.width, const_cast<int*>(keys),
                    const_cast<double*>(values));
  const Texts elements(std::max(rows, 0), texts);
  zdbx_columns columns = {};
  columns.size = sizeof columns;
  columns.rows = rows;
  table.describe(columns.keys, columns.values);
  if (texts != nullptr) columns.texts = elements.get();
  Result told(db, result, text);
  return told.finish(zdbx_put_records(db, symbol, &columns, mode, onFailure, told.get()));
}

int countRecords(zdbHandle_t db, zdbSymbol_t symbol, const int* slice, int* count) {
  std::int64_t records = 0;
  const int isDone = zdbx_count_records(db, symbol, slice, count == nullptr ? nullptr : &records);
  if (isDone == 1) *count = static_cast<int>(records);
  return isDone;
}

/// Copies texts to where a script can show them.
void showTexts(int count, const char* const* found, char* const* texts) {
  for (int i = 0; texts != nullptr && i < count; ++i) {
    if (texts[i] != nullptr && found[i] != nullptr) std::strcpy(texts[i], found[i]);
  }
}

/// Reads records through `read(buffers, result)`; `labels` are those of the first position.
template <class Read>
int readInto(zdbHandle_t db, zdbSymbol_t symbol, int rows, int* keys, double* values,
             char* const* labels, char* const* texts, int* result, Read read) {
  constexpr int kMost = 100;
  const Shape3 shape(db, symbol);
  if (rows >= kMost) std::abort();
  const Table table(std::max(rows, 0), shape.dim, shape.width, keys, values);
  const char* foundLabels[kMost] = {};
  const char* foundTexts[kMost] = {};
  zdbx_buffers buffers = {};
  buffers.size = sizeof buffers;
  buffers.rows = rows;
  table.describe(buffers.keys, buffers.values);
  if (labels != nullptr) buffers.labels[0].data = foundLabels;
  if (texts != nullptr) buffers.texts.data = foundTexts;
  Result told(db, result, nullptr);
  const int isDone = told.finish(read(&buffers, told.get()));
  table.takeBack();
  showTexts(rows, foundLabels, labels);
  showTexts(rows, foundTexts, texts);
  return isDone;
}

int getRecords(zdbHandle_t db, zdbSymbol_t symbol, const int* slice, int rows, int* keys,
               double* values, char* const* labels, char* const* texts, int* result) {
  return readInto(db, symbol, rows, keys, values, labels, texts, result,
                  [&](const zdbx_buffers* buffers, zdbx_result* told) {
                    return zdbx_get_records(db, symbol, slice, buffers, told);
                  });
}

/// `symbol` tells the shape of the arrays.
int readCursor(zdbHandle_t db, zdbxCursor_t cursor, zdbSymbol_t symbol, int rows, int* keys,
               double* values, int* result) {
  return readInto(db, symbol, rows, keys, values, nullptr, nullptr, result,
                  [&](const zdbx_buffers* buffers, zdbx_result* told) {
                    return zdbx_read_cursor(db, cursor, buffers, told);
                  });
}

int findRecords(zdbHandle_t db, zdbSymbol_t symbol, int rows, const int* keys, double* values,
                char* const* texts, int* found, int* result) {
  const Shape3 shape(db, symbol);
  const Table sought(rows, shape.dim, 0, const_cast<int*>(keys), nullptr);
  zdbx_columns columns = {};
  columns.size = sizeof columns;
  columns.rows = rows;
  sought.describe(columns.keys, columns.values);
  const Fenced flags(static_cast<std::size_t>(rows));
  auto* bytes = reinterpret_cast<unsigned char*>(flags.data());
  const int isDone =
      readInto(db, symbol, rows, nullptr, values, nullptr, texts, result,
               [&](const zdbx_buffers* buffers, zdbx_result* told) {
                 const bool wantsNone = values == nullptr && texts == nullptr;
                 return zdbx_find_records(db, symbol, &columns, wantsNone ? nullptr : buffers,
                                          found == nullptr ? nullptr : bytes, told);
               });
  for (int i = 0; isDone == 1 && found != nullptr && i < rows; ++i) found[i] = bytes[i];
  return isDone;
}

/// Each call with a struct whose size no version has.
int wrongSizes(zdbHandle_t db, zdbSymbol_t symbol, int which) {
  zdbx_columns columns = {};
  zdbx_buffers buffers = {};
  zdbx_texts texts = {};
  zdbx_result result = {};
  int number = 0;
  columns.size = sizeof columns;
  if (which == 0) return zdbx_add_labels(db, &texts, 0, &number, 0, nullptr);
  if (which == 1) return zdbx_get_records(db, symbol, nullptr, &buffers, nullptr);
  if (which == 2) return zdbx_put_records(db, symbol, &columns, 0, 0, &result);
  columns.size = 8;
  return zdbx_put_records(db, symbol, &columns, 0, 0, nullptr);
}

FunctionTable bulkFunctions() {
  FunctionTable table;
#define ZDB_BULK(name, function, parameters) \
  table.emplace(#name, Function::make(#name, function, true, #parameters));
  ZDB_BULK(zdbx_add_labels, addLabels, (db, count, labels, numbers, onFailure, result, text))
  ZDB_BULK(zdbx_find_labels, findLabels, (db, count, labels, numbers, result))
  ZDB_BULK(zdbx_get_labels, getLabels, (db, first, count, capacity, bytes, needed))
  ZDB_BULK(zdbx_put_records, putRecords,
           (db, symbol, rows, keys, values, texts, mode, onFailure, result, text))
  ZDB_BULK(zdbx_count_records, countRecords, (db, symbol, slice, count))
  ZDB_BULK(zdbx_get_records, getRecords,
           (db, symbol, slice, rows, keys, values, labels, texts, result))
  ZDB_BULK(zdbx_open_cursor, zdbx_open_cursor, (db, symbol, slice, cursor))
  ZDB_BULK(zdbx_read_cursor, readCursor, (db, cursor, symbol, rows, keys, values, result))
  ZDB_BULK(zdbx_close_cursor, zdbx_close_cursor, (db, cursor))
  ZDB_BULK(zdbx_find_records, findRecords, (db, symbol, rows, keys, values, texts, found, result))
  ZDB_BULK(zdbx_find_record, zdbx_find_record, (db, symbol, keys, record))
  ZDB_BULK(zdbx_find_slice, zdbx_find_slice, (db, symbol, slice, last, record))
  ZDB_BULK(wrongSizes, wrongSizes, (db, symbol, which))
  return table;
}

class BulkHost : public ZdbHost {
 public:
  BulkHost() : ZdbHost(bulkFunctions()) {}

  void* create(const Way& way) override {
    layout = std::stoi(way.settings.at("layout"));
    return ZdbHost::create(way);
  }
  void release(void* object, const std::string& kind, void* handle) override {
    auto* cursor = static_cast<zdbxCursor_t>(handle);
    if (kind == "cursor") zdbx_close_cursor(static_cast<zdbHandle_t>(object), &cursor);
    if (kind != "cursor") ZdbHost::release(object, kind, handle);
  }
  bool releases(const std::string& function) const override {
    return function == "zdbx_close_cursor" || ZdbHost::releases(function);
  }
};

std::vector<Way> makeWays() {
  static const char* const layouts[] = {"rows", "columns", "backwards", "packed"};
  std::vector<Way> ways;
  for (const char* storage : {"0", "1", "2"}) {
    for (int i = 0; i < 4; ++i) {
      Way& way = ways.emplace_back();
      way.name = std::string("storage ") + storage + ", " + layouts[i];
      const char* const other = storage[0] == '0' ? "1" : "0";
      way.settings = {{"storage", storage}, {"other", other}, {"layout", std::to_string(i)}};
    }
  }
  return ways;
}

}  // namespace

}  // namespace zdb::script

int main(int argc, char** argv) {
  mallopt(M_PERTURB, 0xA5);
  zdb::script::BulkHost host;
  zdb::script::SweepRules rules = zdb::script::ZdbHost::memoryRules();
  rules.nullAnswers = {
      {"zdbx_(put|find)_records.keys", "0.*argument keys.0. must not be null\""},
      {".*_labels.labels", "0.*argument labels must have pointers, or bytes with one kind of .*"},
      {".*.(result|texts?|slice|values|found|bytes)", "1.*"},
      {".*.symbol", "0.*\"No symbol handle specified\""},
      {"zdbx_(get_records|read_cursor).*", "1.*"}};
  const zdb::script::ZdbHost others;  // which have scripts of their own
  for (const auto& [name, function] : host.functions) {
    const bool isBulk = name.starts_with("zdbx_") && !others.functions.contains(name);
    if (!isBulk) rules.neverNull.insert(name);
  }
  return zdb::script::runProgram(argc, argv, {host, zdb::script::makeWays(), rules});
}
