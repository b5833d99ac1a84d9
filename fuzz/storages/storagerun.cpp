#include "fuzz/storages/storagerun.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <memory>

#include "fuzz/storages/twin.h"

namespace zdb::test {

namespace {

// Faults of the library that wait for their mending; what would meet them is left out meanwhile.
constexpr bool kKnownRevivedHandles = false;  // a deleted record's other handle joins a later record
constexpr bool kKnownSwappedTexts = false;    // a copy swaps texts when the last keeps its number

constexpr std::size_t kMostHeld = 10;
constexpr std::size_t kMostSymbols = 16;
constexpr int kFewLabels = 6;
constexpr double kInf = std::numeric_limits<double>::infinity();

/// Sets that are domains, one through an alias only; and symbols of all types.
const Symbol kSymbols[] = {{"i", ZDB_SET, 0, {kUniverse}},
                           {"ii", ZDB_ALIAS, 0, {kUniverse}},
                           {"all", ZDB_ALIAS, kUniverse, {kUniverse}},
                           {"j", ZDB_SET, 0, {1}},
                           {kPairs, ZDB_SET, 0, {3, 1}},
                           {"scalar", ZDB_VARIABLE, 9, {}, {{0, 0, 1, 100, 1}}},
                           {"p", ZDB_PARAMETER, 0, {3}},
                           {"q", ZDB_PARAMETER, 1, {kByName, 1}},
                           {"x", ZDB_VARIABLE, 5, {kUniverse, 2, 3}, {{0, 0, -kInf, kInf, 1}}},
                           {"e", ZDB_EQUATION, 1, {1, kUniverse, 3, kByName}, {{0, 0, 0, kInf, 1}}},
                           {"wide", ZDB_SET, 0, Key(ZDB_MAX_DIM, kUniverse)}};

/// Two databases and what happens to them.
class Run {
 public:
  Run(const Choices& choices, int storage) : choices_(choices), storage_(storage) {
    std::filesystem::create_directories(folder_);
    for (auto& twin : twins_) fill(twin);
  }
  ~Run() { std::filesystem::remove_all(folder_); }
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;

  /// Returns a description of the first difference.
  std::string steps(int count) {
    static constexpr struct {
      const char* name;
      void (Run::*function)(Twin& t, int n);
    } kSteps[] = {{"use records", &Run::useRecords},       {"use many records", &Run::useMany},
                  {"write recording", &Run::setRecording}, {"switch storage", &Run::switchStorage},
                  {"add symbol", &Run::addSymbol},         {"copy symbol", &Run::copySymbol},
                  {"check domains", &Run::checkDomains},   {"through a file", &Run::throughFile},
                  {"copy database", &Run::copyDatabase},   {"start anew", &Run::startAnew}};
    const char* doing = "";
    int step = 0;
    try {
      for (; step < count && !choices_.isAtEnd(); ++step) {
        Twin& t = *choices_.pick(twins_);
        const auto& [name, function] = choices_.oneIn(3) ? choices_.pick(kSteps) : kSteps[0];
        doing = name;
        (this->*function)(t, anySymbol(t));
        for (const auto& twin : twins_) twin->compare(false);
      }
      for (const auto& twin : twins_) twin->compare(true);
    } catch (const std::runtime_error& difference) {
      return "storage " + show(storage_) + ", step " + show(step) + ", " + doing + ": " +
             difference.what();
    }
    return "";
  }

 private:
  // ---- what is drawn

