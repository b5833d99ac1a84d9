#include "columns.h"

#include <set>

#include "console.h"
#include "contract/names.h"

namespace zdb::tool {

std::vector<std::string> valueColumns(const SymbolInfo& symbol) {
  if (symbol.isUniverse()) return {};
  if (symbol.type == ZDB_SET) return {"text"};
  if (symbol.valueCount() == 1) return {"value"};
  return {"level", "marginal", "lower", "upper", "scale"};
}

// Programs that read CSV need distinct names, so a second "city" becomes "city_2".
std::vector<std::string> columnNames(const SymbolInfo& symbol) {
  const std::vector<std::string> values = valueColumns(symbol);
  std::set<std::string> used(values.begin(), values.end());
  std::vector<std::string> names;
  for (const Domain& domain : symbol.domains) {
    const std::string wanted = domain.name == "*" ? "label" : printable(domain.name);
    std::string name = wanted;
    for (int n = 2; !used.insert(zdb::contract::lowerCase(name)).second; ++n) {
      name = wanted + '_' + std::to_string(n);
    }
    names.push_back(name);
  }
  names.insert(names.end(), values.begin(), values.end());
  return names;
}

}  // namespace zdb::tool
