#include "sweepwriter.h"

#include "csvwriter.h"

namespace zdb::tool {

SweepWriter::SweepWriter(const SweepOptions& options, const std::vector<std::string>& columns,
                         Console& console)
    : isJson_(options.json), console_(console) {
  if (isJson_) {
    emit("[");
    return;
  }
  TextOutput text;
  CsvWriter heading(text);
  for (const std::string& column : columns) heading.field(column);
  heading.endRow();
  emit(text.take());
}

// An array of JSON has its commas between the objects.
void SweepWriter::write(const ScenarioResult& result) {
  if (isJson_) {
    std::string_view object = result.row;
    object.remove_suffix(1);
    emit((count_ == 0 ? "\n  " : ",\n  ") + std::string(object));
  } else {
    emit(result.row);
  }
  ++count_;
}

void SweepWriter::finish() {
  if (isJson_) emit(count_ == 0 ? "]\n" : "\n]\n");
}

void SweepWriter::emit(std::string_view text) {
  console_.write(text);
  console_.flush();
}

}  // namespace zdb::tool
