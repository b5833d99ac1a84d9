#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zdb::tool {

/// Finds what somebody may have meant who wrote a word that is not there. Costs some hundred
/// nanoseconds for a candidate of about the same length, next to nothing for another.
class Guess {
 public:
  explicit Guess(std::string_view word);

  void consider(std::string_view candidate);
  /// "; did you mean CANDIDATE?", or nothing if all candidates are too different.
  std::string text() const;

 private:
  std::size_t distanceTo(std::string_view candidate);

  std::string word_;  ///< in lower case
  std::string best_;
  std::size_t bestDistance_;          ///< of the best one; before it, one more than is allowed
  std::vector<std::size_t> rows_[3];  ///< of the table of distances
};

/// The same for a list at hand.
template <typename Candidates>
std::string guessAmong(std::string_view word, const Candidates& candidates) {
  Guess guess(word);
  for (const auto& candidate : candidates) guess.consider(candidate);
  return guess.text();
}

}  // namespace zdb::tool
