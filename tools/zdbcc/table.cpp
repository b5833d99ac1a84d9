#include "table.h"

#include <algorithm>

namespace zdb::tool {

namespace {

std::size_t width(const std::string& text) {
  const auto isContinuation = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; };
  return text.size() -
         static_cast<std::size_t>(std::count_if(text.begin(), text.end(), isContinuation));
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

std::string Table::line(const std::vector<std::string>& row) const {
  std::string result;
  for (std::size_t c = 0; c < columns_.size(); ++c) {
    const std::string padding(widths_[c] - width(row[c]), ' ');
    result += columns_[c].alignRight ? padding + row[c] : row[c] + padding;
    result += "  ";
  }
  trimEnd(result);
  return result + '\n';
}

void Table::print(Console& console) const {
  std::vector<std::string> rule;
  for (const std::size_t columnWidth : widths_) rule.emplace_back(columnWidth, '-');
  console.write(line(rows_.front()));
  console.write(line(rule));
  for (auto row = rows_.begin() + 1; row != rows_.end(); ++row) console.write(line(*row));
}

}  // namespace zdb::tool
