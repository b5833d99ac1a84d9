// zdbcc: the database of zdbcclib.h and zdbx.h for C++20 programs. A header only;
// link with -lzdbcclib.
//
// Handles free themselves, failures are exceptions, and records are ranges or columns. A complete
// program, which prints "bread costs 1.7" and "milk costs 2.4":
//
//     #include <cstdio>
//     #include "zdbcc.hpp"
//
//     int main() {
//       zdbcc::Database db;
//       zdbcc::Symbol price = db.addParameter("price", 1, "price of a food");
//       price.set({"bread"}, 1.7);
//       price.set({"milk"}, 2.4);
//       for (const auto& record : price.records())
//         std::printf("%s costs %g\n", record.label(0), record.value());
//     }
//
// A Database owns everything that is in it and is used by one thread at a time. A Symbol is the
// address of a symbol with that of its database: copy it freely, and use it no longer than the
// Database, which may be moved. Both are handles: what they lead to can be changed through a const
// one. All functions throw Error if a call of the library fails; what the database holds after that
// is what zdbcclib.h says of the call. Using a moved-from Database or a default Symbol throws, too.
// Costs are those of the calls, of which a function makes one or a few unless it says more.
#ifndef ZDBCC_HPP
#define ZDBCC_HPP

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "zdbcclib.h"
#include "zdbx.h"

/// The C++20 interface.
namespace zdbcc {

/// A call that failed: what() is the library's message.
class Error : public std::runtime_error {
 public:
  /// An error of the program's own; `kind` is one of ZDBX_...
  explicit Error(const std::string& message, int kind = ZDBX_OTHER, std::string reason = {})
      : std::runtime_error(message), kind_(kind), reason_(std::move(reason)) {}
  /// Of the last error of a database; ZDBX_ARGUMENT if there is no database.
  static Error of(zdbHandle_t db) {
    if (db == nullptr) return Error("there is no database", ZDBX_ARGUMENT);
    // Labels that are null or have control characters are refused without a message.
    if (zdbx_error_kind(db) == ZDBX_NONE) return Error("a label is not valid", ZDBX_LABEL);
    return Error(zdbx_error_text(db), zdbx_error_kind(db), zdbx_error_reason(db));
  }

  /// What sort of failure it was: ZDBX_NOT_FOUND, ZDBX_EXISTS and so on.
  int kind() const { return kind_; }
  /// What is behind the message, such as "No space left on device"; empty if nothing more is known.
  const std::string& reason() const { return reason_; }

 private:
  int kind_;
  std::string reason_;
};

/// A bulk call that failed; result() says at which entry.
class BulkError : public Error {
 public:
  /// The failure, and where it was.
  BulkError(const Error& error, const zdbx_result& result) : Error(error), result_(result) {}
  /// How many entries were done, and which one failed.
  const zdbx_result& result() const { return result_; }

 private:
  zdbx_result result_;
};

/// Labels of a key as arguments: {"bread", city}, from C strings and std::strings, whose characters
/// it does not copy. Too many labels throw; too few or too many for a symbol do so when it is used.
class Key {
 public:
  /// One label. It refers to the caller's characters, which must stay while the key is used.
  class Label {
   public:
    /// From a C string.
    Label(const char* text) : text_(text) {}  // NOLINT(google-explicit-constructor)
    /// From a std::string.
    Label(const std::string& text) : text_(text.c_str()) {}  // NOLINT(google-explicit-constructor)
    /// As a C string.
    const char* text() const { return text_; }

   private:
    const char* text_;
  };

  /// From labels in braces.
  Key(std::initializer_list<Label> labels) {
    for (const Label& label : labels) add(label);
  }
  /// From an array of labels.
  Key(std::span<const std::string> labels) {  // NOLINT(google-explicit-constructor)
    for (const std::string& label : labels) add(label);
  }
  /// From a vector of labels.
  Key(const std::vector<std::string>& labels)  // NOLINT(google-explicit-constructor)
      : Key(std::span<const std::string>(labels)) {}

