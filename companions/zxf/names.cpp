#include "zxf/names.h"

#include <sys/random.h>
#include <xxhash.h>

#include <algorithm>

#include "contract/names.h"
#include "zxf/format.h"

namespace zdb::zxfile {

namespace {

// Differs from process to process: if the seed were known, a file could have a million labels that
// all hash to one slot, and reading it would take hours.
std::uint64_t hashSeed() {
  static const std::uint64_t seed = [] {
    std::uint64_t value = 0;
    if (getrandom(&value, sizeof value, GRND_NONBLOCK) < 0)
      value = reinterpret_cast<std::uintptr_t>(&value);
    return value;
  }();
  return seed;
}

}  // namespace

void TextList::add(std::string_view text) {
  if (size() >= kMaxCount || stored_.size() + 1 + text.size() > kMaxSectionSize) {
    fail(Errc::TooMany, std::string(text.substr(0, kMaxLabelLength)));
  }
  offsets_.push_back(static_cast<std::uint32_t>(stored_.size()));
  FieldWriter(stored_).text("text", text);
}

void TextList::adopt(Bytes&& stored, std::uint32_t count, Errc onDamage) {
  stored_ = std::move(stored);
  FieldReader in(stored_, onDamage);
  if (count > in.left()) in.damaged("count of texts");
  offsets_.resize(count);
  for (std::uint32_t& offset : offsets_) {
    offset = static_cast<std::uint32_t>(stored_.size() - in.left());
    in.shortText("length of a text");
  }
  if (in.left() > 0) in.damaged("count of texts");
}

std::uint32_t NameIndex::hashOf(std::string_view name) {
  char upper[kMaxNameLength + 1];
  const std::size_t length = std::min(name.size(), sizeof upper);
  std::transform(name.begin(), name.begin() + static_cast<std::ptrdiff_t>(length), upper,
                 [](char c) { return contract::upperCase(c); });
  return static_cast<std::uint32_t>(XXH3_64bits_withSeed(upper, length, hashSeed()));
}

// The slot of `name`, or the free slot for it.
const NameIndex::Slot* NameIndex::slotOf(const TextList& list, std::string_view name,
                                         std::uint32_t hash) const {
  const std::size_t mask = slots_.size() - 1;
  for (std::size_t at = hash & mask;; at = (at + 1) & mask) {
    const Slot& slot = slots_[at];
    if (slot.number == 0) return &slot;
    if (slot.hash == hash && contract::isSameText(list.at(slot.number), name)) return &slot;
  }
}

std::uint32_t NameIndex::find(const TextList& list, std::string_view name) const {
  return slots_.empty() ? 0 : slotOf(list, name, hashOf(name))->number;
}

void NameIndex::grow(std::size_t capacity) {
  std::vector<Slot> old(capacity);
  old.swap(slots_);
  const std::size_t mask = capacity - 1;
  for (const Slot& slot : old) {
    if (slot.number == 0) continue;
    std::size_t at = slot.hash & mask;
    while (slots_[at].number != 0) at = (at + 1) & mask;
    slots_[at] = slot;
  }
}

bool NameIndex::add(const TextList& list, std::uint32_t number) {
  if (2 * (std::size_t{used_} + 1) > slots_.size())
    grow(std::max<std::size_t>(16, 2 * slots_.size()));
  const std::string_view name = list.at(number);
  const std::uint32_t hash = hashOf(name);
  const auto at = static_cast<std::size_t>(slotOf(list, name, hash) - slots_.data());
  if (slots_[at].number != 0) return false;
  slots_[at] = {hash, number};
  ++used_;
  return true;
}

std::uint32_t NameIndex::build(const TextList& list) {
  std::size_t capacity = 16;
  while (capacity < 2 * (std::size_t{list.size()} + 1)) capacity *= 2;
  slots_.assign(capacity, {});
  used_ = 0;
  for (std::uint32_t number = 1; number <= list.size(); ++number) {
    if (!add(list, number)) return number;
  }
  return 0;
}

std::uint32_t NameList::add(std::string_view name) {
  if (index_.find(list_, name) != 0) return 0;
  list_.add(name);
  index_.add(list_, list_.size());
  return list_.size();
}

void NameList::adopt(Bytes&& stored, std::uint32_t count, Errc onDamage) {
  list_.adopt(std::move(stored), count, onDamage);
  const std::uint32_t repeated = index_.build(list_);
  if (repeated != 0) {
    fail(onDamage,
         printed("label number %u repeats an earlier one", static_cast<unsigned>(repeated)));
  }
}

bool isLabel(std::string_view text) {
  return contract::isLabel(text) && contract::withoutEndingBlanks(text).size() == text.size();
}

bool isSymbolName(std::string_view text) {
  if (text.empty() || text.size() > kMaxNameLength || text.front() == '*') return false;
  return std::none_of(text.begin(), text.end(), [](char c) {
    return contract::isControl(c) || c == ' ' || c == '\'' || c == '"';
  });
}

}  // namespace zdb::zxfile
