// Any list of steps on two databases, done through the exported interface beside a model: what can
// be seen must be what the model says, whatever the storage. Each number of a list is a step.
//
//     storages_fuzzer FILE...                  replays inputs (or searches, with a fuzzing engine)
//     storages_fuzzer --seed N --steps M       does M steps, on which N alone decides
//     storages_fuzzer --seed N --steps M --threads T    and those of N + 1 and so on, all at once
#include <unistd.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <random>
#include <set>
#include <thread>

#include "fuzz/storages/twin.h"

namespace zdb::test {
namespace {

constexpr std::size_t kMostHeld = 10;
constexpr double kInf = std::numeric_limits<double>::infinity();

const Symbol kSymbols[] = {{ZDB_SET, 0, 1},
                           {ZDB_SET, 0, 2},
                           {ZDB_VARIABLE, 9, 0, {{0, 0, 1, 100, 1}}},
                           {ZDB_PARAMETER, 0, 1},
                           {ZDB_PARAMETER, 1, 2},
                           {ZDB_VARIABLE, 5, 3, {{0, 0, -kInf, kInf, 1}}},
                           {ZDB_EQUATION, 1, 4, {{0, 0, 0, kInf, 1}}},
                           {ZDB_SET, 0, ZDB_MAX_DIM}};

/// Two databases and what happens to them.
class Run {
 public:
  Run(int seed, int storage) : random_(unsigned(seed)), storage_(storage) {
    std::filesystem::create_directories(folder_);
    for (auto& twin : twins_) fill(twin);
  }
  ~Run() { std::filesystem::remove_all(folder_); }
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;

  void step(std::uint16_t number) {
    static constexpr Step kSteps[] = {&Run::useRecords, &Run::useMany,       &Run::switchStorage,
                                      &Run::copySymbol, &Run::throughFile,   &Run::copyDatabase,
                                      &Run::startAnew,  &Run::putMany,       &Run::readMany,
                                      &Run::addLabels,  &Run::throughStream, &Run::useCursor,
                                      &Run::editSymbols};
    random_.seed(number);
    Twin& t = *pick(twins_);
    const Step function = kSteps[oneIn(3) ? below(std::ssize(kSteps)) : 0];
    (this->*function)(t, anySymbol(t));
    compare(false);
  }
  void compare(bool isAll) {
    for (const auto& twin : twins_) twin->compare(isAll);
  }

 private:
  using Step = void (Run::*)(Twin& t, int n);

  // ---- what is drawn

  int below(std::ptrdiff_t count) { return static_cast<int>(random_() % std::uint64_t(count)); }
  bool oneIn(int count) { return below(count) == 0; }
  template <class List>
  auto pick(List& list) -> decltype(list[0]) {
    return list[random_() % std::size(list)];
  }
  int anyStorage() { return (storage_ + below(3)) % 3; }
  std::unique_ptr<Twin>& other(const Twin& t) { return twins_[&t == twins_[0].get() ? 1 : 0]; }
  int anySymbol(const Twin& t) { return below(std::ssize(t.symbols)); }
  /// A key of few labels, often that of a record or near one.
  Key anyKey(const Twin& t, int n) {
    const Records& records = t.symbol(n).records;
    Key key(std::size_t(t.symbol(n).dim));
    for (int& label : key) label = 1 + below(6);
    if (!key.empty() && oneIn(40)) key.front() = 0;  // the blank
    if (records.empty() || oneIn(3)) return key;
    const auto near = records.lower_bound(key);
    Key found = near == records.end() ? records.begin()->first : near->first;
    if (!key.empty() && oneIn(2)) found.back() = key.back();
    return found;
  }
  static std::string labelOf(int n) { return (n % 5 == 0 ? " l" : "l") + show(n); }
  /// The labels of a key; what is not a label becomes another one or a new one.
  std::vector<const char*> textsOf(const Twin& t, const Key& key) {
    static constexpr const char* names[] = {" ", "l1", "L3", "l5", " l5", "L8", "l9"};
    std::vector<const char*> texts(key.size() + 1);  // there is an address, also of none
    std::ranges::transform(key, texts.begin(), [&](int n) {
      return t.labels.has(n) ? t.labels[n].c_str() : pick(names);
    });
    return texts;
  }
  std::string anyText() {
    static constexpr const char* texts[] = {"", "one", "text1", "TEXT1", "text2", "text3", "Text3"};
    return pick(texts);
  }
  double anyValue() {
    using Limits = std::numeric_limits<double>;
    static constexpr double values[] = {
        0, 1, -2.5, 1E300, Limits::quiet_NaN(), kInf, -kInf, Limits::denorm_min()};
    return pick(values);
  }