  /// The labels, as the functions of C take them.
  const char* const* data() const { return labels_; }
  /// How many labels there are.
  int size() const { return size_; }
  /// Adds a label at the end; throws if there are 20 already.
  void add(const Label& label) {
    if (size_ == ZDB_MAX_DIM) throw Error("a key has at most 20 labels", ZDBX_ARGUMENT);
    labels_[size_++] = label.text();
  }

 private:
  const char* labels_[ZDB_MAX_DIM] = {};
  int size_ = 0;
};

/// Records as columns of its own: keys as label numbers, values, and texts of a set's elements.
struct Columns {
  std::vector<std::vector<std::int32_t>> keys;  ///< a column for each index position
  std::vector<std::vector<double>> values;      ///< one column or five; none of a set
  std::vector<const char*> texts;               ///< of a set; valid as long as the database

  /// How many records there are.
  std::size_t rows() const {
    if (!keys.empty()) return keys.front().size();
    return values.empty() ? 0 : values.front().size();
  }
};

/// One domain of a symbol. A relaxed domain is only a name.
struct Domain {
  std::string name;        ///< of the set, or "*"
  bool isRelaxed = false;  ///< whether it is only a name
};

class Records;

/// A symbol of a database: a small handle that is copied freely.
class Symbol {
 public:
  /// @name Handles
  /// @{

  /// No symbol; using it throws.
  Symbol() = default;
  /// A symbol that a function of C has given.
  Symbol(zdbHandle_t db, zdbSymbol_t handle) : db_(db), handle_(handle) {}

  /// The database, for the functions of C.
  zdbHandle_t database() const { return db_; }
  /// The symbol, for the functions of C.
  zdbSymbol_t handle() const { return handle_; }
  /// Whether it is a symbol at all.
  explicit operator bool() const { return handle_ != nullptr; }

  /// @}
  /// @name What it is
  /// @{

  /// As it was first spelled.
  std::string name() const { return text(ZDB_SYMBOL_NAME); }
  /// The explanatory text.
  std::string text() const { return text(ZDB_SYMBOL_TEXT); }
  /// How many index positions a key has, 0 to 20.
  int dim() const {
    int count = 0;
    check(c__zdbsymboldim(db_, handle_, &count));
    return count;
  }
  /// ZDB_SET, ZDB_PARAMETER, ZDB_VARIABLE, ZDB_EQUATION or ZDB_ALIAS.
  int type() const { return info(ZDB_SYMBOL_TYPE); }
  /// The subtype of a variable or equation, or what the host has given.
  int userInfo() const { return info(ZDB_SYMBOL_USER_INFO); }
  /// Where the records are: ZDB_STORAGE_MAP, ZDB_STORAGE_VECTOR or ZDB_STORAGE_TREE.
  int storage() const { return info(ZDB_SYMBOL_STORAGE); }
  /// Whether it is the universe, `*`, whose records are all labels.
  bool isUniverse() const { return info(ZDB_SYMBOL_NUMBER) == -1; }
  /// Whether records have element texts: those of sets and their aliases do.
  bool hasTexts() const {
    const int t = type();
    return (t == ZDB_SET || t == ZDB_ALIAS) && !isUniverse();
  }
  /// Doubles of a record: 1 or 5.
  int valueCount() const {
    const int t = type();
    return t == ZDB_VARIABLE || t == ZDB_EQUATION ? ZDB_MAX_VALUES : 1;
  }
  /// The domain of each index position.
  std::vector<Domain> domains() const {
    const int count = dim();
    zdbSymbol_t sets[ZDB_MAX_DIM] = {};
    char texts[ZDB_MAX_DIM][ZDB_TEXT_SIZE] = {};
    char* names[ZDB_MAX_DIM];
    for (int i = 0; i < ZDB_MAX_DIM; ++i) names[i] = texts[i];
    check(c__zdbgetdomain(db_, handle_, count, sets, names));
    std::vector<Domain> result;
    result.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) result.push_back({texts[i], sets[i] == nullptr});
    return result;
  }

