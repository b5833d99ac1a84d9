#include "arrow/importplan.h"

#include <algorithm>
#include <cstdio>

namespace zdb::arrow {

namespace {

/// Familiar names of the common types that cannot be used; formats are recognised
/// by their beginnings.
std::string typeName(const ArrowSchema& schema) {
  struct Name {
    std::string_view beginning;
    const char* name;
  };
  static constexpr Name kNames[] = {
      {"+", "nested"},       {"tdD", "date"},       {"tdm", "date"},
      {"tt", "time"},        {"ts", "timestamp"},   {"tD", "duration"},
      {"ti", "interval"},    {"n", "null"},         {"z", "binary"},
      {"Z", "large binary"}, {"vz", "binary view"}, {"w:", "fixed-size binary"},
      {"d:", "decimal"},     {"u", "utf8"},         {"U", "large utf8"},
      {"vu", "utf8 view"},   {"b", "boolean"},      {"e", "float16"},
      {"f", "float32"},      {"g", "float64"}};
  const std::string_view format = schema.format;
  if (schema.dictionary != nullptr) return "dictionary of " + typeName(*schema.dictionary);
  if (isIntegerFormat(format)) return "integer";
  const auto* found = std::find_if(std::begin(kNames), std::end(kNames), [&](const Name& name) {
    return format.substr(0, name.beginning.size()) == name.beginning;
  });
  return found == std::end(kNames) ? "unknown type" : found->name;
}

std::string columnName(int number, const ArrowSchema& column) {
  std::string name = "column " + std::to_string(number);
  if (column.name != nullptr && column.name[0] != '\0')
    name.append(" (").append(column.name).append(")");
  return name;
}

std::string counted(int count, const char* noun) {
  return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

void checkCount(const AbstractZDBSymbol& symbol, std::int64_t count) {
  const int most = valueWidth(symbol.type);  // of columns after the labels; for a set, its texts
  if (count >= symbol.dim && count <= symbol.dim + most) return;
  throw StreamError(ErrorArgument,
                    "symbol " + symbol.name + " takes " + counted(symbol.dim, "column") +
                        " of labels and at most " + counted(most, "column") + " of " +
                        (symbol.type == TypeSet ? "texts" : "values") + ", but the stream has " +
                        counted(static_cast<int>(count), "column"));
}

[[noreturn]] void refuse(const std::string& name, const ArrowSchema& column, const char* possible) {
  throw StreamError(ErrorArgument, name + " of the stream is " + typeName(column) + " (format " +
                                       column.format + "), not " + possible);
}

constexpr const char* kTexts = "text: utf8 (u, U, vu) or a dictionary of it";
constexpr const char* kNumbers =
    "a number: integer (c, C, s, S, i, I, l, L), float (e, f, g), decimal (d:) or boolean (b)";

}  // namespace

ImportPlan::ImportPlan(const AbstractZDBSymbol& symbol, const ArrowSchema& schema) {
  if (schema.format == nullptr || std::string_view(schema.format) != "+s") {
    throw StreamError(
        ErrorArgument,
        std::string("the stream is not one of records (struct, format +s), but ") +
            (schema.format == nullptr ? "has no format"
                                      : typeName(schema) + " (format " + schema.format + ")"));
  }
  checkCount(symbol, schema.n_children);
  for (int i = 0; i < static_cast<int>(schema.n_children); ++i) {
    if (schema.children == nullptr || schema.children[i] == nullptr) {
      throw StreamError(ErrorByCallback, "the stream's schema lacks a column");
    }
    const ArrowSchema& column = *schema.children[i];
    if (column.format == nullptr)
      throw StreamError(ErrorByCallback, columnName(i, column) + " of the stream has no format");
    names.push_back(columnName(i, column));
    if (i < symbol.dim || symbol.type == TypeSet) {
      const auto text = TextFormat::parse(column);
      if (!text) refuse(names.back(), column, kTexts);
      (i < symbol.dim ? labels : texts).push_back(*text);
    } else if (column.dictionary != nullptr ||
               !NumberFormat::parse(column.format, numbers.emplace_back())) {
      refuse(names.back(), column, kNumbers);
    }
  }
}

}  // namespace zdb::arrow
