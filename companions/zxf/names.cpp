#include "zxf/names.h"

#include <sys/mman.h>
#include <sys/random.h>
#include <xxhash.h>

#include <algorithm>
#include <array>

#include "contract/names.h"
#include "zxf/format.h"

namespace zdb::zxfile {

namespace {

// Differs from process to process, so that nobody can choose labels that belong into one slot.
std::uint64_t hashSeed() {
  static const std::uint64_t seed = [] {
    std::uint64_t value = 0;
    if (getrandom(&value, sizeof value, GRND_NONBLOCK) < 0)
      value = reinterpret_cast<std::uintptr_t>(&value);
    return value;
  }();
  return seed;
}

/// Each search in a large table needs another page; huge ones are found in half the time. To be
/// called before the memory is written to.
void useHugePages(void* memory, std::size_t bytes) {
  constexpr std::size_t kHugePage = std::size_t{2} << 20;
  const auto begin = reinterpret_cast<std::uintptr_t>(memory);
  const std::uintptr_t first = (begin + kHugePage - 1) & ~(kHugePage - 1);
  if (first + kHugePage > begin + bytes) return;
  madvise(reinterpret_cast<void*>(first), begin + bytes - first, MADV_HUGEPAGE);
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

template <typename Stop>
std::size_t NameIndex::firstSlot(std::uint32_t hash, Stop stop) const {
  const std::size_t mask = slots_.size() - 1;
  for (std::size_t at = hash & mask, left = kMostProbes; left > 0; at = (at + 1) & mask, --left) {
    if (slots_[at].number == 0 || stop(slots_[at])) return at;
  }
  return kNoSlot;
}

std::size_t NameIndex::slotOf(const TextList& list, std::string_view name,
                              std::uint32_t hash) const {
  return firstSlot(hash, [&](const Slot& slot) {
    return slot.hash == hash && contract::isSameText(list.at(slot.number), name);
  });
}

std::uint32_t NameIndex::findCrowded(std::string_view name) const {
  if (crowded_.empty()) [[likely]]
    return 0;
  const auto found = crowded_.find(contract::upperCase(name));
  return found == crowded_.end() ? 0 : found->second;
}

std::uint32_t NameIndex::find(const TextList& list, std::string_view name) const {
  if (slots_.empty()) return 0;
  const std::size_t at = slotOf(list, name, hashOf(name));
  const std::uint32_t number = at == kNoSlot ? 0 : slots_[at].number;
  return number != 0 ? number : findCrowded(name);
}

void NameIndex::put(const TextList& list, std::size_t at, Slot slot) {
  if (at != kNoSlot) [[likely]] {
    slots_[at] = slot;
  } else {
    crowded_.emplace(contract::upperCase(list.at(slot.number)), slot.number);
  }
}

void NameIndex::grow(const TextList& list, std::size_t capacity) {
  std::vector<Slot> old;
  old.reserve(capacity);
  useHugePages(old.data(), capacity * sizeof(Slot));
  old.resize(capacity);
  old.swap(slots_);
  for (const Slot& slot : old) {
    if (slot.number == 0) continue;
    put(list, firstSlot(slot.hash, [](const Slot&) { return false; }), slot);
  }
}

void NameIndex::reserve(const TextList& list, std::size_t count) {
  std::size_t capacity = std::max<std::size_t>(16, slots_.size());
  while (capacity < 2 * count) capacity *= 2;
  if (capacity > slots_.size()) grow(list, capacity);
}

bool NameIndex::isTaken(std::size_t at, std::string_view name) const {
  return (at != kNoSlot && slots_[at].number != 0) || findCrowded(name) != 0;
}

bool NameIndex::add(TextList& list, std::string_view name) {
  reserve(list, std::size_t{used_} + 1);
  const std::uint32_t hash = hashOf(name);
  const std::size_t at = slotOf(list, name, hash);
  if (isTaken(at, name)) return false;
  list.add(name);
  put(list, at, {hash, list.size()});
  ++used_;
  return true;
}

std::uint32_t NameIndex::build(const TextList& list) {
  // As many searches under way at a time as a processor has room for.
  constexpr std::uint32_t kAhead = 16;
  slots_.clear();
  crowded_.clear();
  used_ = 0;
  reserve(list, std::size_t{list.size()} + 1);
  std::array<std::uint32_t, kAhead> hashes{};
  const auto prepare = [&](std::uint32_t number) {
    if (number > list.size()) return;
    const std::uint32_t hash = hashes[number % kAhead] = hashOf(list.at(number));
    __builtin_prefetch(&slots_[hash & (slots_.size() - 1)], 1);
  };
  for (std::uint32_t number = 1; number <= kAhead; ++number) prepare(number);
  for (std::uint32_t number = 1; number <= list.size(); ++number) {
    const std::uint32_t hash = hashes[number % kAhead];
    const std::string_view name = list.at(number);
    const std::size_t at = slotOf(list, name, hash);
    if (isTaken(at, name)) return number;
    put(list, at, {hash, number});
    ++used_;
    prepare(number + kAhead);
  }
  return 0;
}

std::uint32_t NameList::add(std::string_view name) {
  return index_.add(list_, name) ? list_.size() : 0;
}

void NameList::adopt(Bytes&& stored, std::uint32_t count, Errc onDamage) {
  list_.adopt(std::move(stored), count, onDamage);
  // Before they are indexed, which only names of limited length are made for.
  for (std::uint32_t number = 1; number <= count; ++number) {
    if (!isLabel(list_.at(number))) {
      fail(onDamage, printed("label number %u cannot be a label", number));
    }
  }
  const std::uint32_t repeated = index_.build(list_);
  if (repeated != 0) {
    fail(onDamage, printed("number %u repeats a label", static_cast<unsigned>(repeated)));
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