  /// Number of records; of a symbol that has not been read from its file yet, what the file says.
  std::int64_t size() const {
    std::int64_t count = 0;
    check(zdbx_count_records(db_, handle_, nullptr, &count));
    return count;
  }

  /// @}
  /// @name Records, one by one
  /// @{

  /// All records in key order.
  Records records() const;
  /// The records of a slice of label numbers, ZDB_ANY where any will do.
  Records records(std::span<const std::int32_t> slice) const;
  /// The records of a slice of labels, ZDB_ANY_LABEL where any will do; unknown ones match nothing.
  Records records(const Key& slice) const;

  /// The level of a record; none if the record or one of its labels is not there.
  std::optional<double> find(const Key& key) const {
    zdbRecord_t record = nullptr;
    double value = 0;
    const char* const* labels = keyOf(key);
    zdbx_clear_error(db_);
    if (c__zdbfindrecord(db_, handle_, labels, &record) == 0) {
      if (zdbx_error_kind(db_) == ZDBX_NOT_FOUND) return std::nullopt;
      throw Error::of(db_);
    }
    finish(record, c__zdbgetlevel(db_, record, &value));
    return value;
  }
  /// The level of a record; throws (ZDBX_NOT_FOUND) if it is not there.
  double operator[](const Key& key) const {
    const std::optional<double> value = find(key);
    if (!value) throw Error::of(db_);
    return *value;
  }

  /// The text of an element of a set, "" if it has none; throws if the element is not there.
  std::string elementText(const Key& key) const {
    char out[ZDB_TEXT_SIZE] = "";
    const zdbRecord_t record = recordBy(c__zdbfindrecord, key);
    finish(record, c__zdbgetelemtext(db_, record, out));
    return out;
  }

  /// Sets the level of a record, which is added with its labels if it is new.
  void set(const Key& key, double level) const {
    const zdbRecord_t record = recordBy(c__zdbmergerecord, key);
    finish(record, c__zdbsetlevel(db_, record, level));
  }
  /// Adds a record; throws (ZDBX_EXISTS) if it is there.
  void add(const Key& key, double level) const {
    const zdbRecord_t record = recordBy(c__zdbaddrecord, key);
    finish(record, c__zdbsetlevel(db_, record, level));
  }
  /// Adds an element to a set, or gives it another text.
  void setText(const Key& key, const std::string& elementText = {}) const {
    finishText(recordBy(c__zdbmergerecord, key), elementText);
  }
  /// Adds an element to a set; throws (ZDBX_EXISTS) if it is there.
  void addText(const Key& key, const std::string& elementText = {}) const {
    finishText(recordBy(c__zdbaddrecord, key), elementText);
  }

  /// @}
  /// @name The symbol as a whole
  /// @{

  /// Deletes all records.
  void clear() const { check(c__zdbclearsymbol(db_, handle_)); }
  /// Has the records of another symbol, also of another database, afterwards; labels are matched by
  /// their texts. See c__zdbcopysymbol().
  void copyFrom(const Symbol& source) const {
    check(c__zdbcopysymbol(db_, handle_, source.handle_));
  }
  /// Moves the records to another storage. Other copies of this Symbol become invalid.
  void setStorage(int storage) { check(c__zdbselectrecordstorage(db_, &handle_, storage)); }
  /// Gives it another name, which no other symbol may have.
  void rename(const std::string& name) const {
    check(zdbx_rename_symbol(db_, handle_, name.c_str()));
  }
  /// Writes the records of an updatable parameter to the model, for the next solve; `missing`
  /// (ZDB_MISSING_...) says what entries without a record get. Returns the number of records
  /// without an entry in the model. See c__zdbupdatemodelsymbol().
  int updateModel(int missing = ZDB_MISSING_KEEP) const {
    int unmatched = 0;
    check(c__zdbupdatemodelsymbol(db_, handle_, ZDB_UPDATE_FIX, handle_, missing, &unmatched));
    return unmatched;
  }

  /// @}
  /// @name Columns
  /// @{

