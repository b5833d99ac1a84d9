#pragma once

#include <string>
#include <string_view>

#include "contract/guess.h"

namespace zdb::tool {

/// Finds what somebody may have meant who wrote a word that is not there.
class Guess {
 public:
  explicit Guess(std::string_view word) : nearest_(word) {}

  void consider(std::string_view candidate) { nearest_.consider(candidate); }
  /// "; did you mean CANDIDATE?", or nothing if all candidates are too different.
  std::string text() const;

 private:
  zdb::contract::NearestWord nearest_;
};

/// The same for a list at hand.
template <typename Candidates>
std::string guessAmong(std::string_view word, const Candidates& candidates) {
  Guess guess(word);
  for (const auto& candidate : candidates) guess.consider(candidate);
  return guess.text();
}

}  // namespace zdb::tool
