#include "importer.h"

#include <algorithm>
#include <filesystem>

#include "contract/names.h"
#include "guess.h"
#include "tableimport.h"

namespace zdb::tool {

namespace {

using zdb::contract::lowerCase;

std::uint64_t sizeOf(const std::string& file) {
  std::error_code unknown;
  const std::uintmax_t size = std::filesystem::file_size(file, unknown);
  return unknown ? 0 : size;
}

}  // namespace

Importer::Importer(const ImportRules& rules, std::vector<ImportSpec> specs, Console& console)
    : rules_(rules),
      specs_(std::move(specs)),
      console_(console),
      labels_(db_),
      progress_(console, "bytes") {
  for (const ImportSpec& spec : specs_) {
    if (!spec.isAlias()) totalBytes_ += sizeOf(spec.file);
  }
}

void Importer::run() {
  for (current_ = 0; current_ < specs_.size(); ++current_) {
    const ImportSpec& spec = specs_[current_];
    if (isKnown(spec.name) && !spec.isUniverse()) {
      throw ToolError("there is a symbol " + spec.name + " already");
    }
    if (spec.isAlias()) {
      addAlias(spec);
      continue;
    }
    SymbolReport report = TableImport(*this, spec).run();
    reports_.push_back(std::move(report));
  }
  addGrown();
}

void Importer::addAlias(const ImportSpec& spec) {
  if (!isKnown(spec.file)) throw ToolError("alias " + spec.name + ": no set " + spec.file);
  const zdbcc::Symbol set = db_.symbol(spec.file);
  int number = 0;
  db_.check(
      c__zdbsymbolinfo(db_.handle(), set.handle(), ZDB_SYMBOL_NUMBER, &number, nullptr, nullptr));
  if (set.type() != ZDB_SET)
    throw ToolError("alias " + spec.name + ": " + spec.file + " is no set");
  db_.add(spec.name, set.dim(), ZDB_ALIAS, spec.text, {}, number);
}

std::vector<DomainName> Importer::domainsOf(const ImportSpec& spec, bool isWide,
                                            const std::vector<std::string>& headings) {
  std::vector<DomainName> domains;
  for (const KeyColumn& key : spec.keys) domains.push_back(key.domain);
  for (std::size_t i = 0; i < headings.size(); ++i) {
    if (domains[i].isGiven || !zdb::contract::isSymbolName(headings[i])) continue;
    if (!isTaken(headings[i])) domains[i] = {.name = headings[i], .isRelaxed = true};
  }
  if (isWide) domains.push_back(spec.lastDomain);
  for (const DomainName& domain : domains) {
    if (!domain.isRelaxed && domain.name != "*") requireDomain(domain, spec.name);
  }
  return domains;
}

/// Sees to it that a domain is a set that exists or will.
void Importer::requireDomain(const DomainName& domain, const std::string& symbol) {
  if (isKnown(domain.name)) {
    const zdbcc::Symbol set = db_.symbol(domain.name);
    if (set.type() == ZDB_SET && set.dim() == 1) return;
    throw ToolError(symbol + ": the domain " + domain.name + " is not a set with one position");
  }
  if (!domain.grows && isToCome(domain.name)) {
    console_.note(symbol + ": the set " + domain.name +
                  " comes later, so this domain is a mere name; import the set before");
    return;
  }
  if (!domain.grows) {
    Guess guess(domain.name);
    for (const ImportSpec& spec : specs_) guess.consider(spec.name);
    throw ToolError(symbol + ": there is no set " + domain.name +
                    " to be a domain: import one before, or write (" + domain.name +
                    "+) to make one of the labels" + guess.text());
  }
  db_.addSet(domain.name);
  SymbolReport report;
  report.name = domain.name;
  report.dim = 1;
  reports_.push_back(std::move(report));
}

zdbcc::Symbol Importer::addSymbol(const ImportSpec& spec, int type,
                                  const std::vector<DomainName>& domains) {
  std::vector<zdbSymbol_t> sets;
  std::vector<const char*> names;
  for (const DomainName& domain : domains) {
    const bool isSet = !domain.isRelaxed && domain.name != "*" && isKnown(domain.name);
    sets.push_back(isSet ? db_.symbol(domain.name, true).handle() : nullptr);
    names.push_back(domain.name.c_str());
  }
  zdbSymbol_t symbol = nullptr;
  zdbx_clear_error(db_.handle());
  db_.check(c__zdbaddsymbolx(db_.handle(), spec.name.c_str(), static_cast<int>(domains.size()),
                             type, spec.userInfo, spec.text.c_str(), sets.data(), names.data(),
                             &symbol));
  if (symbol == nullptr) throw zdbcc::Error::of(db_.handle());
  zdbcc::Symbol result(db_.handle(), symbol);
  result.setStorage(ZDB_STORAGE_VECTOR);
  return result;
}

Members* Importer::membersOf(const DomainName& domain) {
  if (domain.isRelaxed || domain.name == "*" || !isKnown(domain.name)) return nullptr;
  const zdbcc::Symbol set = db_.symbol(domain.name);
  std::unique_ptr<Members>& members = members_[lowerCase(set.name())];
  if (members == nullptr) {
    members = std::make_unique<Members>(set.name());
    const zdbcc::Columns elements = set.columns();
    for (const std::int32_t label : elements.keys.front()) members->add(label);
  }
  members->grows = members->grows || domain.grows;
  members->keepsOthers = !rules_.checksDomains;
  return members.get();
}

bool Importer::isToCome(const std::string& name) const {
  return std::any_of(
      specs_.begin() + static_cast<std::ptrdiff_t>(current_) + 1, specs_.end(),
      [&](const ImportSpec& spec) { return zdb::contract::isSameText(spec.name, name); });
}

bool Importer::isKnown(const std::string& name) const {
  zdbSymbol_t symbol = nullptr;
  return c__zdbfindsymbolwithalias(db_.handle(), name.c_str(), &symbol) != 0;
}

bool Importer::isTaken(const std::string& name) const {
  const auto isIt = [&](const std::string& other) {
    return zdb::contract::isSameText(other, name);
  };
  return isKnown(name) || std::any_of(specs_.begin(), specs_.end(), [&](const ImportSpec& spec) {
           return isIt(spec.name) || isIt(spec.lastDomain.name) ||
                  std::any_of(spec.keys.begin(), spec.keys.end(),
                              [&](const KeyColumn& key) { return isIt(key.domain.name); });
         });
}

/// The elements that sets got as domains.
void Importer::addGrown() {
  for (const auto& entry : members_) {
    const Members* members = entry.second.get();
    if (members->added.empty()) continue;
    const std::span<const std::int32_t> labels(members->added);
    const zdbx_result result = db_.symbol(members->name()).put(std::span(&labels, 1), {});
    const auto report = std::find_if(reports_.begin(), reports_.end(), [&](const SymbolReport& r) {
      return r.name == members->name();
    });
    if (report != reports_.end()) report->records += static_cast<std::uint64_t>(result.added);
  }
}

}  // namespace zdb::tool
