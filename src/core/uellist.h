// Labels: the texts that record keys are made of, and their numbers.
//
// Records hold numbers of 4 bytes instead of texts, so each text is stored once and keys compare as
// integers. txstrhashlist.h says what a look-up costs. Only a failed call takes back the labels
// that it added; other numbers and texts are valid as long as the list, which owns the texts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "core/lasterror.h"
#include "core/txstrhashlist.h"

namespace zdb::uellist {

/// Labels are numbered from 1 in order of first appearance; number 0 is a single blank. They are
/// matched without regard to case, and the first spelling is kept.
class IUELList {
 public:
  /// False if the text is not a valid label; else `number` is that of the label, or -1 if it
  /// is unknown.
  virtual bool find(const char* text, int& number) = 0;
  /// False if the text is not a valid label; else `number` is that of the label, which is added if
  /// it is new.
  virtual bool merge(const char* text, int& number) = 0;
  /// Text of a number.
  /// REQUIRES 0 <= number < size().
  virtual const char* operator[](int number) const = 0;
  /// Number of entries, including number 0.
  virtual int size() const = 0;

 protected:
  ~IUELList() = default;
};

/// Results of CheckAndTrimUELStr.
enum LabelCheck : int {
  LabelGood = 0,
  LabelMixedQuotes = 1,
  LabelControlCharacter = 2,
  LabelTooLong = 3,
  LabelNull = 4,
};

/// What a valid label is looked up by.
struct CheckedLabel {
  int length;          ///< bytes without trailing white space
  std::uint32_t hash;  ///< hash of these bytes
};

/// Checks whether a text is a valid label, in one pass and without copying it.
LabelCheck CheckLabel(const char* text, CheckedLabel& label);
/// The same for a text without a terminator; one without data counts as null.
LabelCheck CheckLabel(std::string_view text, CheckedLabel& label);

/// The same; also copies the label, trimmed and terminated, into a buffer of at least 64 bytes.
LabelCheck CheckAndTrimUELStr(const char* text, char* out, int& length);

/// Like CheckAndTrimUELStr; on failure also sets `error`, except for control characters and null.
bool UELStrCheck(LastError& error, const char* text, char* out, int& length);

/// The label list that the database uses. Finding allocates nothing; merging allocates new entries.
class UELList final : public IUELList {
 public:
  /// Failures set `error`.
  /// REQUIRES `error` outlives the list.
  explicit UELList(LastError& error);
  UELList(const UELList&) = delete;
  // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): the general form handles it
  UELList& operator=(const UELList& other) { return *this = static_cast<const IUELList&>(other); }
  /// Merges the labels of another list into this one, which keeps what it has.
  UELList& operator=(const IUELList& other);

  bool find(const char* text, int& number) override;
  bool merge(const char* text, int& number) override;
  const char* operator[](int number) const override { return list_.GetString(number); }
  int size() const override { return list_.Count(); }
  std::size_t length(int number) const { return list_.GetLength(number); }

  /// The most texts of the next two, whose look-ups wait for memory together.
  static constexpr int kGroup = 32;
  /// Numbers of labels; -1 for those that are unknown or not valid.
  void findMany(const std::string_view* texts, int count, int* numbers);
  /// Adds labels or finds them, up to the first text that is not valid, for which `check` says why.
  /// Returns how many have their number. Throws std::bad_alloc; what was added before stays.
  int mergeMany(const std::string_view* texts, int count, int* numbers, LabelCheck& check);
  /// Whether all labels of a record's key exist; reports the first that does not for `symbol`.
  bool areNumbers(const int* numbers, int count, const std::string& symbol) const;
  /// Looks up the labels of a record's key; reports the first that is unknown or not valid.
  bool findAll(const char* const* texts, int count, const std::string& symbol, int* numbers);
  /// Removes the labels from this number on.
  void truncate(int size) noexcept { list_.truncate(size); }

 private:
  zxf::collections::strhash::TXStrHashList<int> list_;
  LastError& error_;
};

/// The same on a standard hash map. By contract it differs from UELList: blanks are labels like any
/// other, trailing blanks are kept in the stored text, and control characters are not checked.
class UnorderedMapUELList final : public IUELList {
 public:
  explicit UnorderedMapUELList(LastError& error) : error_(error) {}

  bool find(const char* text, int& number) override;
  bool merge(const char* text, int& number) override;
  const char* operator[](int number) const override { return labels_[number].c_str(); }
  int size() const override { return static_cast<int>(labels_.size()); }

 private:
  bool makeKey(const char* text, std::string& key) const;

  std::unordered_map<std::string, int> numbers_;  ///< trimmed and folded to upper case
  std::vector<std::string> labels_{" "};          ///< as given
  LastError& error_;
};

}  // namespace zdb::uellist