  int anyStorage() { return (storage_ + choices_.below(3)) % 3; }
  std::unique_ptr<Twin> newTwin() { return std::make_unique<Twin>(anyStorage()); }
  std::unique_ptr<Twin>& other(const Twin& t) { return twins_[&t == twins_[0].get() ? 1 : 0]; }
  int anySymbol(const Twin& t) {
    const int n = choices_.below(static_cast<int>(t.symbols.size()));
    return t.symbol(n).type == ZDB_ALIAS ? 0 : n;
  }
  /// A key of few labels, often that of a record or near one.
  Key anyKey(const Twin& t, int n) {
    const Records& records = t.symbol(n).records;
    Key key(t.symbol(n).domains.size());
    for (int& label : key) label = 1 + choices_.below(kFewLabels);
    if (!key.empty() && choices_.oneIn(40)) key.front() = 0;  // the blank
    if (records.empty() || choices_.oneIn(3)) return key;
    const auto near = records.lower_bound(key);
    Key found = near == records.end() ? records.begin()->first : near->first;
    if (!key.empty() && choices_.oneIn(2)) found.back() = key.back();
    return found;
  }
  /// The labels of a key; what is not a label becomes another one or a new one.
  std::vector<const char*> textsOf(const Twin& t, const Key& key) {
    static constexpr const char* names[] = {" ", "l1", "L3", "l5", " l5", "L8", "l9"};
    std::vector<const char*> texts(key.size() + 1);  // there is an address, also of none
    std::ranges::transform(key, texts.begin(), [&](int n) {
      return t.labels.has(n) ? t.labels[n].c_str() : choices_.pick(names);
    });
    return texts;
  }
  std::string anyText() {
    static constexpr const char* texts[] = {"", "one", "text1", "TEXT1", "text2", "text3", "Text3"};
    return choices_.pick(texts);
  }
  double anyValue() {
    using Limits = std::numeric_limits<double>;
    static constexpr double values[] = {
        0, 1, -2.5, 1E300, Limits::quiet_NaN(), kInf, -kInf, Limits::denorm_min()};
    return choices_.pick(values);
  }

  // ---- records

  /// Keeps a handle for some time, or frees it.
  void take(Twin& t, Held one) {
    if (one.handle == nullptr) return;
    if (choices_.oneIn(3)) {
      if (t.held.size() < kMostHeld) return t.held.push_back(std::move(one));
      std::swap(one, choices_.pick(t.held));
    }
    c__zdbfreesymboliterator(t.db, one.handle);
  }
  void store(Twin& t, int n, Key key) {
    Symbol& s = t.symbol(n);
    enum { Add, Merge, Raw, Unchecked, Checked, WithoutValues };
    const int way = choices_.below(6);
    const bool byTexts = way <= Merge;
    if (!byTexts && !key.empty() && choices_.oneIn(9)) {  // not a label, or not yet
      choices_.pick(key) = choices_.oneIn(2) ? -choices_.below(3) : t.labels.size();
    }
    const std::vector<const char*> texts = textsOf(t, key);
    const std::string text = anyText();
    Row row;
    for (double& value : row) value = anyValue();
    const int* const keys = key.data();
    zdbRecord_t handle = nullptr;
    const int status = way == Add     ? c__zdbaddrecord(t.db, s.handle, texts.data(), &handle)
                       : way == Merge ? c__zdbmergerecord(t.db, s.handle, texts.data(), &handle)
                       : way == Raw
                           ? c__zdbaddrecordraw(t.db, s.handle, keys, row.data(), text.c_str())
                       : s.type == ZDB_SET && way != WithoutValues
                           ? c__zdbmergesetrecordint(t.db, s.handle, keys, way != Unchecked, 1,
                                                     &handle, text.c_str())
                           : c__zdbmergerecordint(t.db, s.handle, keys, way != Unchecked, 1,
                                                  &handle, way != WithoutValues, row.data());
    if (byTexts) {
      std::transform(texts.begin(), texts.end() - 1, key.begin(),
                     [&](const char* label) { return t.labels.merge(label); });
    }
    const bool works =
        way == Add ? !s.records.contains(key) : byTexts || way == Unchecked || t.areLabels(key, 1);
    same(status, works, "store");
    same(handle != nullptr, works && way != Raw, "store makes a handle");
    if (!works) return;
    t.changed(n);
    Row& stored = s.records.try_emplace(key, s.defaults).first->second;
    if (!byTexts && way != WithoutValues)
      std::copy_n((s.type == ZDB_SET ? t.textRow(text) : row).begin(), s.width(), stored.begin());
    take(t, {handle, n, key, Key(key.size())});
  }
  void find(Twin& t, int n) {
    const std::vector<const char*> texts = textsOf(t, anyKey(t, n));
    Key key;
    for (std::size_t d = 0; d + 1 < texts.size(); ++d) key.push_back(t.labels.find(texts[d]));
    zdbRecord_t handle = nullptr;
    const int status = c__zdbfindrecord(t.db, t.handle(n), texts.data(), &handle);
    same(status, t.symbol(n).records.contains(key), "find");
    take(t, {handle, n, key, Key(key.size())});
  }
  /// Every pattern of open positions, or some of many.
  void walkSlices(Twin& t, int n) {
    const Key key = anyKey(t, n);
    for (unsigned pattern = 0; pattern < 1u << std::min<std::size_t>(key.size(), 4); ++pattern) {
      std::vector<const char*> texts = textsOf(t, key);
      Key slice;
      for (std::size_t d = 0; d < key.size(); ++d) {
        const bool isOpen = d < 4 ? (pattern >> d & 1) != 0 : choices_.oneIn(2);
        if (isOpen) texts[d] = " ";
        slice.push_back(t.labels.find(texts[d]));
      }
      std::vector<Record> expected = t.slice(n, slice);
      for (const bool backwards : {false, true}) {
        zdbRecord_t record = nullptr;
        const auto call = backwards ? c__zdbfindlastrecordslice : c__zdbfindfirstrecordslice;
        call(t.db, t.handle(n), texts.data(), &record);
        t.compareWalk(record, n, expected, backwards);
        std::ranges::reverse(expected);
        if (record != nullptr) take(t, {record, n, expected.front().first, slice});
      }
    }
  }