  /// Puts records by the column; see zdbx_put_records() for modes and failures.
  zdbx_result put(const zdbx_columns& records, int mode = ZDBX_MERGE,
                  int onFailure = ZDBX_UNDO) const {
    zdbx_result result = {};
    result.size = sizeof result;
    checkBulk(zdbx_put_records(db_, handle_, &records, mode, onFailure, &result), result);
    return result;
  }
  /// The same with a span a position, and one of levels, which may be empty. All have one length.
  zdbx_result put(std::span<const std::span<const std::int32_t>> keys,
                  std::span<const double> levels, int mode = ZDBX_MERGE,
                  int onFailure = ZDBX_UNDO) const {
    zdbx_columns columns = {};
    columns.size = sizeof columns;
    columns.rows = static_cast<std::int64_t>(keys.empty() ? levels.size() : keys.front().size());
    if (static_cast<int>(keys.size()) != dim()) {
      throw Error("put: there must be a column of keys for each position", ZDBX_ARGUMENT);
    }
    for (std::size_t i = 0; i < keys.size(); ++i) {
      requireRows(keys[i].size(), columns.rows);
      columns.keys[i].data = keys[i].data();
    }
    if (!levels.empty()) {
      requireRows(levels.size(), columns.rows);
      columns.values[0].data = levels.data();
    }
    return put(columns, mode, onFailure);
  }

  /// All records, or those of a slice, in key order: a count, then one call.
  Columns columns(std::span<const std::int32_t> slice = {}) const {
    std::int64_t count = 0;
    check(zdbx_count_records(db_, handle_, sliceOf(slice), &count));
    Columns columns;
    zdbx_buffers buffers = {};
    buffers.size = sizeof buffers;
    buffers.rows = count;
    const auto rows = static_cast<std::size_t>(count);
    columns.keys.resize(static_cast<std::size_t>(dim()), std::vector<std::int32_t>(rows));
    for (std::size_t i = 0; i < columns.keys.size(); ++i) {
      buffers.keys[i].data = columns.keys[i].data();
    }
    if (hasTexts()) {
      columns.texts.resize(rows);
      buffers.texts.data = columns.texts.data();
    } else if (!isUniverse()) {
      columns.values.resize(static_cast<std::size_t>(valueCount()), std::vector<double>(rows));
      for (std::size_t i = 0; i < columns.values.size(); ++i) {
        buffers.values[i].data = columns.values[i].data();
      }
    }
    check(zdbx_get_records(db_, handle_, sliceOf(slice), &buffers, nullptr));
    return columns;
  }

  /// @}

  /// Throws the last error of the database if a call failed.
  void check(int result) const {
    if (result == 0) throw Error::of(db_);
  }

 private:
  friend class Records;

  int info(int key) const {
    int number = 0;
    check(c__zdbsymbolinfo(db_, handle_, key, &number, nullptr, nullptr));
    return number;
  }
  std::string text(int key) const {
    char out[ZDB_TEXT_SIZE] = "";
    check(c__zdbsymbolinfo(db_, handle_, key, nullptr, nullptr, out));
    return out;
  }
  /// The library cannot see how many labels an array has.
  const char* const* keyOf(const Key& key) const {
    if (key.size() == dim()) return key.data();
    throw Error("symbol " + name() + " has " + std::to_string(dim()) + " index positions, not " +
                    std::to_string(key.size()),
                ZDBX_ARGUMENT);
  }
  const std::int32_t* sliceOf(std::span<const std::int32_t> slice) const {
    if (slice.empty()) return nullptr;
    if (static_cast<int>(slice.size()) == dim()) return slice.data();
    throw Error("a slice of symbol " + name() + " has " + std::to_string(dim()) + " entries, not " +
                    std::to_string(slice.size()),
                ZDBX_ARGUMENT);
  }
  using RecordCall = int (*)(zdbHandle_t, zdbSymbol_t, const char* const*, zdbRecord_t*);
  /// Makes a handle, which finish() frees.
  zdbRecord_t recordBy(RecordCall call, const Key& key) const {
    zdbRecord_t record = nullptr;
    const char* const* labels = keyOf(key);
    zdbx_clear_error(db_);
    check(call(db_, handle_, labels, &record));
    return record;
  }
  /// Frees a handle, and then throws if the call made on it failed.
  void finish(zdbRecord_t record, int result) const {
    c__zdbfreesymboliterator(db_, record);
    check(result);
  }
  void finishText(zdbRecord_t record, const std::string& elementText) const {
    finish(record, elementText.empty() ? 1 : c__zdbsetelemtext(db_, record, elementText.c_str()));
  }
  void checkBulk(int result, const zdbx_result& details) const {
    if (result == 0) throw BulkError(Error::of(db_), details);
  }
  static void requireRows(std::size_t rows, std::int64_t wanted) {
    if (static_cast<std::int64_t>(rows) != wanted) {
      throw Error("put: all columns must have the same length", ZDBX_ARGUMENT);
    }
  }

