#include "compare.h"

#include <cstdio>

#include "dietdata.h"

namespace {

void printCounts(const DietData& before, const DietData& after) {
  std::printf("   %-44s %10s %10s\n", "symbol", "before", "after");
  for (std::size_t i = 0; i < before.all().size(); ++i) {
    const auto old = static_cast<int>(before.all()[i].size());
    const auto now = static_cast<int>(after.all()[i].size());
    std::printf("   %-44s %10d %10d", before.all()[i].name().c_str(), old, now);
    if (now != old) std::printf("   %+8d", now - old);
    std::printf("\n");
  }
}

std::string entry(const zdbcc::Symbol& symbol, const zdbcc::Key& key) {
  std::string text = symbol.name();
  for (int i = 0; i < key.size(); ++i) text.append(i == 0 ? "(" : ", ").append(key.data()[i]);
  return text + ")";
}

/// Returns the number of records that it has printed.
int printChanges(const zdbcc::Symbol& before, const zdbcc::Symbol& after) {
  int changes = 0;
  for (const auto& record : after.records()) {
    const double value = record.value();
    const std::optional<double> old = before.find(record.key());
    if (old == value) continue;
    ++changes;
    std::printf("   %-44s ", entry(after, record.key()).c_str());
    if (old) {
      std::printf("%10.2f %10.2f   %+7.1f%%\n", *old, value, 100 * (value - *old) / *old);
    } else {
      std::printf("%10s %10.2f        new\n", "-", value);
    }
  }
  return changes;
}

}  // namespace

void compare(const std::string& before, const std::string& after) {
  const DietData old(before);
  const DietData now(after);
  printCounts(old, now);
  std::printf("\n   %-44s %10s %10s   %8s\n", "record", "before", "after", "change");
  int changes = printChanges(old.price, now.price);
  changes += printChanges(old.need, now.need);
  changes += printChanges(old.content, now.content);
  std::printf("   %d records differ\n", changes);
}