  // ---- handles

  void useHandle(Twin& t) {
    static constexpr void (Run::*uses[])(Twin&, Held&) = {
        &Run::moveHandle, &Run::moveHandle, &Run::setValue, &Run::copyHandle, &Run::deleteHeld};
    if (!t.held.empty()) (this->*choices_.pick(uses))(t, choices_.pick(t.held));
  }
  void moveHandle(Twin& t, Held& one) {
    const bool backwards = choices_.oneIn(2);
    const Key* next = t.neighbour(one, backwards);
    const auto move = backwards ? c__zdbrecordmoveprev : c__zdbrecordmovenext;
    same(move(t.db, one.handle), next != nullptr, "move");
    if (next != nullptr) one.key = Key(*next);
  }
  void setValue(Twin& t, Held& one) {
    static constexpr decltype(&c__zdbsetlevel) setters[] = {
        c__zdbsetlevel, c__zdbsetmarginal, c__zdbsetlower, c__zdbsetupper, c__zdbsetscale};
    Symbol& s = t.symbol(one.symbol);
    const std::size_t field = std::size_t(choices_.below(s.type == ZDB_SET ? 2 : ZDB_MAX_VALUES));
    const bool isText = s.type == ZDB_SET && field == 0;
    const std::string text = anyText();
    const double value = anyValue();
    const int status = isText ? c__zdbsetelemtext(t.db, one.handle, text.c_str())
                              : setters[field](t.db, one.handle, value);
    const bool works = !one.hasEnded && static_cast<int>(field) < s.width();
    same(status, works, "set a value");
    if (!works) return;
    s.records.at(one.key)[field] = isText ? t.texts.merge(text) : value;
    t.changed(one.symbol);
  }
  /// The copy is compared with another handle.
  void copyHandle(Twin& t, Held& one) {
    const Held& any = choices_.pick(t.held);
    const bool isSame = one.symbol == any.symbol && one.key == any.key;
    Held copy = one;
    same(c__zdbcopysymboliterator(t.db, one.handle, &copy.handle), 1, "copy a handle");
    const int status = c__zdbsamerecord(t.db, copy.handle, any.handle);
    same(status, isSame && !one.hasEnded && !any.hasEnded, "stand on the same record");
    take(t, std::move(copy));
  }
  void deleteHeld(Twin& t, Held& one) { deleteRecord(t, one); }
  void deleteRecord(Twin& t, const Held gone) {
    same(c__zdbdeleterecord(t.db, gone.handle), !gone.hasEnded, "delete");
    if (gone.hasEnded) return;
    t.symbol(gone.symbol).records.erase(gone.key);
    t.changed(gone.symbol);
    std::erase_if(t.held, [&](Held& one) {
      if (one.hasEnded || one.symbol != gone.symbol || one.key != gone.key) return false;
      one.hasEnded = true;
      const Symbol& s = t.symbol(one.symbol);
      const bool revives = s.dim() > 0 && s.storage != ZDB_STORAGE_VECTOR;
      if (one.handle == gone.handle || !(kKnownRevivedHandles && revives)) return false;
      return c__zdbfreesymboliterator(t.db, one.handle) == 1;
    });
  }