  zdbHandle_t db_ = nullptr;
  zdbSymbol_t handle_ = nullptr;
};

/// A range over records in key order, read in pieces. It can be walked once:
///     for (const auto& record : symbol.records()) use(record.label(0), record.value());
/// Records may be added, changed and deleted meanwhile; of those ahead, up to 511 are passed as
/// they were before. When the symbol is cleared, replaced or moved to another storage, the next
/// piece throws. A range must not outlive the Database.
class Records {
  static constexpr std::int64_t kRows = 512;

  /// A cursor, and the columns of the records that it read last.
  class Piece {
   public:
    Piece(const Symbol& symbol, std::span<const std::int32_t> slice)
        : symbol_(symbol), dim_(symbol.dim()) {
      buffers_.size = sizeof buffers_;
      buffers_.rows = kRows;
      for (int i = 0; i < dim_; ++i) bind(keys_[i], buffers_.keys[i]);
      if (!symbol.isUniverse()) {
        for (int i = 0; i < symbol.valueCount(); ++i) bind(values_[i], buffers_.values[i]);
      }
      if (symbol.hasTexts()) bind(texts_, buffers_.texts);
      const std::int32_t* numbers = symbol.sliceOf(slice);
      symbol.check(zdbx_open_cursor(symbol.db_, symbol.handle_, numbers, &cursor_));
    }
    ~Piece() { zdbx_close_cursor(symbol_.db_, &cursor_); }
    Piece(const Piece&) = delete;
    Piece& operator=(const Piece&) = delete;

    /// Returns the number of records, 0 at the end.
    std::size_t read() {
      zdbx_result result = {};
      result.size = sizeof result;
      symbol_.check(zdbx_read_cursor(symbol_.db_, cursor_, &buffers_, &result));
      rows_ = static_cast<std::size_t>(result.done);
      return rows_;
    }
    int dim() const { return dim_; }
    std::int32_t number(int position, std::size_t row) const { return keys_[position][row]; }
    double value(int which, std::size_t row) const { return values_[which][row]; }
    const char* text(std::size_t row) const { return texts_.empty() ? "" : texts_[row]; }
    /// Texts of labels are read from the piece on in which the first is wanted.
    const char* label(int position, std::size_t row) {
      if (labels_[position].empty()) readLabels(position);
      return labels_[position][row];
    }

   private:
    template <typename T>
    static void bind(std::vector<T>& column, zdbx_buffer& buffer) {
      column.resize(kRows);
      buffer.data = column.data();
    }
    void readLabels(int position) {
      zdbSymbol_t universe = nullptr;
      symbol_.check(c__zdbfindsymbol(symbol_.db_, "*", &universe));
      std::vector<const char*> column(kRows);
      zdbx_buffers one = {};
      one.size = sizeof one;
      one.rows = 1;
      for (std::size_t row = 0; row < rows_; ++row) {
        one.labels[0].data = &column[row];
        symbol_.check(
            zdbx_get_records(symbol_.db_, universe, &keys_[position][row], &one, nullptr));
      }
      labels_[position] = std::move(column);
      buffers_.labels[position].data = labels_[position].data();
    }

