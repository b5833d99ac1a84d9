#include "recordtext.h"

#include "columns.h"
#include "csvwriter.h"
#include "json.h"

namespace zdb::tool {

namespace {

class CsvText : public RecordText {
 public:
  CsvText(const ExchangeFile& file, const FileSymbol& symbol, Output& output)
      : file_(file), symbol_(symbol), csv_(output) {}

  void heading() override {
    for (const std::string& name : columnNames(symbol_)) csv_.field(name);
    csv_.endRow();
  }

  void record(const FileRecords& record) override {
    for (int d = 0; d < symbol_.dim; ++d) csv_.field(file_.label(record.keys()[d]));
    if (symbol_.type == ZDB_SET) {
      if (!symbol_.isUniverse()) csv_.field(record.text());
    } else {
      for (int v = 0; v < symbol_.valueCount(); ++v) csv_.field(format_(record.values()[v]));
    }
    csv_.endRow();
  }

 private:
  const ExchangeFile& file_;
  FileSymbol symbol_;
  CsvWriter csv_;
  ValueFormat format_{FileRecords::specials(), SpecialForm::Names};
};

class JsonLines : public RecordText {
 public:
  JsonLines(const ExchangeFile& file, const FileSymbol& symbol, Output& output)
      : file_(file), symbol_(symbol), names_(columnNames(symbol)), json_(output) {}

  void heading() override {}

  void record(const FileRecords& record) override {
    json_.beginObject(JsonWriter::Layout::OneLine);
    std::size_t column = 0;
    for (int d = 0; d < symbol_.dim; ++d) {
      json_.field(names_[column++], file_.label(record.keys()[d]));
    }
    if (symbol_.type == ZDB_SET) {
      if (!record.text().empty()) json_.field(names_[column], record.text());
    } else {
      for (int v = 0; v < symbol_.valueCount(); ++v) number(names_[column++], record.values()[v]);
    }
    json_.end();
  }

 private:
  void number(const std::string& name, double value) {
    json_.key(name);
    if (const std::optional<double> plain = format_.number(value)) {
      json_.value(*plain);
    } else {
      json_.value(format_(value));
    }
  }

  const ExchangeFile& file_;
  FileSymbol symbol_;
  std::vector<std::string> names_;
  JsonWriter json_;
  ValueFormat format_{FileRecords::specials(), SpecialForm::Names};
};

}  // namespace

std::unique_ptr<RecordText> recordText(TextForm form, const ExchangeFile& file,
                                       const FileSymbol& symbol, Output& output) {
  if (form == TextForm::JsonLines) return std::make_unique<JsonLines>(file, symbol, output);
  return std::make_unique<CsvText>(file, symbol, output);
}

}  // namespace zdb::tool
