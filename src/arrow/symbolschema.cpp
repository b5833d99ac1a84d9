#include "arrow/symbolschema.h"

#include <iterator>
#include <string_view>
#include <utility>

#include "contract/columnnames.h"

namespace zdb::arrow {

namespace {

constexpr const char* kTypeNames[] = {"set", "parameter", "variable", "equation", "alias"};
constexpr std::string_view kValueNames[] = {"level", "marginal", "lower", "upper", "scale"};

std::vector<std::string_view> valueNames(const SymbolColumns& columns) {
  if (columns.hasTexts) return {"text"};
  if (columns.width == 1) return {"value"};
  return {std::begin(kValueNames), std::begin(kValueNames) + columns.width};
}

std::vector<std::string> domainNames(const AbstractZDBSymbol& records) {
  std::vector<std::string> names;
  for (std::size_t i = 0; i < static_cast<std::size_t>(records.dim); ++i) {
    if (records.isUniverse()) {
      names.emplace_back("*");
    } else {
      const AbstractZDBSymbol* domain = records.domains[i];
      names.push_back(domain != nullptr ? domain->name : records.domainNames[i]);
    }
  }
  return names;
}

}  // namespace

SymbolColumns::SymbolColumns(const AbstractZDBSymbol& symbol) {
  const AbstractZDBSymbol& records = *symbol.aliasTarget;
  const bool isSet = records.type == TypeSet;
  dim = records.dim;
  width = isSet ? 0 : valueWidth(records.type);
  hasTexts = isSet && !records.isUniverse();
}

Field schemaOf(const AbstractZDBSymbol& symbol) {
  const SymbolColumns columns(symbol);
  const std::vector<std::string_view> values = valueNames(columns);
  Field schema{"+s", "", 0, "", {}, {}};
  schema.metadata = encodeMetadata({{"zdb:symbol", symbol.name},
                                    {"zdb:type", kTypeNames[symbol.type]},
                                    {"zdb:dimension", std::to_string(columns.dim)},
                                    {"zdb:text", symbol.explText}});
  const Field texts{"u", "", 0, "", {}, {}};
  const std::vector<std::string> domains = domainNames(*symbol.aliasTarget);
  for (std::string& name : contract::positionNames(domains, values)) {
    schema.children.push_back(
        {"i", std::move(name), ARROW_FLAG_DICTIONARY_ORDERED, "", {}, {texts}});
  }
  for (const std::string_view name : values) {
    schema.children.push_back({columns.hasTexts ? "u" : "g", std::string(name), 0, "", {}, {}});
  }
  return schema;
}

}  // namespace zdb::arrow
