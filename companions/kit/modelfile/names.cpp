#include "kit/modelfile/names.h"

#include <string_view>
#include <utility>

#include "contract/entryname.h"
#include "kit/modelfile/errors.h"
#include "kit/names.h"

namespace zdb::kit::modelfile {

namespace {

constexpr std::string_view kReplaced = " .-+/:&$%#@!~|?;=<>*^`";

[[noreturn]] void fail(const std::string& name, const std::string& why) {
  throw ReadError("name \"" + name + "\" cannot become a symbol with labels: " + why);
}

/// The length of a name without the underscores after its index, with which Pyomo ends names of
/// rows: c_e_need(milk)_.
std::size_t lengthToIndex(std::string_view name) {
  const std::size_t last = name.find_last_not_of('_');
  const bool isIndexed = last != name.npos && (name[last] == ')' || name[last] == ']');
  return isIndexed ? last + 1 : name.size();
}

}  // namespace

std::string symbolOf(std::string_view written) {
  std::string symbol(written);
  for (char& c : symbol) {
    if (kReplaced.find(c) != std::string_view::npos) c = '_';
  }
  return symbol;
}

SymbolicName parseName(const std::string& name) {
  if (name.empty()) throw ReadError("a row or column has no name");
  const std::size_t length = lengthToIndex(name);
  contract::EntryName entry = contract::readEntryName(std::string_view(name).substr(0, length),
                                                      contract::PlainLabels::NoBracketsAndQuotes);
  const std::string written = std::string(entry.symbol) + name.substr(length);
  SymbolicName result{symbolOf(written), written, std::move(entry.labels)};
  if (!isSymbolName(result.symbol)) {
    fail(name, "a symbol is a letter, then letters, digits and underscores, at most 63 characters");
  }
  for (std::size_t k = 0; k < result.labels.size(); ++k) {
    if (!isLabel(result.labels[k])) {
      fail(name,
           "the label \"" + result.labels[k] +
               "\" is empty, has more than 63 characters, a control character or both kinds of "
               "quotes");
    }
    if (k >= kMaxDim) fail(name, "more than 20 labels");
  }
  if (!entry.fault.empty()) fail(name, entry.fault);
  return result;
}

}  // namespace zdb::kit::modelfile
