#include "entry.h"

#include <algorithm>

#include "console.h"
#include "contract/entryname.h"

namespace zdb::tool {

namespace {

std::string_view trimmed(std::string_view text) {
  return zdb::contract::withoutEndingBlanks(zdb::contract::withoutLeadingBlanks(text));
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

}  // namespace zdb::tool