  // ---- records

  /// Keeps a handle for some time, or frees it.
  void take(Twin& t, Held one) {
    if (one.handle == nullptr) return;
    if (oneIn(3)) {
      if (t.held.size() < kMostHeld) return t.held.push_back(std::move(one));
      std::swap(one, pick(t.held));
    }
    c__zdbfreesymboliterator(t.db, one.handle);
  }
  void store(Twin& t, int n, Key key) {
    Symbol& s = t.symbol(n);
    const bool isSet = s.type == ZDB_SET;
    const bool byTexts = oneIn(3);
    const bool isChecked = oneIn(2);
    const bool hasValues = !byTexts && (isSet || !oneIn(4));
    const bool givesHandle = byTexts || oneIn(2);
    if (!byTexts && !key.empty() && oneIn(9)) {  // not a label, or not yet
      pick(key) = oneIn(2) ? -below(3) : t.labels.size();
    }
    const std::vector<const char*> texts = textsOf(t, key);
    const std::string text = anyText();
    Row row{};
    for (int i = 0; i < s.width(); ++i) row[std::size_t(i)] = anyValue();
    zdbRecord_t handle = nullptr;
    const int status = byTexts ? c__zdbaddrecord(t.db, s.handle, texts.data(), &handle)
                       : isSet ? c__zdbmergesetrecordint(t.db, s.handle, key.data(), isChecked,
                                                         givesHandle, &handle, text.c_str())
                               : c__zdbmergerecordint(t.db, s.handle, key.data(), isChecked,
                                                      givesHandle, &handle, hasValues, row.data());
    for (std::size_t d = 0; byTexts && d < key.size(); ++d) key[d] = t.labels.merge(texts[d]);
    same(status, byTexts ? !s.records.contains(key) : !isChecked || t.areLabels(key, 1), "store");
    same(handle != nullptr, status && givesHandle, "store makes a handle");
    if (!status) return;
    Row& stored = s.records.try_emplace(key, s.defaults).first->second;
    if (hasValues) stored = isSet ? t.textRow(text) : row;
    take(t, {handle, n, key, Key(key.size())});
  }
  /// Every pattern of open positions, or some of many; and the record without any.
  void walkSlices(Twin& t, int n) {
    const Key key = anyKey(t, n);
    for (unsigned pattern = 0; pattern < 1u << std::min<std::size_t>(key.size(), 4); ++pattern) {
      std::vector<const char*> texts = textsOf(t, key);
      Held held{nullptr, n, Key(key.size()), {}};
      for (std::size_t d = 0; d < key.size(); ++d) {
        if (d < 4 ? (pattern >> d & 1) != 0 : oneIn(2)) texts[d] = " ";
        held.slice.push_back(t.labels.find(texts[d]));
      }
      const auto find = c__zdbfindfirstrecordslice;
      t.compareWalks(n, held.slice, find, c__zdbfindlastrecordslice, texts.data());
      zdbRecord_t exact = nullptr;
      const int status = c__zdbfindrecord(t.db, t.symbol(n).handle, texts.data(), &exact);
      same(status, t.symbol(n).records.contains(held.slice), "find");
      take(t, {exact, n, held.slice, Key(key.size())});
      Row row;
      find(t.db, t.symbol(n).handle, texts.data(), &held.handle);
      c__zdbgetrecordraw(t.db, held.handle, t.symbol(n).dim, held.key.data(), row.data());
      take(t, held);
    }
  }

  // ---- handles

