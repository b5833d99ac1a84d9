#pragma once

#include <strings.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <deque>
#include <iterator>
#include <limits>
#include <map>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "zdbcclib.h"
#include "zdbx.h"

namespace zdb::test {

using Key = std::vector<int>;
/// The values of a record, 0 beyond those that its type has.
struct Row : std::array<double, ZDB_MAX_VALUES> {
  bool operator==(const Row& other) const {  // bit by bit
    return std::memcmp(data(), other.data(), size() * sizeof(double)) == 0;
  }
};
using Records = std::map<Key, Row>;
using Record = std::pair<Key, Row>;

template <class Value>
std::string show(const Value& value) {
  std::ostringstream text;
  if constexpr (requires { text << value; }) {
    text << value;
  } else {
    for (const auto& part : value) text << show(part) << " ";
  }
  return text.str();
}

/// Throws a description when a database differs from its model.
template <class Value>
void same(const Value& seen, const std::type_identity_t<Value>& expected, const char* what) {
  if (seen == expected) return;
  throw std::runtime_error(what + (": " + show(seen)) + " instead of " + show(expected));
}

/// Texts numbered as they come, whose addresses stay; those that differ only in case are one.
struct Pool {
  struct Less {
    bool operator()(const std::string& a, const std::string& b) const {
      return ::strcasecmp(a.c_str(), b.c_str()) < 0;
    }
  };
  std::deque<std::string> texts;
  std::map<std::string, int, Less> numbers;

  explicit Pool(const char* first) { merge(first); }
  int size() const { return static_cast<int>(texts.size()); }
  bool has(int number) const { return number >= 0 && number < size(); }
  const std::string& operator[](int number) const { return texts[std::size_t(number)]; }
  /// A number that no record has when the text is not there.
  int find(const std::string& text) const {
    const auto place = numbers.find(text);
    return place == numbers.end() ? std::numeric_limits<int>::min() : place->second;
  }
  int merge(const std::string& text) {
    const auto [place, isNew] = numbers.try_emplace(text, size());
    if (isNew) texts.push_back(text);
    return place->second;
  }
};

struct Symbol {
  int type;
  int subtype;
  int dim;
  Row defaults{};  ///< values of new records
  int storage = 0;
  Records records{};
  zdbSymbol_t handle = nullptr;

  int width() const { return type < ZDB_VARIABLE ? 1 : ZDB_MAX_VALUES; }
};

/// A record handle that is kept while records around its own come and go.
struct Held {
  zdbRecord_t handle;
  int symbol;
  Key key;
  Key slice;              ///< 0 where a position is open
  bool hasEnded = false;  ///< the record has gone: whatever is done with the handle is refused
};

/// A cursor that is kept while records come and go on both sides of its place.
struct Cursor {
  zdbxCursor_t handle;
  int symbol;
  Key slice;
  std::optional<Key> last{};  ///< what was read last
  bool hasEnded = false;      ///< all records went at once
};

/// A database, and beside it what it should hold.
struct Twin {
  zdbHandle_t db = nullptr;
  int storage;  ///< of symbols that are added
  Pool labels{" "};
  Pool texts{""};
  std::vector<Symbol> symbols{};
  std::vector<Held> held{};
  std::vector<Cursor> cursors{};
  bool hasFiles;
  int named = 0;  ///< names that symbols have had
  std::size_t notCompared = 0;

  explicit Twin(int recordStorage) : storage(recordStorage) {
    char text[ZDB_TEXT_SIZE];
    zdbcreate(&db, nullptr, 0);
    hasFiles = c__zdbgetlasterror(db, text) == 0;
    c__zdbselectrecordstorage(db, nullptr, storage);
  }
  ~Twin() {
    for (const Held& one : held) c__zdbfreesymboliterator(db, one.handle);
    for (Cursor& one : cursors) zdbx_close_cursor(db, &one.handle);
    zdbfree(&db);
  }
  Twin(const Twin&) = delete;
  Twin& operator=(const Twin&) = delete;

