#include "lookup.h"

#include "exitcode.h"
#include "guess.h"

namespace zdb::tool {

void requireLabelCount(const zdbcc::Symbol& symbol, const std::vector<std::string>& labels) {
  if (labels.size() == static_cast<std::size_t>(symbol.dim())) return;
  throw ToolError("labels given for " + symbol.name() + ": " + std::to_string(labels.size()) +
                  ", needed: " + std::to_string(symbol.dim()));
}

zdbcc::Symbol requireSymbol(const zdbcc::Database& db, const std::string& name) {
  if (const auto symbol = db.findSymbol(name)) return *symbol;
  Guess guess(name);
  for (const zdbcc::Symbol& symbol : db.symbols()) guess.consider(symbol.name());
  throw ToolError("there is no symbol " + name + guess.text());
}

void requireLabels(const zdbcc::Database& db, const std::vector<std::string>& labels) {
  for (const std::string& label : labels) {
    if (db.findLabel(label)) continue;
    Guess guess(label);
    for (int i = 1; i <= db.labelCount(); ++i) guess.consider(db.label(i));
    throw ToolError("there is no label " + label + guess.text());
  }
}

}  // namespace zdb::tool