  void moveHandle(Twin& t, Held& one) {
    const bool backwards = oneIn(2);
    const Key* next = t.neighbour(one, backwards);
    const auto move = backwards ? c__zdbrecordmoveprev : c__zdbrecordmovenext;
    same(move(t.db, one.handle), next != nullptr, "move");
    if (next != nullptr) one.key = Key(*next);
  }
  void setValue(Twin& t, Held& one) {
    Symbol& s = t.symbol(one.symbol);
    const std::string text = anyText();
    const double value = anyValue();
    const int status = s.type == ZDB_SET ? c__zdbsetelemtext(t.db, one.handle, text.c_str())
                                         : c__zdbsetlevel(t.db, one.handle, value);
    same(status, !one.hasEnded, "set a value");
    if (status) s.records.at(one.key)[0] = s.type == ZDB_SET ? t.texts.merge(text) : value;
  }
  /// The copy is compared with another handle.
  void copyHandle(Twin& t, Held one) {
    const Held& any = pick(t.held);
    const bool isSame = one.symbol == any.symbol && one.key == any.key;
    same(c__zdbcopysymboliterator(t.db, one.handle, &one.handle), 1, "copy a handle");
    const int status = c__zdbsamerecord(t.db, one.handle, any.handle);
    same(status, isSame && !one.hasEnded && !any.hasEnded, "stand on the same record");
    take(t, std::move(one));
  }
  void deleteRecord(Twin& t, const Held& gone) {
    same(c__zdbdeleterecord(t.db, gone.handle), !gone.hasEnded, "delete");
    if (gone.hasEnded) return;
    Symbol& s = t.symbol(gone.symbol);
    s.records.erase(gone.key);
    for (Held& one : t.held) {
      one.hasEnded = one.hasEnded || (one.symbol == gone.symbol && one.key == gone.key);
    }
  }

  // ---- a symbol as a whole

  /// Some steps on one symbol, so that they meet.
  void useRecords(Twin& t, int n) {
    for (int more = below(20); more >= 0; --more) {
      const int what = below(66);
      if (what >= 60) useCursor(t, n);
      if (what < 30) store(t, n, anyKey(t, n));
      if (what >= 30 && what < 34) walkSlices(t, n);
      if (what == 34) clear(t, n);
      if (what < 35 || what >= 60 || t.held.empty()) continue;
      Held& one = pick(t.held);
      if (what < 45) moveHandle(t, one);
      if (what >= 45 && what < 50) setValue(t, one);
      if (what >= 50 && what < 55) copyHandle(t, one);
      if (what >= 55) deleteRecord(t, one);
    }
  }
  void clear(Twin& t, int n) {
    same(c__zdbclearsymbol(t.db, t.symbol(n).handle), 1, "clear");
    t.clear(n);
  }
  /// Adds thousands of records, or erases all or all but some, in any order.
  void useMany(Twin& t, int n) {
    const int dim = t.symbol(n).dim;
    const bool adds = dim > 0 && oneIn(2);
    std::vector<Key> keys;
    if (adds) {
      const int count = 1 + below(2500);
      const int base = 2 + static_cast<int>(std::pow(count, 1.0 / dim)) + below(600);
      int next = static_cast<int>(t.labels.size()) + 4;  // some further ones may be there already
      while (std::ssize(t.labels) <= base) t.mergeLabel(labelOf(next++));
      for (int i = 0; i < count; ++i) {
        Key& key = keys.emplace_back(dim);
        int rest = i;
        for (auto label = key.rbegin(); label != key.rend(); ++label, rest /= base) {
          *label = 1 + rest % base;
        }
      }
    }
    const int kept = below(3);  // of eight
    for (const auto& [key, row] : t.symbol(n).records) {
      if (!adds && below(8) >= kept) keys.push_back(key);
    }
    if (oneIn(2)) std::ranges::reverse(keys);
    if (oneIn(3)) std::ranges::shuffle(keys, random_);
    for (const Key& key : keys) adds ? store(t, n, key) : erase(t, n, key);
    t.compare(true);
  }
  void erase(Twin& t, int n, const Key& key) {
    zdbRecord_t handle = nullptr;  // merging gives one on any key
    c__zdbmergerecordint(t.db, t.symbol(n).handle, key.data(), 0, 1, &handle, 0, nullptr);
    deleteRecord(t, {handle, n, key, {}});
    c__zdbfreesymboliterator(t.db, handle);
  }

