#include "fuzz/storages/storagereplay.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <vector>

#include "zdbcclib.h"

namespace zdb::test {

namespace {

constexpr int kMostDims = 4;
constexpr int kLabels = 6;
constexpr int kSlots = 4;

struct Operation {
  int kind;
  int slot;
  std::array<int, kMostDims> key;  ///< label numbers, 0 and one too large among them
  double value;

  explicit Operation(const std::uint8_t* bytes)
      : kind(bytes[0] % kKinds), slot(bytes[1] % kSlots), value(bytes[1] >> 2) {
    for (std::size_t i = 0; i < key.size(); ++i) key[i] = bytes[2 + i] % (kLabels + 2);
  }
  static constexpr int kKinds = 18;
};

/// A database with one symbol in one storage, and the handles that the operations made.
class Host {
 public:
  Host(int storage, int dim, int type) : dim_(dim), type_(type) {
    zdbcreate(&db_, nullptr, 0);
    c__zdbselectrecordstorage(db_, nullptr, storage);
    c__zdbaddsymbol(db_, "domain", 1, ZDB_SET, 0, "", &domain_);
    for (int label = 1; label <= kLabels; ++label) {
      int number;
      c__zdbmergeuel(db_, ("l" + std::to_string(label)).c_str(), &number);
      if (label % 2 == 0) c__zdbmergesetrecordint(db_, domain_, &number, 1, 0, nullptr, "even");
    }
    zdbSymbol_t domains[kMostDims] = {domain_};
    const char* names[kMostDims] = {"*", "*", "*", "*"};
    c__zdbaddsymbolx(db_, "s", dim, type, 3, "", domains, names, &symbol_);
    c__zdbaddsymbol(db_, "copy", dim, type, 3, "", &copy_);
    if (symbol_ == nullptr || copy_ == nullptr) std::abort();  // there would be nothing to compare
  }
  ~Host() {
    for (int slot = 0; slot < kSlots; ++slot) drop(slot);
    zdbfree(&db_);
  }
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  /// Does the operation and tells everything that can be seen.
  std::string apply(const Operation& op) {
    seen_ = "operation " + std::to_string(op.kind) + ":";
    act(op);
    showHandles();
    showRecords(symbol_);
    return seen_;
  }

 private:
  bool isSet() const { return type_ == ZDB_SET; }

  void act(const Operation& op) {
    zdbRecord_t& record = records_[static_cast<std::size_t>(op.slot)];
    const Labels labels(op.key);
    switch (op.kind) {
      case 0:
        return store(op);
      case 1:
        drop(op.slot);
        return report(merge(op, &record));
      case 2:
        drop(op.slot);
        return report(c__zdbaddrecord(db_, symbol_, labels.texts(), &record));
      case 3:
        drop(op.slot);
        return report(c__zdbmergerecord(db_, symbol_, labels.texts(), &record));
      case 4:
        drop(op.slot);
        return report(c__zdbfindrecord(db_, symbol_, labels.texts(), &record));
      case 5:
        drop(op.slot);
        return report(c__zdbfindfirstrecord(db_, symbol_, &record));
      case 6:
        drop(op.slot);
        return report(c__zdbfindlastrecord(db_, symbol_, &record));
      case 7:
        drop(op.slot);
        return report(c__zdbfindfirstrecordslice(db_, symbol_, labels.slice(), &record));
      case 8:
        drop(op.slot);
        return report(c__zdbfindlastrecordslice(db_, symbol_, labels.slice(), &record));
      default:
        return actOnHandles(op);
    }
  }

  void actOnHandles(const Operation& op) {
    zdbRecord_t& record = records_[static_cast<std::size_t>(op.slot)];
    zdbRecord_t& other = records_[static_cast<std::size_t>(op.key[0]) % kSlots];
    switch (op.kind) {
      case 9:
        return report(c__zdbrecordmovenext(db_, record));
      case 10:
        return report(c__zdbrecordmoveprev(db_, record));
      case 11:
        return report(c__zdbsetlevel(db_, record, op.value));
      case 12:
        return deleteRecord(op.slot);
      case 13:
        if (&record == &other) return;
        drop(op.slot);
        return report(c__zdbcopysymboliterator(db_, other, &record));
      case 14:
        return report(c__zdbsamerecord(db_, record, other));
      case 15:
        return showViolations();
      case 16:
        report(c__zdbcopysymbol(db_, copy_, symbol_));
        return showRecords(copy_);
      default:
        return changeAll(op);
    }
  }

  /// Rarer than the others: the symbol loses all its records, or moves through the other storages.
  void changeAll(const Operation& op) {
    if (op.key[0] % 4 == 0) return report(c__zdbclearsymbol(db_, symbol_));
    if (op.key[0] % 4 != 1) return;
    for (int slot = 0; slot < kSlots; ++slot) drop(slot);
    int storage = 0;
    c__zdbsymbolinfo(db_, symbol_, ZDB_SYMBOL_STORAGE, &storage, nullptr, nullptr);
    for (int step = 1; step <= 3; ++step) {
      report(c__zdbselectrecordstorage(db_, &symbol_, (storage + step) % 3));
    }
  }

  // Labels outside the list are stored too: keys are no texts.
  void store(const Operation& op) { report(merge(op, nullptr)); }

  int merge(const Operation& op, zdbRecord_t* record) {
    const int makeHandle = record != nullptr ? 1 : 0;
    const int checkLabels = op.key[0] == 3 ? 1 : 0;
    const double row[5] = {op.value, 1, 2, 3, 4};
    if (isSet()) {
      const std::string text = op.value < 8 ? "" : "text" + std::to_string(op.value);
      return c__zdbmergesetrecordint(db_, symbol_, op.key.data(), checkLabels, makeHandle, record,
                                     text.c_str());
    }
    const int haveValues = op.value < 8 ? 0 : 1;
    return c__zdbmergerecordint(db_, symbol_, op.key.data(), checkLabels, makeHandle, record,
                                haveValues, row);
  }

