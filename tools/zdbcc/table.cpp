#include "table.h"

#include <algorithm>
#include <numeric>

namespace zdb::tool {

namespace {

std::size_t width(const std::string& text) {
  const auto isContinuation = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; };
  return text.size() -
         static_cast<std::size_t>(std::count_if(text.begin(), text.end(), isContinuation));
}

constexpr std::string_view kCut = "…";
constexpr std::size_t kLeastWidth = 8;
constexpr std::size_t kGap = 2;

/// The text, with a sign for what has no room.
std::string cut(const std::string& text, std::size_t room) {
  if (width(text) <= room) return text;
  std::size_t end = 0;
  for (std::size_t left = room; end < text.size(); ++end) {
    const bool isFirstByte = (static_cast<unsigned char>(text[end]) & 0xC0) != 0x80;
    if (isFirstByte && --left == 0) break;
  }
  return text.substr(0, end).append(kCut);
}

void trimEnd(std::string& text) {
  text.erase(text.find_last_not_of(' ') + 1);
}

}  // namespace

Table::Table(std::vector<Column> columns) : columns_(std::move(columns)), widths_(columns_.size()) {
  std::vector<std::string> headings;
  for (const Column& column : columns_) headings.push_back(column.heading);
  add(headings);
}

void Table::add(const std::vector<std::string>& row) {
  auto& entries = rows_.emplace_back();
  for (std::size_t c = 0; c < columns_.size(); ++c) {
    entries.push_back(printable(row[c]));
    widths_[c] = std::max(widths_[c], width(entries.back()));
  }
}

/// Takes room from texts, from the widest column first; numbers are shown whole. A wide table may
/// still be too wide.
std::vector<std::size_t> Table::fittingWidths(std::size_t most) const {
  std::vector<std::size_t> widths = widths_;
  std::size_t total = std::accumulate(widths.begin(), widths.end(), kGap * (widths.size() - 1));
  const auto room = [&](std::size_t c) {
    return columns_[c].alignRight || widths[c] <= kLeastWidth ? 0 : widths[c];
  };
  for (; total > most; --total) {
    std::size_t widest = 0;
    for (std::size_t c = 1; c < widths.size(); ++c) {
      if (room(c) > room(widest)) widest = c;
    }
    if (room(widest) == 0) break;
    --widths[widest];
  }
  return widths;
}

std::string Table::line(const std::vector<std::string>& row,
                        const std::vector<std::size_t>& widths) const {
  std::string result;
  for (std::size_t c = 0; c < columns_.size(); ++c) {
    const std::string entry = cut(row[c], widths[c]);
    const std::string padding(widths[c] - width(entry), ' ');
    result += columns_[c].alignRight ? padding + entry : entry + padding;
    result.append(kGap, ' ');
  }
  trimEnd(result);
  return result + '\n';
}

void Table::print(Console& console) const {
  const Terminal& terminal = console.terminal();
  const std::vector<std::size_t> widths =
      terminal.hasOutput ? fittingWidths(static_cast<std::size_t>(terminal.width)) : widths_;
  std::vector<std::string> rule;
  rule.reserve(widths.size());
  for (const std::size_t columnWidth : widths) rule.emplace_back(columnWidth, '-');
  console.write(line(rows_.front(), widths));
  console.write(line(rule, widths));
  for (auto row = rows_.begin() + 1; row != rows_.end(); ++row) console.write(line(*row, widths));
}

}  // namespace zdb::tool