  // ---- many records in one call

  /// Rows on their way in or out, as an array of packed structs.
  struct Table {
    std::vector<Key> keys;
    std::vector<Row> rows;
    std::vector<std::string> texts;
    std::vector<const char*> pointers;
    std::vector<char> bytes;  ///< of dim ints and five doubles for each row

    /// The columns in `bytes`, whose rows are aligned by chance only.
    template <class Columns>
    Columns view(std::size_t dim, std::size_t count) {
      const std::size_t size = dim * sizeof(int) + sizeof(Row);
      bytes.resize(count * size + 1);
      for (std::size_t i = 0; i < keys.size(); ++i) {
        if (dim > 0) std::memcpy(bytes.data() + i * size, keys[i].data(), dim * sizeof(int));
        if (rows.empty()) continue;
        std::memcpy(bytes.data() + i * size + dim * sizeof(int), &rows[i], sizeof(Row));
      }
      Columns columns = {};
      columns.size = sizeof columns;
      columns.rows = std::int64_t(count);
      for (std::size_t d = 0; d < dim; ++d) {
        columns.keys[d] = {bytes.data() + d * sizeof(int), std::int64_t(size)};
      }
      for (std::size_t f = 0; f < ZDB_MAX_VALUES; ++f) {
        columns.values[f] = {bytes.data() + dim * sizeof(int) + f * sizeof(double),
                             std::int64_t(size)};
      }
      return columns;
    }
    /// Key and values of a row that was read.
    Record record(std::size_t dim, std::size_t i) const {
      Record read{Key(dim), Row{}};
      const char* at = bytes.data() + i * (dim * sizeof(int) + sizeof(Row));
      if (dim > 0) std::memcpy(read.first.data(), at, dim * sizeof(int));
      std::memcpy(&read.second, at + dim * sizeof(int), sizeof(Row));
      return read;
    }
  };

