#include "numberreader.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstdint>

#include "contract/names.h"

namespace zdb::tool {

namespace {

struct Spelling {
  std::string_view text;
  int special;
};

constexpr Spelling kSpellings[] = {
    {"undef", ZDB_SV_UNDEFINED},   {"na", ZDB_SV_NOT_AVAILABLE},   {"nan", ZDB_SV_NOT_AVAILABLE},
    {"inf", ZDB_SV_PLUS_INFINITY}, {"+inf", ZDB_SV_PLUS_INFINITY}, {"-inf", ZDB_SV_MINUS_INFINITY},
    {"eps", ZDB_SV_EPSILON},
};

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

}  // namespace

NumberReader::NumberReader(const zdbcc::Database& db, bool commaIsDecimal)
    : commaIsDecimal_(commaIsDecimal) {
  db.check(c__zdbgetspecialvalues(db.handle(), specials_.data()));
}

const char* NumberReader::text(Outcome outcome) {
  switch (outcome) {
    case Outcome::NotANumber:
      return "is not a number";
    case Outcome::OutOfRange:
      return "is outside the range of doubles";
    case Outcome::SpecialValue:
      return "stands for a special value in the database";
    case Outcome::Number:
      break;
  }
  return "is a number";
}

NumberReader::Outcome NumberReader::read(std::string_view text, double& value) {
  using namespace zdb::contract;
  text = withoutEndingBlanks(withoutLeadingBlanks(text));
  if (!commaIsDecimal_ || text.find(',') == std::string_view::npos) return readPlain(text, value);
  if (text.find('.') != std::string_view::npos) return Outcome::NotANumber;
  withPoint_.assign(text);
  std::replace(withPoint_.begin(), withPoint_.end(), ',', '.');
  return readPlain(withPoint_, value);
}

NumberReader::Outcome NumberReader::readPlain(std::string_view text, double& value) const {
  if (text.empty()) return Outcome::NotANumber;
  const bool hasSign = text.front() == '+' || text.front() == '-';
  const char first = text.size() > 1 && hasSign ? text[1] : text.front();
  if (!isDigit(first) && first != '.')
    return isSpecial(text, value) ? Outcome::Number : Outcome::NotANumber;
  if (text.front() == '+') text.remove_prefix(1);
  const char* end = text.data() + text.size();
  const auto [at, error] = std::from_chars(text.data(), end, value);
  if (at != end || error == std::errc::invalid_argument) return Outcome::NotANumber;
  if (error == std::errc::result_out_of_range) return Outcome::OutOfRange;
  const auto bits = std::bit_cast<std::uint64_t>(value);
  for (const double special : specials_) {
    if (bits == std::bit_cast<std::uint64_t>(special)) return Outcome::SpecialValue;
  }
  return Outcome::Number;
}

bool NumberReader::isSpecial(std::string_view text, double& value) const {
  for (const Spelling& spelling : kSpellings) {
    if (!zdb::contract::isSameText(text, spelling.text)) continue;
    value = specials_[static_cast<std::size_t>(spelling.special)];
    return true;
  }
  return false;
}

}  // namespace zdb::tool
