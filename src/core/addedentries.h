#pragma once

namespace zdb {

/// Removes the entries again that a call adds to a list, such as labels or texts, unless it keeps
/// them.
template <class List>
class AddedEntries {
 public:
  explicit AddedEntries(List& list) : list_(list), before_(list.size()) {}
  ~AddedEntries() {
    if (!isKept_) list_.truncate(before_);
  }
  AddedEntries(const AddedEntries&) = delete;
  AddedEntries& operator=(const AddedEntries&) = delete;

  int count() const { return list_.size() - before_; }
  void keep() { isKept_ = true; }

 private:
  List& list_;
  int before_;
  bool isKept_ = false;
};

}  // namespace zdb