  Key wrongNowAndThen(const Twin& t, Key key) {
    if (!key.empty() && oneIn(30)) pick(key) = oneIn(2) ? -below(3) : t.labels.size();
    return key;
  }
  Table anyTable(Twin& t, int n) {
    const Symbol& s = t.symbol(n);
    Table table;
    for (int rows = oneIn(4) ? below(900) : below(9); rows > 0; --rows) {
      Key key = anyKey(t, n);
      for (int& label : key) label = oneIn(3) ? 1 + below(t.labels.size() - 1) : label;
      table.keys.push_back(wrongNowAndThen(t, key));
      Row& row = table.rows.emplace_back();
      for (int i = 0; i < s.width(); ++i) row[std::size_t(i)] = anyValue();
      table.texts.push_back(anyText());
    }
    if (oneIn(2)) std::ranges::sort(table.keys);
    for (const std::string& text : table.texts) table.pointers.push_back(text.c_str());
    return table;
  }
  /// Known, new and wrong ones, in the spelling that they happen to have.
  void addLabels(Twin& t, int /*n*/) {
    std::vector<std::string> texts;
    for (int count = below(40); count > 0; --count) {
      texts.push_back(oneIn(60) ? "\t" : (oneIn(2) ? "x" : "X") + show(below(30)));
    }
    std::vector<const char*> pointers(texts.size() + 1);
    std::ranges::transform(texts, pointers.begin(), [](const auto& one) { return one.c_str(); });
    const zdbx_texts list = {sizeof list, pointers.data(), nullptr, nullptr, nullptr};
    const int onFailure = below(3);
    std::vector<int> numbers(texts.size() + 1);
    zdbx_result result = {};
    result.size = sizeof result;
    const int status =
        zdbx_add_labels(t.db, &list, std::ssize(texts), numbers.data(), onFailure, &result);
    const auto wrong = std::ranges::find(texts, "\t");
    same(status, wrong == texts.end() || onFailure == ZDBX_SKIP, "add labels");
    const bool isUndone = !status && onFailure == ZDBX_UNDO;
    const int before = t.labels.size();
    for (std::size_t i = 0; !isUndone && i < texts.size(); ++i) {
      const bool isWrong = texts[i] == "\t";
      if (isWrong && onFailure != ZDBX_SKIP) break;
      same(numbers[i], isWrong ? -1 : t.labels.merge(texts[i]), "number of a label");
    }
    same(result.added, t.labels.size() - before, "labels added");
    zdbx_find_labels(t.db, &list, std::ssize(texts), numbers.data(), nullptr);
    for (std::size_t i = 0; i < texts.size(); ++i) {
      same(numbers[i], std::max(-1, t.labels.find(texts[i])), "label found");
    }
  }
  /// In all modes and with each word for what cannot be taken.
  void putMany(Twin& t, int n) {
    Symbol& s = t.symbol(n);
    Table table = anyTable(t, n);
    const int mode = below(3);
    const int onFailure = below(3);
    const bool isSet = s.type == ZDB_SET;
    auto columns = table.view<zdbx_columns>(std::size_t(s.dim), table.keys.size());
    zdbx_texts texts = {sizeof texts, table.pointers.data(), nullptr, nullptr, nullptr};
    if (isSet) {
      columns.texts = table.keys.empty() ? nullptr : &texts;
      columns.values[0].data = nullptr;
    }
    zdbx_result result = {};
    result.size = sizeof result;
    const int status = zdbx_put_records(t.db, s.handle, &columns, mode, onFailure, &result);

    const Records before = mode == ZDBX_REPLACE ? Records() : s.records;
    std::map<Key, std::size_t> taken;  // the row that counts
    std::int64_t first = -1, done = 0, skipped = 0;
    for (std::size_t i = 0; i < table.keys.size(); ++i) {
      const Key& key = table.keys[i];
      const bool exists = before.contains(key) || taken.contains(key);
      if (t.areLabels(key, 1) && (mode != ZDBX_ADD || !exists)) {
        taken[key] = i;
        ++done;
        continue;
      }
      if (first < 0) first = std::int64_t(i);
      if (onFailure != ZDBX_SKIP) break;
      ++skipped;
    }
    same(status, first < 0 || onFailure == ZDBX_SKIP, "put");
    same(result.row, first, "the row that cannot be taken");
    const bool isUndone = first >= 0 && onFailure == ZDBX_UNDO;
    same(result.done, isUndone ? 0 : done, "rows taken");
    same(result.skipped, isUndone ? 0 : skipped, "rows skipped");
    if (isUndone) return;
    if (mode == ZDBX_REPLACE) t.clear(n);
    std::vector<std::pair<std::size_t, Key>> inOrder;
    inOrder.reserve(taken.size());
    for (const auto& [key, row] : taken) inOrder.emplace_back(row, key);
    std::ranges::sort(inOrder);
    std::int64_t added = 0;
    for (const auto& [row, key] : inOrder) {
      added += before.contains(key) ? 0 : 1;
      s.records[key] = isSet ? t.textRow(table.texts[row]) : table.rows[row];
    }
    same(result.added, added, "rows added");
  }
  /// Finds many keys, and reads a slice at once and in pieces.
  void readMany(Twin& t, int n) {
    const Symbol& s = t.symbol(n);
    const auto dim = std::size_t(s.dim);
    Table sought = anyTable(t, n);
    const auto keys = sought.view<zdbx_columns>(dim, sought.keys.size());
    Table values;
    const auto room = values.view<zdbx_buffers>(dim, sought.keys.size());
    std::vector<unsigned char> found(sought.keys.size() + 1);
    same(zdbx_find_records(t.db, s.handle, &keys, &room, found.data(), nullptr), 1, "find many");
    for (std::size_t i = 0; i < sought.keys.size(); ++i) {
      const auto place = s.records.find(sought.keys[i]);
      same(int{found[i]}, place != s.records.end(), "found");
      if (found[i] != 0) same(values.record(dim, i).second, place->second, "values found");
    }
    Key slice = anyKey(t, n);
    for (int& label : slice) label = oneIn(2) ? 0 : label;
    std::vector<Record> expected;
    std::ranges::copy_if(s.records, std::back_inserter(expected),
                         [&](const auto& record) { return Twin::matches(slice, record.first); });
    std::int64_t count = -1;
    same(zdbx_count_records(t.db, s.handle, slice.data(), &count), 1, "count");
    same(count, std::ssize(expected), "records of a slice");
    zdbxCursor_t cursor = nullptr;
    same(zdbx_open_cursor(t.db, s.handle, slice.data(), &cursor), 1, "open a cursor");
    std::vector<Record> read;
    for (zdbx_result result = {}; read.empty() || result.done > 0;) {
      Table piece;
      const auto buffers = piece.view<zdbx_buffers>(dim, 1 + std::size_t(below(9)));
      result.size = sizeof result;
      same(zdbx_read_cursor(t.db, cursor, &buffers, &result), 1, "read a cursor");
      for (int i = 0; i < result.done; ++i) read.push_back(piece.record(dim, std::size_t(i)));
      if (result.done == 0) break;
    }
    same(zdbx_close_cursor(t.db, &cursor), 1, "close a cursor");
    same(read.size(), expected.size(), "records read");
    for (std::size_t i = 0; i < read.size(); ++i) {
      same(read[i].first, expected[i].first, "key read");
      same(read[i].second, expected[i].second, "values read");
    }
  }
  /// Reads on with an open cursor, or opens one.
  void useCursor(Twin& t, int n) {
    constexpr std::size_t kMostOpen = 4;
    if (t.cursors.size() < kMostOpen && oneIn(2) && t.symbol(n).dim > 0) {
      Cursor& one = t.cursors.emplace_back(Cursor{nullptr, n, anyKey(t, n)});
      for (int& label : one.slice) label = oneIn(2) ? 0 : label;
      same(zdbx_open_cursor(t.db, t.symbol(n).handle, one.slice.data(), &one.handle), 1, "open");
      return;
    }
    if (t.cursors.empty()) return;
    Cursor& one = pick(t.cursors);
    const auto dim = one.slice.size();
    Table piece;
    const std::size_t room = 1 + std::size_t(below(9));
    const auto buffers = piece.view<zdbx_buffers>(dim, room);
    zdbx_result result = {};
    result.size = sizeof result;
    same(zdbx_read_cursor(t.db, one.handle, &buffers, &result), !one.hasEnded, "read on");
    if (one.hasEnded || oneIn(9)) {
      zdbx_close_cursor(t.db, &one.handle);
      std::swap(one, t.cursors.back());
      return t.cursors.pop_back();
    }
    const Records& records = t.symbol(one.symbol).records;
    auto at = one.last ? records.upper_bound(*one.last) : records.begin();
    for (std::size_t i = 0; i < room; ++i, ++at) {
      while (at != records.end() && !Twin::matches(one.slice, at->first)) ++at;
      same(result.done > std::int64_t(i), at != records.end(), "has another record");
      if (at == records.end()) return;
      same(piece.record(dim, i).first, at->first, "key of a cursor");
      one.last = at->first;
    }
  }
  /// Takes over a slice of a symbol with the same number, of either database.
  void throughStream(Twin& t, int n) {
    const Twin& from = *pick(twins_);
    if (from.symbol(n).type != t.symbol(n).type || from.symbol(n).dim != t.symbol(n).dim) return;
    Key slice = anyKey(from, n);
    for (int& label : slice) label = oneIn(2) ? 0 : label;
    std::vector<Record> rows;
    for (const auto& [key, row] : from.symbol(n).records) {
      if (!Twin::matches(slice, key)) continue;
      if (!from.areLabels(key, 1)) return;
      rows.emplace_back(key, row);
    }
    ArrowArrayStream stream;
    const auto batchRows = below(9);
    same(zdbx_export_stream(from.db, from.symbol(n).handle, slice.data(), batchRows, &stream), 1,
         "export");
    Pool labels = t.labels;
    for (std::size_t d = 0; d < slice.size(); ++d) {
      std::set<int> dictionary;
      for (const Record& record : rows) dictionary.insert(record.first[d]);
      for (const int label : dictionary) labels.merge(from.labels[label]);
    }
    Symbol& s = t.symbol(n);
    bool hasAny = false;
    for (Record& record : rows) {
      for (int& label : record.first) label = labels.find(from.labels[label]);
      hasAny = hasAny || s.records.contains(record.first);
    }
    const int mode = below(3);
    const int status = zdbx_import_stream(t.db, s.handle, &stream, mode, ZDBX_UNDO, nullptr);
    same(status, mode != ZDBX_ADD || !hasAny, "import");
    if (!status) return;
    t.labels = labels;
    if (mode == ZDBX_REPLACE) t.clear(n);
    for (const auto& [key, row] : rows) {
      s.records[key] = s.type == ZDB_SET ? t.textRow(from.texts[static_cast<int>(row[0])]) : row;
    }
  }
  void switchStorage(Twin& t, int n) {
    const int storage = anyStorage();
    same(c__zdbselectrecordstorage(t.db, &t.symbol(n).handle, storage), 1, "switch storage");
    if (std::exchange(t.symbol(n).storage, storage) == storage) return;
    t.freeHeld(n);
  }
  /// Gives it a new name, or removes it and adds one like it. What is open on others stays open.
  void editSymbols(Twin& t, int n) {
    Symbol& s = t.symbol(n);
    if (oneIn(2)) {
      const std::string name = t.newName();
      zdbSymbol_t found = nullptr;
      same(zdbx_rename_symbol(t.db, s.handle, name.c_str()), 1, "rename");
      same(c__zdbfindsymbol(t.db, name.c_str(), &found), 1, "find under the new name");
      same(found == s.handle, true, "is what has the name");
      return;
    }
    Symbol like = s;
    like.records.clear();
    same(zdbx_remove_symbol(t.db, &s.handle), 1, "remove");
    t.removeSymbol(n);
    t.addSymbol(std::move(like));
  }
  /// From a symbol that fits, of either database; a set takes the keys of any.
  void copySymbol(Twin& t, int n) {
    const Twin& from = *pick(twins_);
    const Symbol& s = t.symbol(n);
    std::vector<const Symbol*> sources;
    for (const Symbol& one : from.symbols) {
      const bool fits = one.type == s.type || s.type == ZDB_SET;
      if (fits && one.dim == s.dim) sources.push_back(&one);
    }
    if (sources.empty()) return;
    const Symbol& source = *pick(sources);
    const int status = c__zdbcopysymbol(t.db, s.handle, source.handle);
    same(status, &source == &s || t.copyRecords(n, from, source), "copy");
  }

