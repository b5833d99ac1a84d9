#pragma once

#include <strings.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <deque>
#include <limits>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "zdbcclib.h"

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
inline void same(const char* seen, const std::string& expected, const char* what) {
  same(std::string(seen), expected, what);
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

/// Domains that are not symbols. By name, it is always that of a set of two dimensions.
enum { kUniverse = -1, kByName = -2 };
inline constexpr const char* kPairs = "pairs";

struct Symbol {
  std::string name;
  int type;
  int userInfo;
  std::vector<int> domains;  ///< numbers of symbols or one of the above
  Row defaults{};            ///< values of new records
  int aliasOf = userInfo;
  int storage = 0;
  int isWritten = 0;
  Records records{};
  zdbSymbol_t handle = nullptr;

  int dim() const { return static_cast<int>(domains.size()); }
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

/// A database, and beside it what it should hold.
struct Twin {
  zdbHandle_t db = nullptr;
  zdbSymbol_t universe = nullptr;
  int storage;  ///< of symbols that are added
  Pool labels{" "};
  Pool texts{""};
  std::vector<Symbol> symbols{};
  std::vector<Held> held{};
  int isRecording = 0;
  int isAttached = 0;
  bool hasFiles;
  int comparedLabels = 0;
  std::size_t notCompared = 0;

  explicit Twin(int recordStorage) : storage(recordStorage) {
    char text[ZDB_TEXT_SIZE];
    zdbcreate(&db, nullptr, 0);
    hasFiles = c__zdbgetlasterror(db, text) == 0;
    c__zdbfindsymbol(db, "*", &universe);
    c__zdbselectrecordstorage(db, nullptr, storage);
  }
  ~Twin() {
    for (const Held& one : held) c__zdbfreesymboliterator(db, one.handle);
    zdbfree(&db);
  }
  Twin(const Twin&) = delete;
  Twin& operator=(const Twin&) = delete;

  Symbol& symbol(int number) { return symbols[std::size_t(number)]; }
  const Symbol& symbol(int number) const { return symbols[std::size_t(number)]; }
  zdbSymbol_t handle(int n) const { return n == kUniverse ? universe : symbol(n).handle; }
  /// The set behind an alias.
  int target(int n) const { return n >= 0 && symbol(n).type == ZDB_ALIAS ? symbol(n).aliasOf : n; }
  bool areLabels(const Key& key, int lowest) const {
    return std::ranges::all_of(key, [&](int n) { return n >= lowest && labels.has(n); });
  }
  /// The value of a set's record is the number of its text.
  Row textRow(const std::string& text) { return {{double(texts.merge(text))}}; }

  static bool matches(const Key& slice, const Key& key) {
    const auto fits = [](int fixed, int label) { return fixed == 0 || fixed == label; };
    return std::ranges::equal(slice, key, fits);
  }
  std::vector<Record> slice(int number, const Key& slice) const {
    std::vector<Record> found;
    std::ranges::copy_if(symbol(number).records, std::back_inserter(found),
                         [&](const auto& record) { return matches(slice, record.first); });
    return found;
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

  /// Adds labels from l<name> on until there are so many.
  void addLabels(int count, int name) {
    for (int n = name, number = 0; labels.size() <= count; ++n) {
      const std::string label = (n % 5 == 0 ? " l" : "l") + show(n);
      c__zdbmergeuel(db, label.c_str(), &number);
      same(number, labels.merge(label), "number of a label");
    }
  }
  void addSymbol(Symbol symbol) {
    std::vector<zdbSymbol_t> domains;
    for (const int n : symbol.domains) domains.push_back(n == kByName ? nullptr : handle(n));
    const std::vector<const char*> names(domains.size(), kPairs);
    c__zdbaddsymbolx(db, symbol.name.c_str(), symbol.dim(), symbol.type, symbol.userInfo, "text",
                     domains.data(), names.data(), &symbol.handle);
    symbol.storage = storage;
    symbol.isWritten = isRecording;
    symbols.push_back(std::move(symbol));
  }
  void changed(int number) { symbol(number).isWritten |= isRecording; }
  /// All of a symbol's records go.
  void clear(int number) {
    symbol(number).records.clear();
    for (Held& one : held) one.hasEnded |= one.symbol == number;
    changed(number);
  }
  /// Replaces the records; false at the first one that cannot be copied.
  bool copyRecords(int number, const Twin& from, const Symbol& source) {
    const Records records = source.records;  // the source may be of this database
    clear(number);
    for (auto [key, row] : records) {
      Key translated = key;
      for (int& label : translated) {
        if (!from.labels.has(label)) return false;
        label = labels.merge(from.labels[label]);
      }
      const int text = source.type == ZDB_SET ? static_cast<int>(row[0]) : 0;
      if (symbol(number).type == ZDB_SET) row = textRow(from.texts[text]);
      symbol(number).records[translated] = row;
    }
    return true;
  }
  /// Holds what the other one does, which the database has from it already.
  void takeOver(const Twin& from) {
    for (const std::string& text : from.texts.texts) texts.merge(text);
    for (const std::string& label : from.labels.texts) labels.merge(label);
    symbols = from.symbols;
    for (int n = 0; n < std::ssize(symbols); ++n) {
      copyRecords(n, from, from.symbol(n));
      symbol(n).storage = storage;
      symbol(n).isWritten = 0;
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
    same(info(nullptr, ZDB_INFO_SOURCE_ATTACHED), isAttached, "source attached");
    for (int n = 0, index = 0; n < std::ssize(symbols); ++n) {
      same(info(handle(n), ZDB_SYMBOL_WRITTEN), symbol(n).isWritten, "written");
      if (symbol(n).type != ZDB_ALIAS) compareSymbol(n, index++);
    }
    if (std::exchange(comparedLabels, labels.size()) == labels.size()) return;
    std::vector<Record> all;
    for (int n = 1; n < labels.size(); ++n) all.push_back({{n}, {}});
    compareRecords(kUniverse, std::move(all));
  }
  int info(zdbSymbol_t symbol, int key) const {
    int value = -1;
    symbol == nullptr ? c__zdbinfo(db, key, &value, nullptr, nullptr)
                      : c__zdbsymbolinfo(db, symbol, key, &value, nullptr, nullptr);
    return value;
  }
  void compareSymbol(int number, int index) const {
    const Symbol& s = symbol(number);
    zdbSymbol_t found = nullptr;
    c__zdbfindsymbol(db, s.name.c_str(), &found);
    same(found, s.handle, "symbol by name");
    c__zdbgetsymbolbyindex(db, index, &found);
    same(found, s.handle, "symbol by index");
    same(info(found, ZDB_SYMBOL_NUMBER), number, "number of a symbol");
    same(info(found, ZDB_SYMBOL_DIM), s.dim(), "dim");
    same(info(found, ZDB_SYMBOL_TYPE), s.type, "type");
    same(info(found, ZDB_SYMBOL_USER_INFO), s.userInfo, "user info");
    same(info(found, ZDB_SYMBOL_STORAGE), s.storage, "storage");
    same(info(found, ZDB_SYMBOL_RECORDS), static_cast<int>(s.records.size()), "records");
    char rows[ZDB_MAX_DIM][ZDB_TEXT_SIZE];
    char* names[ZDB_MAX_DIM];
    for (int d = 0; d < ZDB_MAX_DIM; ++d) names[d] = rows[d];
    c__zdbsymbolinfo(db, found, ZDB_SYMBOL_TEXT, nullptr, nullptr, rows[0]);
    same(rows[0], "text", "text of a symbol");
    zdbSymbol_t domains[ZDB_MAX_DIM];
    c__zdbgetdomain(db, found, s.dim(), domains, names);
    for (std::size_t d = 0; d < s.domains.size(); ++d) {
      const int n = s.domains[d];
      same(domains[d], n == kByName ? nullptr : handle(target(n)), "domain");
      same(rows[d], n == kByName ? kPairs : n == kUniverse ? "*" : symbol(n).name, "domain");
    }
    compareRecords(number, {s.records.begin(), s.records.end()});
  }
  /// From the first to the last, and back.
  void compareRecords(int number, std::vector<Record> expected) const {
    for (const bool backwards : {false, true}) {
      zdbRecord_t record = nullptr;
      (backwards ? c__zdbfindlastrecord : c__zdbfindfirstrecord)(db, handle(number), &record);
      compareWalk(record, number, expected, backwards);
      if (record != nullptr) c__zdbfreesymboliterator(db, record);
      std::ranges::reverse(expected);
    }
  }
  /// The records from the one under the handle to the end of its walk, where it stays.
  void compareWalk(zdbRecord_t record, int number, const std::vector<Record>& expected,
                   bool backwards) const {
    same(record == nullptr, expected.empty(), "a walk finds nothing");
    const auto hasMore = backwards ? c__zdbrecordhasprev : c__zdbrecordhasnext;
    const auto move = backwards ? c__zdbrecordmoveprev : c__zdbrecordmovenext;
    for (const Record& one : expected) {
      compareRecord(record, number, one);
      same(hasMore(db, record), &one != &expected.back(), "a walk has more");
      same(move(db, record), &one != &expected.back(), "a walk goes on");
    }
    if (record != nullptr) compareRecord(record, number, expected.back());
  }
  void compareRecord(zdbRecord_t record, int number, const Record& expected) const {
    static constexpr decltype(&c__zdbgetlevel) getters[] = {
        c__zdbgetlevel, c__zdbgetmarginal, c__zdbgetlower, c__zdbgetupper, c__zdbgetscale};
    const auto& [key, row] = expected;
    char text[ZDB_TEXT_SIZE] = "";
    Key numbers(key.size());
    Row values{};
    const int dim = static_cast<int>(key.size());
    same(c__zdbgetrecordraw(db, record, dim, numbers.data(), values.data()), 1, "record");
    same(numbers, key, "key");
    for (int d = 0; d < dim; ++d) {
      const int label = key[std::size_t(d)];
      c__zdbgetkey(db, record, d, text);
      same(text, labels.has(label) ? labels[label] : "?", "label");
    }
    if (number == kUniverse) return;
    const Symbol& s = symbol(number);
    same(values, row, "values");
    for (int f = 0; f < s.width(); ++f) getters[f](db, record, &values[std::size_t(f)]);
    same(values, row, "fields");
    if (s.type != ZDB_SET) return;
    c__zdbgetelemtext(db, record, text);
    same(text, texts[static_cast<int>(row[0])], "element text");
  }
  void compareHeld(const Held& one) const {
    double value = 0;
    const Symbol& s = symbol(one.symbol);
    const bool isThere = !one.hasEnded;
    if (isThere) compareRecord(one.handle, one.symbol, {one.key, s.records.at(one.key)});
    same(c__zdbgetlevel(db, one.handle, &value), isThere, "level of a handle");
    same(c__zdbgetscale(db, one.handle, &value), isThere && s.width() > 1, "its scale");
    same(c__zdbrecordhasnext(db, one.handle), neighbour(one, false) != nullptr, "its next");
    same(c__zdbrecordhasprev(db, one.handle), neighbour(one, true) != nullptr, "its previous");
  }
};

}  // namespace zdb::test