  // Other handles on the record end with it, and must not be used any more.
  void deleteRecord(int slot) {
    zdbRecord_t record = records_[static_cast<std::size_t>(slot)];
    for (int i = 0; i < kSlots; ++i) {
      const zdbRecord_t other = records_[static_cast<std::size_t>(i)];
      if (i != slot && other != nullptr && c__zdbsamerecord(db_, record, other) == 1) drop(i);
    }
    report(c__zdbdeleterecord(db_, record));
  }

  void drop(int slot) {
    zdbRecord_t& record = records_[static_cast<std::size_t>(slot)];
    if (record != nullptr) c__zdbfreesymboliterator(db_, record);
    record = nullptr;
  }

  void showViolations() {
    int found = 0;
    zdbDV_t violation = nullptr;
    report(c__zdbgetfirstdvinsymbol(db_, symbol_, &violation));
    found = violation != nullptr ? 1 : 0;
    while (found == 1) {
      zdbRecord_t record = nullptr;
      if (c__zdbgetdvsymbolrecord(db_, violation, &record) == 1) {
        show(record);
        c__zdbfreesymboliterator(db_, record);
      }
      c__zdbmovenextdvinsymbol(db_, violation, &found);
    }
    if (violation != nullptr) c__zdbfreedvhandle(db_, violation);
    c__zdbdomaincheckdone(db_);
  }

  void report(int status) {
    seen_ += " " + std::to_string(status);
    if (status == 1) return;
    char text[ZDB_TEXT_SIZE];
    c__zdbgetlasterror(db_, text);
    seen_.append(" \"").append(text).append("\"");
  }

  void show(zdbRecord_t record) {
    int key[kMostDims] = {};
    double row[5] = {};
    const int status = c__zdbgetrecordraw(db_, record, dim_, key, row);
    seen_ += status == 1 ? "(" : "(none ";
    for (int i = 0; i < dim_; ++i) seen_ += std::to_string(key[i]) + " ";
    for (const double value : row) seen_ += " " + std::to_string(value);
    char text[ZDB_TEXT_SIZE] = "";
    if (isSet() && status == 1) c__zdbgetelemtext(db_, record, text);
    seen_.append(text).append(")");
  }

  void showHandles() {
    for (zdbRecord_t record : records_) {
      if (record == nullptr) continue;
      seen_ += "\n handle ";
      show(record);
      seen_ += c__zdbrecordhasprev(db_, record) == 1 ? "<" : "|";
      seen_ += c__zdbrecordhasnext(db_, record) == 1 ? ">" : "|";
    }
  }

  void showRecords(zdbSymbol_t symbol) {
    int count = 0;
    c__zdbsymbolinfo(db_, symbol, ZDB_SYMBOL_RECORDS, &count, nullptr, nullptr);
    seen_ += "\n " + std::to_string(count) + " records ";
    zdbRecord_t record = nullptr;
    if (c__zdbfindfirstrecord(db_, symbol, &record) != 1) return;
    do show(record);
    while (c__zdbrecordmovenext(db_, record) == 1);
    c__zdbfreesymboliterator(db_, record);
  }

  /// A key as texts, and as a slice, in which label 0 is open.
  class Labels {
   public:
    explicit Labels(const std::array<int, kMostDims>& key) {
      for (std::size_t i = 0; i < key.size(); ++i) {
        names_[i] = key[i] == 0 ? "new" : "l" + std::to_string(key[i]);
        texts_[i] = names_[i].c_str();
        slice_[i] = key[i] == 0 || key[i] > kLabels ? " " : names_[i].c_str();
      }
    }
    Labels(const Labels&) = delete;
    Labels& operator=(const Labels&) = delete;
    const char* const* texts() const { return texts_.data(); }
    const char* const* slice() const { return slice_.data(); }

   private:
    std::array<std::string, kMostDims> names_;
    std::array<const char*, kMostDims> texts_;
    std::array<const char*, kMostDims> slice_;
  };

  zdbHandle_t db_ = nullptr;
  int dim_;
  int type_;
  zdbSymbol_t domain_ = nullptr;
  zdbSymbol_t symbol_ = nullptr;
  zdbSymbol_t copy_ = nullptr;
  std::array<zdbRecord_t, kSlots> records_{};
  std::string seen_;
};

}  // namespace

std::string replayOnAllStorages(const std::uint8_t* data, std::size_t size) {
  if (size < kHeaderBytes) return "";
  const int type = data[1] % 4;
  const int dim = std::max(data[0] % (kMostDims + 1), type == ZDB_SET ? 1 : 0);
  std::array<std::unique_ptr<Host>, 3> hosts;
  for (int storage = 0; storage < 3; ++storage) {
    hosts[static_cast<std::size_t>(storage)] = std::make_unique<Host>(storage, dim, type);
  }
  for (std::size_t at = kHeaderBytes; at + kOperationBytes <= size; at += kOperationBytes) {
    const Operation operation(data + at);
    const std::string expected = hosts[0]->apply(operation);
    for (std::size_t storage = 1; storage < 3; ++storage) {
      const std::string seen = hosts[storage]->apply(operation);
      if (seen == expected) continue;
      std::string difference = "storage " + std::to_string(storage) + " at byte ";
      difference.append(std::to_string(at)).append(" of dimension ").append(std::to_string(dim));
      return difference.append("\n").append(seen).append("\ninstead of\n").append(expected);
    }
  }
  return "";
}

}  // namespace zdb::test