    Symbol symbol_;
    int dim_;
    zdbxCursor_t cursor_ = nullptr;
    zdbx_buffers buffers_ = {};
    std::size_t rows_ = 0;
    std::vector<std::int32_t> keys_[ZDB_MAX_DIM];
    std::vector<const char*> labels_[ZDB_MAX_DIM];
    std::vector<double> values_[ZDB_MAX_VALUES];
    std::vector<const char*> texts_;
  };

 public:
  /// One record; valid until the range moves on. REQUIRES positions are less than dim() and values
  /// than valueCount() of the symbol; records of the universe have no values.
  class Record {
   public:
    /// The number of the label at a position.
    std::int32_t number(int position) const { return piece_->number(position, row_); }
    /// The label at a position; valid as long as the database.
    const char* label(int position) const { return piece_->label(position, row_); }
    /// All labels, for finding the record elsewhere.
    Key key() const {
      Key key({});
      for (int i = 0; i < piece_->dim(); ++i) key.add(label(i));
      return key;
    }
    /// The level, or another value of a variable or equation.
    double value(int which = ZDB_LEVEL) const { return piece_->value(which, row_); }
    /// The text of a set's element, "" if it has none; valid as long as the database.
    const char* text() const { return piece_->text(row_); }

   private:
    friend class Records;
    Piece* piece_ = nullptr;
    std::size_t row_ = 0;
  };

  /// An input iterator.
  class Iterator {
   public:
    /// @cond what std::ranges asks for
    using iterator_concept = std::input_iterator_tag;
    using difference_type = std::ptrdiff_t;
    using value_type = Record;

    const Record& operator*() const { return records_->record_; }
    const Record* operator->() const { return &records_->record_; }
    Iterator& operator++() {
      records_->advance();
      return *this;
    }
    void operator++(int) { ++*this; }
    bool operator==(std::default_sentinel_t) const { return records_->left_ == 0; }
    /// @endcond

   private:
    friend class Records;
    explicit Iterator(Records* records) : records_(records) {}
    Records* records_;
  };

  /// Symbol::records() is the shorter way.
  explicit Records(const Symbol& symbol, std::span<const std::int32_t> slice = {})
      : piece_(std::make_unique<Piece>(symbol, slice)) {
    record_.piece_ = piece_.get();
    left_ = piece_->read();
  }
  Records(const Records&) = delete;
  Records& operator=(const Records&) = delete;

  /// At the first record; the range is walked once.
  Iterator begin() { return Iterator(this); }
  /// After the last record.
  std::default_sentinel_t end() const { return {}; }

 private:
  void advance() {
    ++record_.row_;
    if (--left_ > 0) return;
    record_.row_ = 0;
    left_ = piece_->read();
  }

  std::unique_ptr<Piece> piece_;
  std::size_t left_ = 0;  ///< records of the piece that have not been passed; 0 at the end
  Record record_;
};

inline Records Symbol::records() const {
  return Records(*this);
}
inline Records Symbol::records(std::span<const std::int32_t> slice) const {
  return Records(*this, slice);
}
inline Records Symbol::records(const Key& slice) const {
  const char* const* labels = keyOf(slice);
  std::int32_t numbers[ZDB_MAX_DIM] = {};
  zdbx_clear_error(db_);
  for (int i = 0; i < slice.size(); ++i) check(c__zdbfinduel(db_, labels[i], &numbers[i]));
  return Records(*this, std::span(numbers, static_cast<std::size_t>(slice.size())));
}

/// A database. It owns its symbols, labels and texts, and may be moved, but not copied.
class Database {
 public:
  /// @name Databases and files
  /// @{

  /// An empty one.
  Database() {
    char message[ZDB_TEXT_SIZE] = "";
    int status = 0;
    if (c__xapiversion(ZDBCCLIB_API_VERSION, message, &status) == 0 ||
        zdbcreate(&db_, message, sizeof message) == 0) {
      throw Error(message, ZDBX_NO_MEMORY);
    }
  }
  /// One that reads a data exchange file, records when they are needed.
  explicit Database(const std::string& fileName) : Database() {
    check(c__zdbinitfromzxf(db_, fileName.c_str()));
  }
  /// Frees everything that is in it.
  ~Database() { zdbfree(&db_); }
  /// The other one can no longer be used.
  Database(Database&& other) noexcept : db_(std::exchange(other.db_, nullptr)) {}
  /// Frees what this one has first.
  Database& operator=(Database&& other) noexcept {
    if (this == &other) return *this;
    zdbfree(&db_);
    db_ = std::exchange(other.db_, nullptr);
    return *this;
  }

