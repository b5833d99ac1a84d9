#include "zxf/writer.h"

#include <algorithm>

namespace zdb::zxfile {

namespace {

std::string quoted(std::string_view text) {
  return printed(">%.*s<", static_cast<int>(std::min<std::size_t>(text.size(), 100)), text.data());
}

std::string_view textOf(const char* text) {
  if (text == nullptr) fail(Errc::NullArgument, "domain name");
  return text;
}

void checkText(std::string_view text) {
  if (text.size() > kMaxTextLength) fail(Errc::TextTooLong, quoted(text));
}

}  // namespace

Writer::Writer(const char* path, const char* producer) : file_(path) {
  directory_.producer = producer;
  checkText(directory_.producer);
  file_.append(Bytes(kHeaderSize));  // filled in when the rest is known
}

void Writer::requirePhase(Phase phase) const {
  if (phase_ == phase) return;
  if (phase_ == Phase::Labels) fail(Errc::LabelsAreOpen);
  if (phase_ == Phase::Symbol) fail(Errc::SymbolIsOpen, directory_.symbols.back().name);
  fail(phase == Phase::Labels ? Errc::LabelsNotOpen : Errc::NoSymbolOpen);
}

void Writer::startLabels() {
  requirePhase(Phase::Idle);
  phase_ = Phase::Labels;
}

void Writer::addLabel(std::string_view label) {
  requirePhase(Phase::Labels);
  const std::size_t end = label.find_last_not_of(' ');
  const std::string_view trimmed = label.substr(0, end == label.npos ? 0 : end + 1);
  // A text of blanks only is the universe's placeholder for no label, so it cannot be a label.
  if (!isLabel(trimmed) || (trimmed.empty() && !label.empty())) {
    fail(Errc::BadLabel, quoted(label));
  }
  if (directory_.labels.add(trimmed) == 0) fail(Errc::LabelTaken, quoted(label));
}

void Writer::endLabels() {
  requirePhase(Phase::Labels);
  phase_ = Phase::Idle;
}

int Writer::addText(std::string_view text) {
  checkText(text);
  directory_.texts.add(text);
  return static_cast<int>(directory_.texts.size());
}

void Writer::checkName(std::string_view name) const {
  if (!isSymbolName(name)) fail(Errc::BadName, quoted(name));
  if (directory_.names.find(name) != 0) fail(Errc::NameTaken, quoted(name));
}

// Gives a symbol, whose name has been checked, the next number; its blocks begin here.
void Writer::enter(SymbolEntry entry, LabelSet* members) {
  entry.dataOffset = file_.size();
  directory_.names.add(entry.name);
  directory_.symbols.push_back(std::move(entry));
  setOfSymbol_.push_back(members);
}

// The number of the set that an alias of `name` refers to, 0 for the universe. Aliases of aliases
// are resolved here, so that a reader never has to follow a chain.
std::uint32_t Writer::aliasedSet(std::string_view name) const {
  if (name == "*") return 0;
  const std::uint32_t number = directory_.names.find(name);
  if (number == 0) fail(Errc::BadAliasTarget, quoted(name));
  const SymbolEntry& symbol = directory_.symbols[number - 1];
  if (symbol.type == SymbolType::Alias) return static_cast<std::uint32_t>(symbol.userInfo);
  if (symbol.type != SymbolType::Set) fail(Errc::BadAliasTarget, quoted(name));
  return number;
}

void Writer::addAlias(std::string_view alias, std::string_view set) {
  requirePhase(Phase::Idle);
  const std::uint32_t number = aliasedSet(set);
  checkName(alias);
  SymbolEntry entry;
  entry.name = alias;
  entry.type = SymbolType::Alias;
  entry.userInfo = static_cast<std::int32_t>(number);
  entry.dim = number == 0 ? std::uint8_t{1} : directory_.symbols[number - 1].dim;
  enter(std::move(entry), number == 0 ? nullptr : setOfSymbol_[number - 1]);
}

void Writer::startSymbol(std::string_view name, std::string_view text, int dim, int type,
                         int userInfo) {
  requirePhase(Phase::Idle);
  if (type < 0 || type >= static_cast<int>(SymbolType::Alias)) {
    fail(Errc::BadType, printed("%d", type));
  }
  if (dim < 0 || dim > kMaxDim) fail(Errc::BadDimension, printed("%d", dim));
  checkText(text);
  checkName(name);
  SymbolEntry entry;
  entry.name = name;
  entry.type = static_cast<SymbolType>(type);
  entry.dim = static_cast<std::uint8_t>(dim);
  entry.userInfo = userInfo;
  entry.text = text;
  members_ = nullptr;
  if (entry.type == SymbolType::Set && dim == 1) members_ = &sets_.emplace_back();
  const int width = valueWidth(entry.type);
  enter(std::move(entry), members_);
  block_.start(directory_.names.list().size(), dim, width);
  phase_ = Phase::Symbol;
  dim_ = dim;
  labelCount_ = directory_.labels.list().size();
  recordCount_ = 0;
  strict_ = false;
}

// The members of a domain, null for the universe, and the name as its symbol spells it.
const LabelSet* Writer::domainSet(std::string_view name, std::string& spelling) const {
  spelling = name;
  if (name == "*") return nullptr;
  const std::uint32_t number = directory_.names.find(name);
  // The symbol that is being written is in the list already, but its members are not complete.
  if (number == 0 || number == directory_.symbols.size()) {
    fail(Errc::UnknownDomain, quoted(name));
  }
  const SymbolEntry& set = directory_.symbols[number - 1];
  if (!isDomainSet(set)) fail(Errc::BadDomain, quoted(name));
  spelling = set.name;
  return setOfSymbol_[number - 1];
}

void Writer::setStrictDomains(const char* const* names) {
  requirePhase(Phase::Symbol);
  SymbolEntry& entry = directory_.symbols.back();
  if (recordCount_ > 0) fail(Errc::RecordsWritten, entry.name);
  if (entry.domainKind != DomainKind::None) fail(Errc::DomainIsSet, entry.name);
  // All names are checked before anything changes, so that after a bad one there is no domain.
  std::array<const LabelSet*, kMaxDim> sets{};
  Bytes packed;
  for (int d = 0; d < dim_; ++d) {
    std::string spelling;
    sets[d] = domainSet(textOf(names[d]), spelling);
    FieldWriter(packed).text("domain", spelling);
  }
  if (dim_ == 0) return;
  entry.domains = asText(packed);
  entry.domainKind = DomainKind::Strict;
  domains_ = sets;
  strict_ = true;
}

void Writer::setRelaxedDomains(int number, const char* const* names) {
  const std::size_t count = directory_.symbols.size();
  if (number < 1 || static_cast<std::size_t>(number) > count) {
    fail(Errc::BadSymbolNumber, printed("%d is not between 1 and %zu", number, count));
  }
  SymbolEntry& entry = directory_.symbols[number - 1];
  if (entry.type == SymbolType::Alias) fail(Errc::BadType, "an alias has the domain of its set");
  if (entry.domainKind == DomainKind::Strict) fail(Errc::DomainIsSet, entry.name);
  Bytes packed;
  for (int d = 0; d < entry.dim; ++d) {
    const std::string_view name = textOf(names[d]);
    checkText(name);
    FieldWriter(packed).text("domain", name);
  }
  if (entry.dim == 0) return;
  entry.domains = asText(packed);
  entry.domainKind = DomainKind::Relaxed;
}

std::string Writer::describeRecord(const int* key) const {
  std::string keyText;
  for (int d = 0; d < dim_; ++d) keyText += printed(d == 0 ? "%d" : ",%d", key[d]);
  return printed("symbol %s, label numbers (%s), %u labels", directory_.symbols.back().name.c_str(),
                 keyText.c_str(), labelCount_);
}

// A failure halfway leaves bytes in the file or in the packer that belong to no block.
void Writer::flushBlock(const SpecialValues& specials) {
  broken_ = true;
  file_.append(block_.pack(SpecialMatcher(specials)));
  broken_ = false;
}

void Writer::endSymbol(const SpecialValues& specials) {
  requirePhase(Phase::Symbol);
  if (!block_.empty()) flushBlock(specials);
  SymbolEntry& entry = directory_.symbols.back();
  entry.recordCount = recordCount_;
  entry.dataSize = file_.size() - entry.dataOffset;
  phase_ = Phase::Idle;
}

void Writer::publish() {
  requirePhase(Phase::Idle);
  broken_ = true;  // whatever happens, the writer cannot be used again
  writeDirectory(directory_, file_, streams_);
  file_.publish();
}

}  // namespace zdb::zxfile
