#include "importreport.h"

#include <algorithm>

#include "values.h"

namespace zdb::tool {

namespace {

std::string listed(const Incidents& incidents) {
  std::string text;
  for (const std::string& example : incidents.examples) {
    text.append(text.empty() ? ": " : "; ").append(example);
  }
  return incidents.count > incidents.examples.size() ? text + "; ..." : text;
}

std::string summary(const SymbolReport& report) {
  std::string text = report.name;
  if (report.name == "*") {
    text += ": " + counted(report.records, "new label");
  } else {
    text +=
        ": " + std::string(typeName(report.type)) + " with " + counted(report.records, "record");
  }
  if (report.file.empty()) return text + " from domains that grow";
  return text + " from " + counted(report.rows, "row") + " of " + report.file + report.typeReason;
}

void printFolds(const std::string& name, const char* what, const Folds& folds, Console& console) {
  if (folds.count == 0) return;
  std::string text = name + ": " + counted(folds.count, what) + " folded into another spelling: ";
  for (std::size_t i = 0; i < std::min(folds.folds.size(), Incidents::kExamples); ++i) {
    const Folds::Fold& fold = folds.folds[i];
    if (i > 0) text += "; ";
    text += '"' + fold.given + "\" became \"" + fold.kept + "\" " + counted(fold.count, "time") +
            ", first at " + fold.place;
  }
  if (folds.folds.size() > Incidents::kExamples) {
    text += "; ... (" + std::to_string(folds.folds.size()) + " spellings)";
  }
  console.note(text);
}

void writeIncidents(const char* name, const Incidents& incidents, JsonWriter& json) {
  json.key(name).beginObject(JsonWriter::Layout::OneLine).field("count", incidents.count);
  json.key("first").beginArray();
  for (const std::string& example : incidents.examples) json.value(example);
  json.end().end();
}

void writeFolds(const char* name, const Folds& folds, JsonWriter& json) {
  json.key(name).beginArray();
  for (const Folds::Fold& fold : folds.folds) {
    json.beginObject(JsonWriter::Layout::OneLine).field("given", fold.given);
    json.field("kept", fold.kept).field("count", fold.count).field("first", fold.place).end();
  }
  json.end();
}

}  // namespace

void Folds::add(std::string_view given, std::string_view kept, const std::string& place) {
  ++count;
  const auto [entry, isNew] = numbers_.emplace(given, folds.size());
  if (isNew) folds.push_back({std::string(given), std::string(kept), 0, place});
  ++folds[entry->second].count;
}

void print(const SymbolReport& report, const char* onEmpty, const char* onDuplicate,
           Console& console) {
  const auto note = [&](std::uint64_t count, const char* what, const std::string& rest) {
    if (count > 0) console.note(report.name + ": " + counted(count, what) + rest);
  };
  console.note(summary(report));
  note(report.emptyFields, "empty field", std::string(", ") + onEmpty);
  if (report.losesDuplicates) {
    note(report.duplicates.count, "duplicate",
         std::string(", ") + onDuplicate + listed(report.duplicates));
  }
  note(report.outside.count, "record", " outside a domain, kept" + listed(report.outside));
  note(report.trimmed.count, "label", " lost blanks at the end" + listed(report.trimmed));
  note(report.notUtf8.count, "text", " not in UTF-8" + listed(report.notUtf8));
  printFolds(report.name, "label", report.labels, console);
  printFolds(report.name, "text", report.texts, console);
  if (report.refused.count == 0) return;
  console.report(report.name + ": " + counted(report.refused.count, "row") + " refused" +
                 listed(report.refused));
}

void write(const SymbolReport& report, JsonWriter& json) {
  json.beginObject().field("name", report.name);
  json.field("type", report.name == "*" ? "labels" : typeName(report.type));
  json.field("dimension", report.dim).field("file", report.file).field("rows", report.rows);
  json.field("records", report.records).field("emptyFields", report.emptyFields);
  writeIncidents("duplicates", report.duplicates, json);
  writeIncidents("refused", report.refused, json);
  writeIncidents("outside", report.outside, json);
  writeIncidents("trimmed", report.trimmed, json);
  writeIncidents("notUtf8", report.notUtf8, json);
  writeFolds("foldedLabels", report.labels, json);
  writeFolds("foldedTexts", report.texts, json);
  json.end();
}

}  // namespace zdb::tool
