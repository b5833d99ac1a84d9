// The text of a MathProg model or its data, as far as it must be known to change params.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace zdb::kit::modelfile {

/// A token, as it stands in the text.
struct Token {
  std::string_view text;
  std::size_t at = 0;  ///< where it begins

  std::size_t end() const { return at + text.size(); }
  bool is(std::string_view other) const { return text == other; }
  bool isName() const;
};

/// A statement, without the semicolon that ends it.
struct MathProgStatement {
  std::vector<Token> tokens;
  std::size_t end = 0;  ///< after the semicolon
  bool isData = false;  ///< of a data section
};

/// The statements of a text up to `end`.
struct MathProgText {
  std::vector<MathProgStatement> statements;
  bool endsInData = false;  ///< whether the last section is a data section
  std::size_t end = 0;      ///< where `end` stands or the text ends
};

/// Splits a text into statements; `isData` tells whether it begins as data. Texts that are no
/// MathProg give anything. The tokens point into the text.
MathProgText splitMathProg(std::string_view text, bool isData);

}  // namespace zdb::kit::modelfile