  /// For the functions of C.
  zdbHandle_t handle() const { return db_; }

  /// Reads a data exchange file into an empty database, records when they are needed.
  void read(const std::string& fileName) const { check(c__zdbinitfromzxf(db_, fileName.c_str())); }
  /// Writes a data exchange file. With `checkDomains`, throws if a record is outside its domain.
  void write(const std::string& fileName, bool checkDomains = true) const {
    check(c__zdbwritezxf(db_, fileName.c_str(), checkDomains ? 0 : 1));
  }

  /// @}
  /// @name Symbols
  /// @{

  /// The storage (ZDB_STORAGE_...) of symbols added from now on.
  void setDefaultStorage(int storage) const {
    check(c__zdbselectrecordstorage(db_, nullptr, storage));
  }
  /// Adds a symbol. Without `domains`, they are the universe; a name that no set has is relaxed.
  Symbol add(const std::string& name, int dim, int type, const std::string& text = {},
             const std::vector<std::string>& domains = {}, int userInfo = 0) const {
    if (!domains.empty() && static_cast<int>(domains.size()) != dim) {
      throw Error("symbol " + name + " needs " + std::to_string(dim) + " domains, not " +
                      std::to_string(domains.size()),
                  ZDBX_ARGUMENT);
    }
    zdbSymbol_t sets[ZDB_MAX_DIM] = {};
    const char* names[ZDB_MAX_DIM] = {};
    for (std::size_t i = 0; i < domains.size(); ++i) {
      sets[i] = domainSet(domains[i]);
      names[i] = domains[i].c_str();
    }
    zdbSymbol_t symbol = nullptr;
    zdbx_clear_error(db_);
    check(domains.empty()
              ? c__zdbaddsymbol(db_, name.c_str(), dim, type, userInfo, text.c_str(), &symbol)
              : c__zdbaddsymbolx(db_, name.c_str(), dim, type, userInfo, text.c_str(), sets, names,
                                 &symbol));
    if (symbol == nullptr) throw Error::of(db_);
    return {db_, symbol};
  }
  /// Adds a set.
  Symbol addSet(const std::string& name, int dim = 1, const std::string& text = {},
                const std::vector<std::string>& domains = {}) const {
    return add(name, dim, ZDB_SET, text, domains);
  }
  /// Adds a parameter.
  Symbol addParameter(const std::string& name, int dim, const std::string& text = {},
                      const std::vector<std::string>& domains = {}) const {
    return add(name, dim, ZDB_PARAMETER, text, domains);
  }

  /// The symbol of a name, in any case; of an alias, its set unless `aliasItself`. Throws if there
  /// is none.
  Symbol symbol(const std::string& name, bool aliasItself = false) const {
    zdbSymbol_t symbol = nullptr;
    check(aliasItself ? c__zdbfindsymbolwithalias(db_, name.c_str(), &symbol)
                      : c__zdbfindsymbol(db_, name.c_str(), &symbol));
    return {db_, symbol};
  }
  /// The symbol of a name; none if there is no such symbol.
  std::optional<Symbol> findSymbol(const std::string& name, bool aliasItself = false) const {
    zdbSymbol_t symbol = nullptr;
    const int found = aliasItself ? c__zdbfindsymbolwithalias(db_, name.c_str(), &symbol)
                                  : c__zdbfindsymbol(db_, name.c_str(), &symbol);
    if (found == 0 && zdbx_error_kind(db_) != ZDBX_NOT_FOUND) throw Error::of(db_);
    return found != 0 ? std::optional(Symbol(db_, symbol)) : std::nullopt;
  }
  /// All symbols in the order in which they were added, aliases as such.
  std::vector<Symbol> symbols() const {
    std::vector<Symbol> result;
    for (int number = 0; number < info(ZDB_INFO_SYMBOLS); ++number) {
      zdbSymbol_t symbol = nullptr;
      check(c__zdbgetsymbolbynumber(db_, number, &symbol));
      result.emplace_back(db_, symbol);
    }
    return result;
  }
  /// Removes a symbol, which must not be the domain of another one. Its copies become invalid.
  void remove(Symbol symbol) const {
    zdbSymbol_t handle = symbol.handle();
    check(zdbx_remove_symbol(db_, &handle));
  }

