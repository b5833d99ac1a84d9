#include "columns.h"

#include "console.h"
#include "contract/columnnames.h"

namespace zdb::tool {

std::vector<std::string> valueColumns(const SymbolInfo& symbol) {
  if (symbol.isUniverse()) return {};
  if (symbol.type == ZDB_SET) return {"text"};
  if (symbol.valueCount() == 1) return {"value"};
  return {"level", "marginal", "lower", "upper", "scale"};
}

std::vector<std::string> columnNames(const SymbolInfo& symbol) {
  const std::vector<std::string> values = valueColumns(symbol);
  std::vector<std::string> domains;
  for (const Domain& domain : symbol.domains) domains.push_back(printable(domain.name));
  std::vector<std::string> names =
      zdb::contract::positionNames(domains, {values.begin(), values.end()});
  names.insert(names.end(), values.begin(), values.end());
  return names;
}

}  // namespace zdb::tool