  Symbol& symbol(int number) { return symbols[std::size_t(number)]; }
  const Symbol& symbol(int number) const { return symbols[std::size_t(number)]; }
  bool areLabels(const Key& key, int lowest) const {
    return std::ranges::all_of(key, [&](int n) { return n >= lowest && labels.has(n); });
  }
  /// The value of a set's record is the number of its text.
  Row textRow(const std::string& text) { return {{double(texts.merge(text))}}; }

  static bool matches(const Key& slice, const Key& key) {
    const auto fits = [](int fixed, int label) { return fixed == 0 || fixed == label; };
    return std::ranges::equal(slice, key, fits);
  }
  /// The key next to that under a handle; null at the end of its walk.
  const Key* neighbour(const Held& one, bool backwards) const {
    if (one.hasEnded) return nullptr;
    const Records& records = symbol(one.symbol).records;
    for (auto at = records.find(one.key);;) {
      if (at == (backwards ? records.begin() : std::prev(records.end()))) return nullptr;
      backwards ? --at : ++at;
      if (matches(one.slice, at->first)) return &at->first;
    }
  }

  void mergeLabel(const std::string& label) {
    int number = 0;
    c__zdbmergeuel(db, label.c_str(), &number);
    same(number, labels.merge(label), "number of a label");
  }
  std::string newName() { return "s" + show(named++); }
  void addSymbol(Symbol symbol) {
    const std::string name = newName();
    c__zdbaddsymbol(db, name.c_str(), symbol.dim, symbol.type, symbol.subtype, "", &symbol.handle);
    symbol.storage = storage;
    symbols.push_back(std::move(symbol));
  }
  /// All of a symbol's records go.
  void clear(int number) {
    symbol(number).records.clear();
    for (Held& one : held) one.hasEnded |= one.symbol == number;
    endCursors(number);
  }
  void endCursors(int number) {
    for (Cursor& one : cursors) one.hasEnded |= one.symbol == number;
  }
  /// The handles on a symbol that has gone can only be freed.
  void freeHeld(int number) {
    std::erase_if(held, [&](const Held& one) {
      return one.symbol == number && c__zdbfreesymboliterator(db, one.handle) == 1;
    });
    endCursors(number);
  }
  /// Those after it move up.
  void removeSymbol(int number) {
    freeHeld(number);
    symbols.erase(symbols.begin() + number);
    for (Held& one : held) one.symbol -= one.symbol > number ? 1 : 0;
    for (Cursor& one : cursors) one.symbol -= one.symbol > number ? 1 : 0;
  }
  /// Replaces the records; false at the first one that cannot be copied.
  bool copyRecords(int number, const Twin& from, const Symbol& source) {
    const Records records = source.records;  // the source may be of this database
    clear(number);
    for (const auto& [key, row] : records) {
      Key translated;
      for (const int label : key) {
        if (!from.labels.has(label)) return false;
        translated.push_back(labels.merge(from.labels[label]));
      }
      const int text = source.type == ZDB_SET ? static_cast<int>(row[0]) : 0;
      symbol(number).records[translated] =
          symbol(number).type == ZDB_SET ? textRow(from.texts[text]) : row;
    }
    return true;
  }
  /// Holds what the other one does, which the database has from it already.
  void takeOver(const Twin& from) {
    for (const std::string& text : from.texts.texts) texts.merge(text);
    for (const std::string& label : from.labels.texts) labels.merge(label);
    symbols = from.symbols;
    named = from.named;
    for (int n = 0; n < std::ssize(symbols); ++n) {
      copyRecords(n, from, from.symbol(n));
      symbol(n).storage = storage;
      c__zdbgetsymbolbynumber(db, n, &symbol(n).handle);
    }
  }