  /// @}
  /// @name Labels and special values
  /// @{

  /// The numbers that stand for special values, by ZDB_SV_...
  std::array<double, ZDB_SV_COUNT> specialValues() const {
    std::array<double, ZDB_SV_COUNT> values{};
    check(c__zdbgetspecialvalues(db_, values.data()));
    return values;
  }

  /// How many labels there are.
  int labelCount() const { return info(ZDB_INFO_LABELS); }
  /// The text of a label; throws unless 1 <= number <= labelCount().
  std::string label(int number) const {
    char text[ZDB_TEXT_SIZE] = "";
    check(c__zdbgetuelbyindex(db_, number, text));
    return text;
  }
  /// The numbers of labels, which are added if they are new.
  std::vector<std::int32_t> addLabels(std::span<const char* const> labels) const {
    zdbx_texts texts = {};
    texts.size = sizeof texts;
    texts.pointers = labels.data();
    std::vector<std::int32_t> numbers(labels.size());
    zdbx_result result = {};
    result.size = sizeof result;
    if (zdbx_add_labels(db_, &texts, static_cast<std::int64_t>(labels.size()), numbers.data(),
                        ZDBX_UNDO, &result) == 0) {
      throw BulkError(Error::of(db_), result);
    }
    return numbers;
  }
  /// The number of a label, which is added if it is new.
  std::int32_t addLabel(const std::string& label) const {
    int number = 0;
    zdbx_clear_error(db_);
    check(c__zdbmergeuel(db_, label.c_str(), &number));
    return number;
  }
  /// The number of a label; none if there is no such label.
  std::optional<std::int32_t> findLabel(const std::string& label) const {
    int number = 0;
    zdbx_clear_error(db_);
    check(c__zdbfinduel(db_, label.c_str(), &number));
    return number > 0 ? std::optional(number) : std::nullopt;
  }

  /// @}
  /// @name Models
  /// @{

  /// Takes the symbols of a model instance and prepares it for updates and solves. The instance is
  /// the caller's and must outlive the database. See c__zdbinitfromdict(), c__zdbinitupdate().
  void readModel(void* instance) const {
    check(c__zdbinitfromdict(db_, instance));
    check(c__zdbinitupdate(db_, instance));
  }
  /// Has the model solved; what the solver found, the instance says. See c__zdbcallsolver().
  void solve(const std::string& solver) const { check(c__zdbcallsolver(db_, solver.c_str())); }

  /// @}

  /// Throws the last error if a call failed.
  void check(int result) const {
    if (result == 0) throw Error::of(db_);
  }

 private:
  int info(int key) const {
    int number = 0;
    check(c__zdbinfo(db_, key, &number, nullptr, nullptr));
    return number;
  }
  /// The set of that name, if it can be a domain.
  zdbSymbol_t domainSet(const std::string& name) const {
    zdbSymbol_t found = nullptr;
    int type = 0;
    int dim = 0;
    if (c__zdbfindsymbolwithalias(db_, name.c_str(), &found) == 0) return nullptr;
    check(c__zdbsymboltype(db_, found, &type));
    check(c__zdbsymboldim(db_, found, &dim));
    return dim == 1 && (type == ZDB_SET || type == ZDB_ALIAS) ? found : nullptr;
  }

  zdbHandle_t db_ = nullptr;
};

}  // namespace zdbcc

#endif  // ZDBCC_HPP
