#include "infeasible.h"

#include <algorithm>

#include "entry.h"
#include "values.h"
#include "zkitdclib.h"

namespace zdb::tool {

namespace {

constexpr std::size_t kMostLines = 20;
constexpr int kNameSize = 4096;  // 20 labels in quotes

using Names = int (*)(void* instance, int number, char* name, int size);
using Members = int (*)(void* instance, int* numbers, int* sides);

}  // namespace

InfeasibleSet::InfeasibleSet(const Model& model, double seconds) : model_(model) {
  void* instance = model.instance();
  int counts[2] = {};
  char message[1024] = "";
  const int result =
      zkitInfeasibleSet(instance, seconds, &counts[0], &counts[1], message, sizeof message);
  isIrreducible_ = result == ZKIT_IRREDUCIBLE;
  if (result == 0) reason_ = message;
  if (result == 0) return;
  for (const bool isRow : {true, false}) {
    const auto count = static_cast<std::size_t>(counts[isRow ? 0 : 1]);
    std::vector<int> numbers(count);
    std::vector<int> sides(count);
    const Members members = isRow ? zkitInfeasibleRows : zkitInfeasibleColumns;
    members(instance, numbers.data(), sides.data());
    for (std::size_t i = 0; i < count; ++i) take(isRow, numbers[i], sides[i]);
  }
}

void InfeasibleSet::take(bool isRow, int number, int sides) {
  char name[kNameSize] = "";
  const Names names = isRow ? zkitRowName : zkitColumnName;
  names(model_.instance(), number, name, sizeof name);
  const Entry entry = parseEntry(name);
  Member member = {isRow, entry.symbol, entry.labels, {}, {}};
  const zdbcc::Symbol symbol = model_.database().symbol(entry.symbol);
  for (const auto& record : symbol.records(zdbcc::Key(entry.labels))) {
    if ((sides & ZKIT_LOWER_SIDE) != 0) member.lower = record.value(ZDB_LOWER);
    if ((sides & ZKIT_UPPER_SIDE) != 0) member.upper = record.value(ZDB_UPPER);
  }
  members_.push_back(std::move(member));
}

std::string InfeasibleSet::textOf(const Member& member) const {
  ValueFormat format(model_.database().specialValues());
  std::string text = entryText({member.symbol, member.labels});
  if (member.lower && member.upper && *member.lower == *member.upper) {
    return text + " = " + format.tenDigits(*member.lower);
  }
  if (member.lower) text += " >= " + format.tenDigits(*member.lower);
  if (member.lower && member.upper) text += " and";
  if (member.upper) text += " <= " + format.tenDigits(*member.upper);
  return text;
}

std::vector<std::string> InfeasibleSet::lines() const {
  if (!reason_.empty()) return {reason_};
  const auto rows =
      std::count_if(members_.begin(), members_.end(), [](const Member& m) { return m.isRow; });
  const auto columns = members_.size() - static_cast<std::size_t>(rows);
  std::string first = rows == 0 ? "" : counted(static_cast<std::size_t>(rows), "row");
  if (columns > 0)
    first += (rows == 0 ? "bounds of " : " and bounds of ") + counted(columns, "column");
  std::vector<std::string> lines = {first + (isIrreducible_
                                                 ? ": without any one of them there is a solution"
                                                 : ": not all of them may be needed")};
  for (const Member& member : members_) {
    if (lines.size() > kMostLines) break;
    lines.push_back(textOf(member));
  }
  const std::size_t shown = lines.size() - 1;
  if (shown < members_.size()) {
    lines.push_back("and " + std::to_string(members_.size() - shown) + " more, which --json tells");
  }
  return lines;
}

void InfeasibleSet::writeJson(JsonWriter& json) const {
  json.beginObject();
  if (!reason_.empty()) {
    json.field("reason", reason_).end();
    return;
  }
  json.field("irreducible", isIrreducible_).key("members").beginArray();
  for (const Member& member : members_) {
    json.beginObject(JsonWriter::Layout::OneLine).field("kind", member.isRow ? "row" : "column");
    json.field("symbol", member.symbol).key("labels");
    json.beginArray(JsonWriter::Layout::OneLine);
    for (const std::string& label : member.labels) json.value(label);
    json.end();
    if (member.lower) json.field("lower", *member.lower);
    if (member.upper) json.field("upper", *member.upper);
    json.end();
  }
  json.end().end();
}

}  // namespace zdb::tool