  /// Compares all that can be seen; where there is much, only now and then unless `isAll` holds.
  void compare(bool isAll) {
    std::size_t records = 0;
    for (const Symbol& one : symbols) records += one.records.size();
    for (const Held& one : held) compareHeld(one);
    if (!isAll && ++notCompared <= records / 300) return;
    notCompared = 0;
    same(info(nullptr, ZDB_INFO_LABELS), labels.size() - 1, "labels");
    same(info(nullptr, ZDB_INFO_SYMBOLS), static_cast<int>(symbols.size()), "symbols");
    for (int n = 0; n < std::ssize(symbols); ++n) {
      const Symbol& s = symbol(n);
      same(info(s.handle, ZDB_SYMBOL_STORAGE), s.storage, "storage");
      same(info(s.handle, ZDB_SYMBOL_RECORDS), static_cast<int>(s.records.size()), "records");
      compareWalks(n, Key(std::size_t(s.dim)), c__zdbfindfirstrecord, c__zdbfindlastrecord);
    }
  }
  int info(zdbSymbol_t symbol, int key) const {
    int value = -1;
    symbol == nullptr ? c__zdbinfo(db, key, &value, nullptr, nullptr)
                      : c__zdbsymbolinfo(db, symbol, key, &value, nullptr, nullptr);
    return value;
  }
  /// From the first to the last record of a slice, and back. Takes what finds them.
  void compareWalks(int number, const Key& slice, auto findFirst, auto findLast,
                    auto... arguments) const {
    std::vector<Record> expected;
    std::ranges::copy_if(symbol(number).records, std::back_inserter(expected),
                         [&](const auto& record) { return matches(slice, record.first); });
    for (const bool backwards : {false, true}) {
      zdbRecord_t record = nullptr;
      (backwards ? findLast : findFirst)(db, symbol(number).handle, arguments..., &record);
      same(record == nullptr, expected.empty(), "a walk finds nothing");
      const auto hasMore = backwards ? c__zdbrecordhasprev : c__zdbrecordhasnext;
      const auto move = backwards ? c__zdbrecordmoveprev : c__zdbrecordmovenext;
      for (const Record& one : expected) {
        compareRecord(record, number, one);
        same(hasMore(db, record), &one != &expected.back(), "a walk has more");
        same(move(db, record), &one != &expected.back(), "a walk goes on");
      }
      if (record != nullptr) c__zdbfreesymboliterator(db, record);
      std::ranges::reverse(expected);
    }
  }
  void compareRecord(zdbRecord_t record, int number, const Record& expected) const {
    const auto& [key, row] = expected;
    char text[ZDB_TEXT_SIZE] = "";
    Key numbers(key.size());
    Row values{};
    const int dim = static_cast<int>(key.size());
    same(c__zdbgetrecordraw(db, record, dim, numbers.data(), values.data()), 1, "record");
    same(numbers, key, "key");
    same(values, row, "values");
    for (int d = 0; d < dim; ++d) {
      const int label = key[std::size_t(d)];
      c__zdbgetkey(db, record, d, text);
      same<std::string>(text, labels.has(label) ? labels[label] : "?", "label");
    }
    if (symbol(number).type != ZDB_SET) return;
    c__zdbgetelemtext(db, record, text);
    same<std::string>(text, texts[static_cast<int>(row[0])], "element text");
  }
  void compareHeld(const Held& one) const {
    double value = 0;
    if (!one.hasEnded) {
      compareRecord(one.handle, one.symbol, {one.key, symbol(one.symbol).records.at(one.key)});
    }
    same(c__zdbgetlevel(db, one.handle, &value), !one.hasEnded, "level of a handle");
    same(c__zdbrecordhasnext(db, one.handle), neighbour(one, false) != nullptr, "its next");
    same(c__zdbrecordhasprev(db, one.handle), neighbour(one, true) != nullptr, "its previous");
  }
};

}  // namespace zdb::test
