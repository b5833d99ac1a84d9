#include "kit/modelfile/changename.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "contract/entryname.h"
#include "kit/modelfile/errors.h"
#include "kit/names.h"

namespace zdb::kit::modelfile {

namespace {

constexpr std::string_view kCoefficient = ".coef";
constexpr const char* kIndexNeeded = "write .coef[COLUMN] or .coef[COLUMN,LABEL,...]";
constexpr const char* kAttributes = ".rhs, .lo, .up, .fx, .cost or .coef[COLUMN]";

constexpr std::array<std::pair<std::string_view, Attribute>, 5> kWords = {
    {{"rhs", Attribute::Rhs},
     {"lo", Attribute::Lower},
     {"up", Attribute::Upper},
     {"fx", Attribute::Both},
     {"cost", Attribute::Cost}}};

[[noreturn]] void fail(const std::string& written, const std::string& why) {
  throw ReadError("\"" + written + "\": " + why);
}

bool isClosing(char c) {
  return c == ']' || c == ')';
}

// Where ".coef[" or ".coef(" begins, the last one if a label looks like it; npos: nowhere.
std::size_t findCoefficient(std::string_view text) {
  if (text.empty() || !isClosing(text.back())) return text.npos;
  const std::string lower = contract::lowerCase(text);
  const std::size_t square = lower.rfind(".coef[");
  const std::size_t round = lower.rfind(".coef(");
  if (square == text.npos || round == text.npos) return std::min(square, round);
  return std::max(square, round);
}

// The column of a coefficient, from the index with its brackets.
SymbolicName columnOf(std::string_view index, const std::string& written) {
  const std::string_view inside = index.substr(1, index.size() - 2);
  const contract::EntryName entry = contract::readEntryName(index, contract::PlainLabels::Anything);
  if (!entry.fault.empty()) fail(written, entry.fault);
  if (entry.labels.empty() || entry.labels[0].empty()) fail(written, kIndexNeeded);
  const bool isNested = inside.front() != '\'' && inside.front() != '"' &&
                        entry.labels[0].find_first_of("[(") != std::string::npos;
  if (isNested) return parseName(std::string(inside));
  SymbolicName column = parseName(entry.labels[0]);
  column.labels.assign(entry.labels.begin() + 1, entry.labels.end());
  return column;
}

Attribute attributeOf(std::string_view word, const std::string& written) {
  const auto* const found = std::find_if(kWords.begin(), kWords.end(), [&](const auto& known) {
    return isSameText(known.first, word);
  });
  if (found != kWords.end()) return found->second;
  if (isSameText(word, kCoefficient.substr(1))) fail(written, kIndexNeeded);
  fail(written, "there is no attribute \"." + std::string(word) + "\": use " + kAttributes);
}

}  // namespace

ChangeName parseChange(const std::string& written) {
  const std::string_view text =
      contract::withoutEndingBlanks(contract::withoutLeadingBlanks(written));
  ChangeName name{written, Attribute::Value, {}, {}};
  if (text.empty() || text.front() == '.') fail(written, "the name of a row or column is missing");
  const std::size_t coefficient = findCoefficient(text);
  if (coefficient != text.npos) {
    name.attribute = Attribute::Coefficient;
    name.column = columnOf(text.substr(coefficient + kCoefficient.size()), written);
    name.target = parseName(std::string(text.substr(0, coefficient)));
    return name;
  }
  const std::size_t dot = text.rfind('.');
  const std::size_t closing = text.find_last_of("])");
  const bool hasAttribute =
      dot != text.npos && (closing == text.npos || closing < dot || !isClosing(text.back()));
  if (hasAttribute) name.attribute = attributeOf(text.substr(dot + 1), written);
  name.target = parseName(std::string(text.substr(0, hasAttribute ? dot : text.npos)));
  return name;
}

}  // namespace zdb::kit::modelfile
