// What somebody may have meant who wrote a word that is not there.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "contract/names.h"

namespace zdb::contract {

/// Finds the candidate that differs least from a word. Costs some hundred nanoseconds for a
/// candidate of about the same length, next to nothing for another.
class NearestWord {
 public:
  explicit NearestWord(std::string_view word)
      : word_(lowerCase(word)), bestDistance_(mostSlips(word.size()) + 1) {}

  void consider(std::string_view candidate) {
    const std::size_t longer = std::max(candidate.size(), word_.size());
    if (longer - std::min(candidate.size(), word_.size()) >= bestDistance_) return;
    const std::size_t distance = distanceTo(candidate);
    // A word of which nothing is left is not a relative.
    if (distance >= bestDistance_ || distance >= longer) return;
    bestDistance_ = distance;
    best_ = candidate;
  }

  /// The nearest one, or nothing if all candidates are too different.
  const std::string& best() const { return best_; }
  /// "; did you mean BEST?" for the end of a message, or nothing if there is none.
  std::string question() const { return best_.empty() ? "" : "; did you mean " + best_ + '?'; }

 private:
  /// Two slips in a word, one in a short one: farther away, a guess is noise.
  static std::size_t mostSlips(std::size_t length) { return length < 5 ? 1 : 2; }

  // Letters that are wrong, missing, too many or swapped with their neighbours, each of which
  // counts 1.
  std::size_t distanceTo(std::string_view candidate) {
    auto& [twoBefore, before, row] = rows_;
    const std::size_t width = candidate.size() + 1;
    for (auto& each : rows_) each.resize(width);
    for (std::size_t c = 0; c < width; ++c) row[c] = c;
    for (std::size_t r = 1; r <= word_.size(); ++r) {
      std::swap(twoBefore, before);
      std::swap(before, row);
      row[0] = r;
      for (std::size_t c = 1; c < width; ++c) {
        const auto letter = [&](std::size_t i) { return lowerCase(candidate[i - 1]); };
        const bool isSame = word_[r - 1] == letter(c);
        row[c] = std::min({before[c] + 1, row[c - 1] + 1, before[c - 1] + (isSame ? 0 : 1)});
        const bool isSwapped =
            r > 1 && c > 1 && word_[r - 1] == letter(c - 1) && word_[r - 2] == letter(c);
        if (isSwapped) row[c] = std::min(row[c], twoBefore[c - 2] + 1);
      }
    }
    return row[width - 1];
  }

  std::string word_;  ///< in lower case
  std::string best_;
  std::size_t bestDistance_;          ///< of the best one; before it, one more than is allowed
  std::vector<std::size_t> rows_[3];  ///< of the table of distances
};

}  // namespace zdb::contract