  // ---- a database as a whole

  /// Files and other databases take known labels only.
  void dropUnknownLabels(Twin& t, int lowest) {
    for (int n = 0; n < std::ssize(t.symbols); ++n) {
      const auto isUnknown = [&](const auto& one) { return !t.areLabels(one.first, lowest); };
      if (std::ranges::any_of(t.symbol(n).records, isUnknown)) clear(t, n);
    }
  }
  /// The other database becomes what a file of this one holds, read as it is needed.
  void throughFile(Twin& t, int n) {
    if (!t.hasFiles) return;
    dropUnknownLabels(t, 1);
    const std::string file = folder_ / (show(++files_) + ".zxf");
    const bool isInMemory = oneIn(3);
    void* bytes = nullptr;
    std::size_t size = 0;
    same(isInMemory ? zdbx_write_memory(t.db, 0, &bytes, &size)
                    : c__zdbwritezxf(t.db, file.c_str(), 0),
         1, "write a file");
    Twin& to = *(other(t) = std::make_unique<Twin>(anyStorage()));
    for (int label = below(6); label > 3; --label) to.mergeLabel(labelOf(label));
    same(isInMemory ? zdbx_init_from_memory(to.db, bytes, size)
                    : c__zdbinitfromzxf(to.db, file.c_str()),
         1, "read a file");
    zdbx_free_bytes(bytes);
    to.takeOver(t);
    for (int uses = below(6); uses > 0; --uses) {
      static constexpr Step steps[] = {&Run::useRecords, &Run::switchStorage, &Run::copySymbol};
      (this->*pick(steps))(to, anySymbol(to));
    }
    const int next = below(5);
    if (next == 0) return;
    if (next == 1) return throughFile(to, n);  // with what is still in the first file
    if (next == 2) return copyDatabase(to, n);
    if (next == 3) dropUnknownLabels(to, 1);  // and over the file itself
    const int status =
        next == 3 ? c__zdbwritezxf(to.db, file.c_str(), 0) : c__zdbclosezxf(to.db, 1);
    same(status, 1, "close a file");
  }
  /// The other database becomes a copy of this one, sometimes after it has got texts from a file
  /// without symbols.
  void copyDatabase(Twin& t, int /*n*/) {
    dropUnknownLabels(t, 0);
    auto copy = std::make_unique<Twin>(anyStorage());
    Pool texts("");
    for (const char* text : {"text3", "TEXT1", "alone", "text2"}) texts.merge(text);
    if (t.hasFiles && oneIn(2)) {
      same(c__zdbinitfromzxf(copy->db, ZDB_FILE_OF_TEXTS), 1, "read texts");
      same(c__zdbclosezxf(copy->db, 1), 1, "close a file");
      copy->texts = texts;
    }
    same(c__zdbinitfromdb(copy->db, t.db), 1, "copy a database");
    copy->takeOver(t);
    other(t) = std::move(copy);
  }
  void startAnew(Twin& t, int /*n*/) { fill(other(t)); }
  /// One database has other numbers for its labels than the other.
  void fill(std::unique_ptr<Twin>& twin) {
    twin = std::make_unique<Twin>(anyStorage());
    const int first = &twin == &twins_[0] ? 1 : 4;
    for (int n = first; n < first + 6; ++n) twin->mergeLabel(labelOf(n));
    for (const Symbol& symbol : kSymbols) twin->addSymbol(symbol);
  }