  // ---- a symbol as a whole

  /// Some steps on one symbol, so that they meet.
  void useRecords(Twin& t, int n) {
    for (int more = choices_.below(20); more >= 0; --more) {
      const int what = choices_.below(60);
      if (what < 30) store(t, n, anyKey(t, n));
      if (what >= 30 && what < 54) useHandle(t);
      if (what == 54) checkDomains(t, anySymbol(t));
      if (what == 55 || what == 56) find(t, n);
      if (what == 57 || what == 58) walkSlices(t, n);
      if (what == 59) clear(t, n);
    }
  }
  void clear(Twin& t, int n) {
    same(c__zdbclearsymbol(t.db, t.handle(n)), 1, "clear");
    t.clear(n);
  }
  /// Adds thousands of records, or erases all or all but some; one number decides on them.
  void useMany(Twin& t, int n) {
    const int most = choices_.isFinite() ? 100 : 2500;
    Choices own(std::uint32_t(choices_.below(1 << 16)));
    std::swap(choices_, own);
    const int dim = t.symbol(n).dim();
    const int count = choices_.oneIn(2) || dim == 0 ? 0 : 1 + choices_.below(most);
    const int few = 2 + static_cast<int>(std::pow(count, 1.0 / std::max(dim, 1)));
    const int base = few + (choices_.oneIn(2) ? 0 : choices_.below(most / 2));
    t.addLabels(count == 0 ? 0 : base, 1);
    std::vector<Key> keys(static_cast<std::size_t>(count), Key(t.symbol(n).domains.size()));
    for (int i = 0; i < count; ++i) {
      int rest = i;
      Key& key = keys[std::size_t(i)];
      std::for_each(key.rbegin(), key.rend(), [&](int& label) {
        label = 1 + rest % base;
        rest /= base;
      });
    }
    const int kept = choices_.below(3);  // of eight
    for (const auto& [key, row] : t.symbol(n).records) {
      if (count == 0 && choices_.below(8) >= kept) keys.push_back(key);
    }
    const int order = choices_.below(3);
    if (order == 1) std::ranges::reverse(keys);
    if (order == 2) choices_.shuffle(keys);
    for (const Key& key : keys) count == 0 ? erase(t, n, key) : store(t, n, key);
    std::swap(choices_, own);
    t.compare(true);
  }
  void erase(Twin& t, int n, const Key& key) {
    zdbRecord_t handle = nullptr;  // merging gives one on any key
    c__zdbmergerecordint(t.db, t.handle(n), key.data(), 0, 1, &handle, 0, nullptr);
    deleteRecord(t, {handle, n, key, {}});
    c__zdbfreesymboliterator(t.db, handle);
  }
  void switchStorage(Twin& t, int /*n*/) {
    const int n = choices_.below(static_cast<int>(t.symbols.size()));  // aliases as well
    const int storage = anyStorage();
    same(c__zdbselectrecordstorage(t.db, &t.symbol(n).handle, storage), 1, "switch storage");
    if (std::exchange(t.symbol(n).storage, storage) == storage) return;
    std::erase_if(t.held, [&](const Held& one) {
      return one.symbol == n && c__zdbfreesymboliterator(t.db, one.handle) == 1;
    });
  }
  /// From either database, of which one gets the message of a failure.
  void copySymbol(Twin& t, int n) {
    Twin& from = *choices_.pick(twins_);
    Twin& asked = *choices_.pick(twins_);
    const Symbol& s = t.symbol(n);
    const auto fits = [&](const Symbol& one) {
      return one.dim() == s.dim() && (one.type == s.type || s.type == ZDB_SET);
    };
    int other = anySymbol(from);
    for (int i = 0; i < 10 && !fits(from.symbol(other)); ++i) other = anySymbol(from);
    const Symbol& source = from.symbol(other);
    const int status = c__zdbcopysymbol(asked.db, s.handle, source.handle);
    const bool copies = fits(source) && &source != &s;
    same(status, copies ? t.copyRecords(n, from, source) : fits(source), "copy");
  }

