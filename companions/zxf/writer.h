// Writing: labels, symbols with their records, and texts, in the order of the calls.
#pragma once

#include <array>
#include <deque>
#include <memory>
#include <vector>

#include "zxf/block.h"
#include "zxf/directory.h"

namespace zdb::zxfile {

/// The labels of a one-dimensional set, one bit for each.
class LabelSet {
 public:
  void add(int label) {
    const auto bit = static_cast<std::uint32_t>(label);
    if (bit / 64 >= words_.size()) words_.resize(bit / 64 + 1);
    words_[bit / 64] |= std::uint64_t{1} << (bit % 64);
  }
  bool contains(int label) const {
    const auto bit = static_cast<std::uint32_t>(label);
    return bit / 64 < words_.size() && ((words_[bit / 64] >> (bit % 64)) & 1) != 0;
  }

 private:
  std::vector<std::uint64_t> words_;
};

/// Writes one file. Calls in the wrong state or with values that cannot be stored fail and change
/// nothing. When the file itself fails, the writer is broken: the failure is thrown once, and
/// nothing can be added or published afterwards. A caller that catches anything but a ZxfError
/// (memory ran out halfway) must call setBroken().
class Writer {
 public:
  Writer(const char* path, const char* producer);

  bool broken() const { return broken_; }
  void setBroken() { broken_ = true; }

  void startLabels();
  /// Trailing blanks are removed; the n-th label gets number n.
  void addLabel(std::string_view label);
  void endLabels();

  /// Returns the text's number; texts need not be distinct.
  int addText(std::string_view text);
  void addAlias(std::string_view alias, std::string_view set);

  void startSymbol(std::string_view name, std::string_view text, int dim, int type, int userInfo);
  bool inSymbol() const { return phase_ == Phase::Symbol; }
  int dim() const { return dim_; }
  /// Sets the strict domains of the current symbol, `dim` names, which its records must respect.
  void setStrictDomains(const char* const* names);
  /// Sets the relaxed domains of the current symbol or an earlier one, `dim` names that are stored
  /// and not checked.
  void setRelaxedDomains(int number, const char* const* names);

  /// Adds a record to the current symbol, or returns why it is left out: BadLabelNumber, KeyOrder,
  /// DomainViolation or TooMany. Throws only if the file fails.
  /// REQUIRES inSymbol().
  Errc addRecord(const int* key, const double* values, const SpecialValues& specials) {
    int changed = 0;
    if (recordCount_ > 0) {
      while (changed < dim_ && key[changed] == last_[changed]) ++changed;
    }
    const Errc reason = checkKey(key, changed);
    if (reason != Errc::None) return reason;
    for (int d = changed; d < dim_; ++d) last_[d] = key[d];
    if (members_ != nullptr) members_->add(key[0]);
    block_.add(key, changed, values);
    ++recordCount_;
    if (block_.full()) flushBlock(specials);
    return Errc::None;
  }
  /// Describes a record that addRecord() has left out.
  std::string describeRecord(const int* key) const;
  void endSymbol(const SpecialValues& specials);

  /// Completes the file and moves it to its target. While a symbol or the labels are open, this
  /// fails and changes nothing; otherwise the writer cannot be used afterwards, whether it succeeds
  /// or not.
  void publish();

 private:
  enum class Phase { Idle, Labels, Symbol };

  /// Positions before `changed` equal those of the last record and have been checked with it.
  Errc checkKey(const int* key, int changed) const {
    for (int d = changed; d < dim_; ++d) {
      if (static_cast<std::uint32_t>(key[d]) - 1 >= labelCount_) return Errc::BadLabelNumber;
    }
    if (recordCount_ > 0 && (changed == dim_ || key[changed] < last_[changed])) {
      return Errc::KeyOrder;
    }
    for (int d = changed; strict_ && d < dim_; ++d) {
      if (domains_[d] != nullptr && !domains_[d]->contains(key[d])) return Errc::DomainViolation;
    }
    return recordCount_ < kMaxCount ? Errc::None : Errc::TooMany;
  }

  /// Fails with the error that says what is open, or what is not.
  void requirePhase(Phase phase) const;
  /// Fails if a new symbol cannot have the name.
  void checkName(std::string_view name) const;
  void enter(SymbolEntry entry, LabelSet* members);
  std::uint32_t aliasedSet(std::string_view name) const;
  const LabelSet* domainSet(std::string_view name, std::string& spelling) const;
  void flushBlock(const SpecialValues& specials);

  Directory directory_;
  OutputFile file_;
  StreamWriter streams_;
  BlockWriter block_;
  std::deque<LabelSet> sets_;           ///< members of the one-dimensional sets
  std::vector<LabelSet*> setOfSymbol_;  ///< by number - 1; for an alias, that of its set
  Phase phase_ = Phase::Idle;
  bool broken_ = false;

  /// The current symbol.
  int dim_ = 0;
  std::uint32_t labelCount_ = 0;
  std::uint32_t recordCount_ = 0;
  bool strict_ = false;
  LabelSet* members_ = nullptr;
  std::array<int, kMaxDim> last_{};
  std::array<const LabelSet*, kMaxDim> domains_{};  ///< null: the universe
};

}  // namespace zdb::zxfile