  std::mt19937 random_;
  const int storage_;  ///< added to all that are drawn
  std::array<std::unique_ptr<Twin>, 2> twins_;
  const std::filesystem::path folder_ =
      std::filesystem::temp_directory_path() / ("zdb_storages_" + show(::gettid()));
  int files_ = 0;
};

/// Three times, with another storage in each place; ends the process at the first difference.
void runSteps(const std::vector<std::uint16_t>& steps) {
  for (int storage = 0; storage < 3; ++storage) {
    std::size_t done = 0;
    try {
      Run run(steps.empty() ? 0 : steps[0], storage);
      for (; done < steps.size(); ++done) run.step(steps[done]);
      run.compare(true);
    } catch (const std::runtime_error& difference) {
      std::fprintf(stderr, "storage %d, step %zu: %s\n", storage, done, difference.what());
      std::abort();
    }
  }
}

}  // namespace
}  // namespace zdb::test

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
  const char* const* arguments = *argv;
  if (*argc < 5 || std::strcmp(arguments[1], "--seed") != 0) return 0;
  const auto run = [&](int seed) {
    std::mt19937 random(static_cast<std::uint32_t>(seed));
    std::vector<std::uint16_t> steps(static_cast<std::size_t>(std::atoi(arguments[4])));
    for (auto& step : steps) step = static_cast<std::uint16_t>(random());
    zdb::test::runSteps(steps);
  };
  const int first = std::atoi(arguments[2]);
  const int count = *argc < 7 ? 1 : std::atoi(arguments[6]);
  std::vector<std::thread> threads;
  threads.reserve(static_cast<std::size_t>(count));
  for (int n = 0; n < count; ++n) threads.emplace_back(run, first + n);
  for (std::thread& thread : threads) thread.join();
  std::exit(0);
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<std::uint16_t> steps(size / 2);
  if (!steps.empty()) std::memcpy(steps.data(), data, 2 * steps.size());
  zdb::test::runSteps(steps);
  return 0;
}
