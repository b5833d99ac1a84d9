#include "entry.h"

#include <algorithm>

#include "console.h"
#include "contract/entryname.h"

namespace zdb::tool {

namespace {

std::string_view trimmed(std::string_view text) {
  return zdb::contract::withoutEndingBlanks(zdb::contract::withoutLeadingBlanks(text));
}

// A label has one kind of quotes at most.
std::string labelText(const std::string& label) {
  const bool isPlain = !label.empty() && label != "*" && trimmed(label) == label &&
                       label.find_first_of(",()[]'\"") == label.npos;
  const char* quote = isPlain ? "" : label.find('\'') == label.npos ? "'" : "\"";
  return quote + label + quote;
}

}  // namespace

Entry parseEntry(const std::string& text) {
  using namespace zdb::contract;
  const EntryName entry = readEntryName(trimmed(text), PlainLabels::Anything);
  const std::string symbol(trimmed(entry.symbol));
  const bool isGood = entry.fault.empty() && !symbol.empty() &&
                      std::none_of(entry.labels.begin(), entry.labels.end(),
                                   [](const std::string& label) { return label.empty(); });
  if (isGood) return {symbol, entry.labels};
  throw ToolError('"' + printable(text) + "\" is not an entry: write symbol[label,label]");
}

std::string entryText(const Entry& entry) {
  std::string text = entry.symbol;
  for (std::size_t d = 0; d < entry.labels.size(); ++d) {
    text.append(d == 0 ? "(" : ",").append(labelText(entry.labels[d]));
  }
  return entry.labels.empty() ? text : text + ')';
}

}  // namespace zdb::tool
