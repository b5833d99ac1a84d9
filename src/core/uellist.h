#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "core/txstrhashlist.h"

/// Labels: the texts that record keys are made of, and their numbers.
namespace zdb::uellist {

/// Labels are numbered from 1 in order of first appearance; number 0 is a single blank. They are
/// matched without regard to case, and the first spelling is kept.
class IUELList {
 public:
  /// False when the text breaks the label rules; else `number` is the label's, or -1 when unknown.
  virtual bool find(const char* text, int& number) = 0;
  /// False when the text breaks the label rules; else `number` is the label's, new or present.
  virtual bool merge(const char* text, int& number) = 0;
  /// Text of a number in 0..size()-1, which is not checked.
  virtual const char* operator[](int number) const = 0;
  /// Entries, number 0 included.
  virtual int size() const = 0;

 protected:
  ~IUELList() = default;
};

/// What CheckAndTrimUELStr finds.
enum LabelCheck : int {
  LabelGood = 0,
  LabelMixedQuotes = 1,
  LabelControlCharacter = 2,
  LabelTooLong = 3,
  LabelNull = 4,
};

/// What a label text that obeys the rules is looked up by.
struct CheckedLabel {
  int length;          ///< bytes that are kept: without trailing white space
  std::uint32_t hash;  ///< of these
};

/// Checks a label text against the rules, in one pass and without copying it.
LabelCheck CheckLabel(const char* text, CheckedLabel& label);

/// The same, and copies the kept part of the text, terminated, into a buffer of at least 64 bytes.
LabelCheck CheckAndTrimUELStr(const char* text, char* out, int& length);

/// As CheckAndTrimUELStr, and writes the message that belongs to a failure into `errorText` (256
/// bytes). Control characters and a null text fail without one.
bool UELStrCheck(char* errorText, const char* text, char* out, int& length);

/// The label list that the database uses. Finding allocates nothing; merging allocates the entry.
class UELList final : public IUELList {
 public:
  /// Failures write their message into `errorText` (256 bytes), which outlives the list.
  explicit UELList(char* errorText);
  UELList(const UELList&) = delete;
  // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): the general form handles it
  UELList& operator=(const UELList& other) { return *this = static_cast<const IUELList&>(other); }
  /// Merges the labels of another list into this one, which keeps what it has.
  UELList& operator=(const IUELList& other);

  bool find(const char* text, int& number) override;
  bool merge(const char* text, int& number) override;
  const char* operator[](int number) const override { return list_.GetString(number); }
  int size() const override { return list_.Count(); }

 private:
  zxf::collections::strhash::TXStrHashList<int> list_;
  char* errorText_;
};

/// The same on a standard hash map. On purpose it differs from UELList: blanks are labels like any
/// other, trailing blanks are kept in the stored text, control characters are not checked.
class UnorderedMapUELList final : public IUELList {
 public:
  explicit UnorderedMapUELList(char* errorText) : errorText_(errorText) {}

  bool find(const char* text, int& number) override;
  bool merge(const char* text, int& number) override;
  const char* operator[](int number) const override { return labels_[number].c_str(); }
  int size() const override { return static_cast<int>(labels_.size()); }

 private:
  bool makeKey(const char* text, std::string& key) const;

  std::unordered_map<std::string, int> numbers_;  ///< trimmed and folded to upper case
  std::vector<std::string> labels_{" "};          ///< as given
  char* errorText_;
};

}  // namespace zdb::uellist
