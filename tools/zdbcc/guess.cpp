#include "guess.h"

#include <algorithm>

#include "console.h"
#include "contract/names.h"

namespace zdb::tool {

namespace {

/// Two slips in a word, one in a short one: farther away, a guess is noise.
std::size_t mostSlips(std::size_t length) {
  return length < 5 ? 1 : 2;
}

}  // namespace

Guess::Guess(std::string_view word)
    : word_(zdb::contract::lowerCase(word)), bestDistance_(mostSlips(word.size()) + 1) {}

void Guess::consider(std::string_view candidate) {
  const std::size_t longer = std::max(candidate.size(), word_.size());
  if (longer - std::min(candidate.size(), word_.size()) >= bestDistance_) return;
  const std::size_t distance = distanceTo(candidate);
  // A word of which nothing is left is not a relative.
  if (distance >= bestDistance_ || distance >= longer) return;
  bestDistance_ = distance;
  best_ = candidate;
}

std::string Guess::text() const {
  return best_.empty() ? "" : "; did you mean " + printable(best_) + '?';
}

// Letters that are wrong, missing, too many or swapped with their neighbours, each of which
// counts 1.
std::size_t Guess::distanceTo(std::string_view candidate) {
  auto& [twoBefore, before, row] = rows_;
  const std::size_t width = candidate.size() + 1;
  for (auto& each : rows_) each.resize(width);
  for (std::size_t c = 0; c < width; ++c) row[c] = c;
  for (std::size_t r = 1; r <= word_.size(); ++r) {
    std::swap(twoBefore, before);
    std::swap(before, row);
    row[0] = r;
    for (std::size_t c = 1; c < width; ++c) {
      const auto letter = [&](std::size_t i) { return zdb::contract::lowerCase(candidate[i - 1]); };
      const bool isSame = word_[r - 1] == letter(c);
      row[c] = std::min({before[c] + 1, row[c - 1] + 1, before[c - 1] + (isSame ? 0 : 1)});
      const bool isSwapped =
          r > 1 && c > 1 && word_[r - 1] == letter(c - 1) && word_[r - 2] == letter(c);
      if (isSwapped) row[c] = std::min(row[c], twoBefore[c - 2] + 1);
    }
  }
  return row[width - 1];
}

}  // namespace zdb::tool
