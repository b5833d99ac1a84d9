#include "csvscanner.h"

#include <algorithm>
#include <cstring>

#include "contract/names.h"
#include "exitcode.h"

namespace zdb::tool {

namespace {

constexpr std::size_t kPiece = std::size_t{1} << 18;
/// A row that has more is rather one with a quote that is never closed.
constexpr std::size_t kLongestRow = std::size_t{1} << 24;

std::size_t latin1ToUtf8(char* bytes, std::size_t count, std::size_t moved) {
  std::size_t to = 0;
  for (std::size_t i = moved; i < moved + count; ++i) {
    const auto byte = static_cast<unsigned char>(bytes[i]);
    if (byte >= 0x80) bytes[to++] = static_cast<char>(0xC0 | (byte >> 6));
    bytes[to++] = static_cast<char>(byte < 0x80 ? byte : 0x80 | (byte & 0x3F));
  }
  return to;
}

}  // namespace

CsvScanner::CsvScanner(const std::string& file, const CsvFormat& format)
    : source_(file), format_(format), buffer_(2 * kPiece + 1) {
  while (!isLast_ && end_ < kPiece / 2) refill();
  skipMark();
  separator_ = format.separator == 0 ? noticedSeparator() : format.separator;
  for (const char c : {separator_, '\n', '\r', '\0'}) stops_[static_cast<unsigned char>(c)] = true;
  stops_['"'] = format.hasQuotes;
}

void CsvScanner::skipMark() {
  const std::string_view start(buffer_.data(), end_);
  if (start.starts_with("\xEF\xBB\xBF")) at_ = 3;
  if (!start.starts_with("\xFF\xFE") && !start.starts_with("\xFE\xFF")) return;
  throw ToolError(source_.name() + " is UTF-16; convert it first, with iconv -f UTF-16 -t UTF-8");
}

char CsvScanner::noticedSeparator() const {
  std::array<std::size_t, 256> counts{};
  bool isQuoted = false;
  for (std::size_t i = at_; i < end_; ++i) {
    const char c = buffer_[i];
    if (c == '"' && format_.hasQuotes) isQuoted = !isQuoted;
    if (isQuoted) continue;
    if (c == '\n' || c == '\r') break;
    ++counts[static_cast<unsigned char>(c)];
  }
  if (format_.commaIsDecimal) counts[','] = 0;
  char best = format_.commaIsDecimal ? ';' : ',';
  for (const char c : {';', '\t'}) {
    if (counts[static_cast<unsigned char>(c)] > counts[static_cast<unsigned char>(best)]) best = c;
  }
  return best;
}

void CsvScanner::mark() {
  isMarked_ = true;
  mark_ = at_;
  markedLine_ = nextLine_;
}

void CsvScanner::rewind() {
  isMarked_ = false;
  at_ = mark_;
  nextLine_ = markedLine_;
}

/// Reads on after what is left of the buffer; false if nothing follows.
bool CsvScanner::refill() {
  const std::size_t from = isMarked_ ? mark_ : at_;
  std::memmove(buffer_.data(), buffer_.data() + from, end_ - from);
  at_ -= from;
  end_ -= from;
  mark_ = 0;
  if (buffer_.size() - end_ < 2 * kPiece + 1) buffer_.resize(2 * buffer_.size());
  char* room = buffer_.data() + end_;
  const std::size_t count = source_.read(room + (format_.isLatin1 ? kPiece : 0), kPiece);
  end_ += format_.isLatin1 ? latin1ToUtf8(room, count, kPiece) : count;
  isLast_ = count == 0;
  return !isLast_;
}

bool CsvScanner::next() {
  for (;;) {
    line_ = nextLine_;
    while (scanRow() == Stop::MoreNeeded) {
      if (end_ - at_ > kLongestRow) {
        fail(line_, "a row of more than 16 MiB begins here; is a quote not closed?");
      }
      refill();
      nextLine_ = line_;
    }
    if (fields_.empty()) return false;
    finishFields();
    const bool isBlank =
        fields_.size() == 1 && fields_.front().text.empty() && !fields_.front().isQuoted;
    if (!isBlank) return true;
  }
}

void CsvScanner::skipLine() {
  for (;;) {
    const void* end = std::memchr(buffer_.data() + at_, '\n', end_ - at_);
    if (end != nullptr) {
      at_ = static_cast<std::size_t>(static_cast<const char*>(end) - buffer_.data()) + 1;
      ++nextLine_;
      return;
    }
    at_ = end_;
    if (!refill()) return;
  }
}

/// Finds the fields of the row at at_ and goes past it. No field means that there is no row.
CsvScanner::Stop CsvScanner::scanRow() {
  fields_.clear();
  const char* const end = buffer_.data() + end_;
  buffer_[end_] = '\n';
  const char* at = buffer_.data() + at_;
  if (at == end) return isLast_ ? Stop::Row : Stop::MoreNeeded;
  for (;;) {
    const bool isQuoted = format_.hasQuotes && *at == '"' && at != end;
    at = isQuoted ? scanQuoted(at) : scanPlain(at);
    if (at == nullptr) return Stop::MoreNeeded;
    if (at == end || *at != separator_) break;
    ++at;
  }
  const bool mayGoOn = at == end || (*at == '\r' && at + 1 == end);
  if (mayGoOn && !isLast_) return Stop::MoreNeeded;
  if (at != end) at += *at == '\r' && at + 1 != end && at[1] == '\n' ? 2 : 1;
  at_ = static_cast<std::size_t>(at - buffer_.data());
  ++nextLine_;
  return Stop::Row;
}

/// These two return the end of the field at `at`, or null if it may be after the buffer's.
const char* CsvScanner::scanPlain(const char* at) {
  const char* const begin = at;
  while (!stops_[static_cast<unsigned char>(*at)]) ++at;
  const char* const end = buffer_.data() + end_;
  if (at != end && *at == '\0') fail(nextLine_, "a zero byte, which no CSV file has");
  if (at != end && *at == '"') {
    fail(nextLine_, "column " + std::to_string(fields_.size() + 1) +
                        ": a quote in a field that does not begin with one; quote the field and "
                        "double the quote, or use --quotes none");
  }
  fields_.push_back({{begin, static_cast<std::size_t>(at - begin)}});
  return at;
}

const char* CsvScanner::scanQuoted(const char* at) {
  const char* const end = buffer_.data() + end_;
  const char* const begin = ++at;
  bool hasDoubledQuotes = false;
  for (;; at += 2) {
    at = static_cast<const char*>(std::memchr(at, '"', static_cast<std::size_t>(end - at)));
    if (at == nullptr || (at + 1 == end && !isLast_)) {
      if (!isLast_) return nullptr;
      fail(nextLine_, "the quote that opens column " + std::to_string(fields_.size() + 1) +
                          " is not closed before the end of the file");
    }
    if (at + 1 == end || at[1] != '"') break;
    hasDoubledQuotes = true;
  }
  const std::string_view text(begin, static_cast<std::size_t>(at - begin));
  const std::uint64_t line = nextLine_;
  nextLine_ += static_cast<std::uint64_t>(std::count(text.begin(), text.end(), '\n'));
  if (text.find('\0') != std::string_view::npos) {
    fail(line, "a zero byte, which no CSV file has");
  }
  ++at;
  if (at != end && *at != separator_ && *at != '\n' && *at != '\r') {
    fail(nextLine_, "column " + std::to_string(fields_.size() + 1) +
                        ": text after the closing quote; double quotes within quotes");
  }
  fields_.push_back({text, true, hasDoubledQuotes});
  return at;
}

void CsvScanner::finishFields() {
  if (!unquoted_.empty()) unquoted_.clear();
  for (Field& field : fields_) {
    if (format_.trimsBlanks && !field.isQuoted) {
      using namespace zdb::contract;
      field.text = withoutEndingBlanks(withoutLeadingBlanks(field.text));
    }
    if (!field.hasDoubledQuotes) continue;
    std::string& text = unquoted_.emplace_back();
    for (std::size_t i = 0; i < field.text.size(); ++i) {
      text += field.text[i];
      if (field.text[i] == '"') ++i;
    }
    field.text = text;
  }
}

std::string CsvScanner::placeOf(std::uint64_t line) const {
  return source_.name() + ':' + std::to_string(line);
}

void CsvScanner::fail(std::uint64_t line, const std::string& problem) const {
  throw ToolError(placeOf(line) + ": " + problem);
}

}  // namespace zdb::tool
