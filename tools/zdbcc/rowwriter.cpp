#include "rowwriter.h"

namespace zdb::tool {

void RowWriter::begin(const std::vector<std::string>& names) {
  names_ = names;
  column_ = 0;
  if (isJson_) {
    json_.beginArray();
    return;
  }
  for (const std::string& name : names) csv_.field(name);
  csv_.endRow();
}

void RowWriter::end() {
  if (isJson_) json_.end();
}

JsonWriter& RowWriter::cell() {
  if (!hasCells_) json_.beginObject(JsonWriter::Layout::OneLine);
  hasCells_ = true;
  return json_.key(names_[column_++]);
}

void RowWriter::text(std::string_view content) {
  if (isJson_) {
    cell().value(content);
  } else {
    csv_.field(content);
  }
}

void RowWriter::number(double value, ValueFormat& format) {
  if (!isJson_) return csv_.field(format(value));
  if (const std::optional<double> plain = format.number(value)) {
    cell().value(*plain);
  } else if (const std::string_view name = format(value); name.empty()) {
    cell().null();
  } else {
    cell().value(name);
  }
}

void RowWriter::integer(long long value) {
  if (isJson_) {
    cell().value(value);
  } else {
    csv_.field(std::to_string(value));
  }
}

void RowWriter::null() {
  if (isJson_) {
    cell().null();
  } else {
    csv_.field("");
  }
}

void RowWriter::nothing() {
  if (isJson_) {
    ++column_;
  } else {
    csv_.field("");
  }
}

void RowWriter::endRow() {
  if (!isJson_) {
    csv_.endRow();
  } else {
    if (!hasCells_) json_.beginObject(JsonWriter::Layout::OneLine);
    json_.end();
  }
  hasCells_ = false;
  column_ = 0;
}

}  // namespace zdb::tool