  // ---- a database as a whole

  void setRecording(Twin& t, int /*n*/) {
    const int starts = choices_.below(2);
    const int status = (starts ? c__zdbstartwriterecording : c__zdbstopwriterecording)(t.db);
    same(status, starts != t.isRecording, "write recording");
    t.isRecording = starts;
    for (int n = 1; n < std::ssize(t.symbols) && starts && status; ++n) {
      if (t.symbol(n).type != ZDB_ALIAS) t.symbol(n).isWritten = 0;
    }
  }
  void addSymbol(Twin& t, int n) {
    const Symbol& like = t.symbol(n);
    if (t.symbols.size() >= kMostSymbols) return;
    t.addSymbol(
        {"more" + show(t.symbols.size()), like.type, like.userInfo, like.domains, like.defaults});
  }
  /// At each record of a symbol, or of all, that is outside its domains, the positions that are.
  static std::vector<Key> violations(const Twin& t, int from, std::ptrdiff_t to) {
    std::vector<Key> found;
    for (int n = from; n < to; ++n) {
      for (const auto& [key, row] : t.symbol(n).records) {
        Key outside;
        for (std::size_t d = 0; d < key.size(); ++d) {
          const int set = t.target(t.symbol(n).domains[d]);
          const bool isIn =
              set < 0 || (t.labels.has(key[d]) && t.symbol(set).records.contains({key[d]}));
          outside.push_back(isIn ? 0 : 1);
        }
        if (std::ranges::count(outside, 1) > 0) found.push_back(std::move(outside));
      }
    }
    return found;
  }
  void checkDomains(Twin& t, int n) {
    const bool isOne = choices_.oneIn(2);
    const std::vector<Key> expected =
        isOne ? violations(t, n, n + 1) : violations(t, 0, std::ssize(t.symbols));
    std::vector<Key> seen;
    int found = 0;
    isOne ? c__zdbchecksymboldv(t.db, t.handle(n), &found) : c__zdbcheckdbdv(t.db, &found);
    same(found, !expected.empty(), "violations");
    zdbDV_t at = nullptr;
    isOne ? c__zdbgetfirstdvinsymbol(t.db, t.handle(n), &at) : c__zdbgetfirstdbdv(t.db, &at);
    for (found = at != nullptr; found != 0 && seen.size() <= expected.size();) {
      zdbSymbol_t symbol = nullptr;
      c__zdbgetdvsymbol(t.db, at, &symbol);
      Key& positions = seen.emplace_back(t.info(symbol, ZDB_SYMBOL_DIM));
      c__zdbgetdvindicator(t.db, at, positions.data());
      c__zdbmovenextdvinsymbol(t.db, at, &found);
      if (found == 0 && !isOne) c__zdbgetfirstdvinnextsymbol(t.db, at, &found);
    }
    same(seen, expected, "violations");
    if (at != nullptr) c__zdbfreedvhandle(t.db, at);
    if (!isOne) c__zdbdomaincheckdone(t.db);
  }
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
    const bool isWithin = violations(t, 0, std::ssize(t.symbols)).empty();
    same(c__zdbwritezxf(t.db, file.c_str(), !isWithin || choices_.oneIn(2)), 1, "write a file");
    Twin& to = *(other(t) = newTwin());
    to.addLabels(choices_.below(4), 3);
    same(c__zdbinitfromzxf(to.db, file.c_str()), 1, "read a file");
    to.takeOver(t);
    to.isAttached = 1;
    for (Symbol& s : to.symbols) {
      if (s.type == ZDB_ALIAS) s.userInfo = s.aliasOf + 1;  // files count from 1
    }
    for (int uses = choices_.below(6); uses > 0; --uses) {
      static constexpr decltype(&Run::copySymbol) steps[] = {&Run::useRecords, &Run::switchStorage,
                                                             &Run::copySymbol};
      (this->*choices_.pick(steps))(to, anySymbol(to));
    }
    const int next = choices_.below(5);
    if (next == 0) return;
    if (next == 1) return throughFile(to, n);  // with what is still in the first file
    if (next == 2) return copyDatabase(to, n);
    if (next == 3) dropUnknownLabels(to, 1);  // and over the file itself
    const int status =
        next == 3 ? c__zdbwritezxf(to.db, file.c_str(), 1) : c__zdbclosezxf(to.db, 1);
    same(status, 1, "close a file");
    to.isAttached = 0;
  }
  /// The other database becomes a copy of this one, sometimes after it has got texts from a file
  /// without symbols.
  void copyDatabase(Twin& t, int /*n*/) {
    dropUnknownLabels(t, 0);
    std::unique_ptr<Twin> copy = newTwin();
    Pool texts("");
    for (const char* text : {"text3", "TEXT1", "alone", "text2"}) texts.merge(text);
    if (t.hasFiles && choices_.oneIn(2) && !(kKnownSwappedTexts && swaps(texts, t.texts))) {
      same(c__zdbinitfromzxf(copy->db, ZDB_FILE_OF_TEXTS), 1, "read texts");
      same(c__zdbclosezxf(copy->db, 1), 1, "close a file");
      copy->texts = texts;
    }
    same(c__zdbinitfromdb(copy->db, t.db), 1, "copy a database");
    copy->takeOver(t);
    same(c__zdbinitfromdb(copy->db, t.db), 0, "copy into a database that has contents");
    other(t) = std::move(copy);
  }
  /// Whether added texts get new numbers, but not the last.
  static bool swaps(Pool texts, const Pool& added) {
    Key moved;
    for (int n = 0; n < added.size(); ++n) moved.push_back(texts.merge(added[n]) != n);
    return moved.back() == 0 && std::ranges::count(moved, 1) > 0;
  }
  void startAnew(Twin& t, int /*n*/) { fill(other(t)); }
  /// One database has other numbers for its labels than the other.
  void fill(std::unique_ptr<Twin>& twin) {
    twin = newTwin();
    twin->addLabels(kFewLabels, &twin == &twins_[0] ? 1 : 4);
    setRecording(*twin, 0);
    for (const Symbol& symbol : kSymbols) twin->addSymbol(symbol);
  }

  Choices choices_;
  int storage_;  ///< added to all that are drawn: runs with the others differ in it alone
  std::array<std::unique_ptr<Twin>, 2> twins_;
  const std::filesystem::path folder_ =
      std::filesystem::temp_directory_path() / ("zdb_storages_" + show(::gettid()));  // a run is one of a thread
  int files_ = 0;
};

}  // namespace

std::string runSteps(const Choices& choices, int steps) {
  std::string difference;
  for (int storage = 0; storage < 3 && difference.empty(); ++storage) {
    difference = Run(choices, storage).steps(steps);
  }
  return difference;
}

}  // namespace zdb::test
