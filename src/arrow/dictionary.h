#pragma once

#include <memory>
#include <string>
#include <vector>

#include "arrow/give.h"
#include "core/zdb.h"

namespace zdb::arrow {

/// The labels of one position as texts of their own and numbers from 0, in the order of their
/// numbers in the database.
///
/// Takes 4 bytes for each label of the database. Arrays that are given away share the texts.
class LabelDictionary {
 public:
  /// Notes that these labels occur, by their numbers in the database. False if one is not the
  /// number of a label: `unknown`.
  bool note(const ZDB& db, const int* labels, std::size_t count, int& unknown);
  /// Makes the texts of the labels noted. If they cannot be, returns false with a reason, and the
  /// dictionary can only be destroyed.
  bool build(const ZDB& db, std::string& reason);
  /// Replaces numbers of the database by numbers of this dictionary. If a label is missing, returns
  /// false and leaves all as they are.
  bool translate(int* labels, std::size_t count) const;
  /// The texts, to be given away.
  Array texts() const;

 private:
  static constexpr int kAbsent = -1;

  std::vector<int> places_;  ///< by label number: the number here, or kAbsent
  std::vector<int> labels_;  ///< the reverse
  std::shared_ptr<std::int32_t[]> offsets_;
  std::shared_ptr<char[]> bytes_;
};

}  // namespace zdb::arrow
