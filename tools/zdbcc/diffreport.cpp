#include "diffreport.h"

#include <cstdio>

#include "csvwriter.h"
#include "json.h"
#include "values.h"

namespace zdb::tool {

namespace {

// The last digits of a difference are those that rounding leaves.
std::string shortNumber(double number) {
  char text[32];
  std::snprintf(text, sizeof text, "%.6g", number);
  return text;
}

/// As diff and git do: what A has after a minus, what B has after a plus, as rows of CSV
/// like those of dump.
class TextReport : public DiffReport {
 public:
  TextReport(DiffNames names, const LabelOrder& labels, Console& console)
      : names_(std::move(names)),
        labels_(labels),
        console_(console),
        row_(console),
        format_(FileRecords::specials(), SpecialForm::Names) {}

  void begin() override {}

  void onlyIn(Side side, const FileSymbol& symbol) override {
    beginSymbol(symbol);
    const std::string name = side == Side::A ? names_.a : names_.b;
    std::string line = "only in " + name;
    if (!symbol.isAlias()) line += ", " + counted(symbol.recordCount, "record");
    put(side, line);
  }

  void beginSymbol(const FileSymbol& symbol) override {
    symbol_ = &symbol;
    isHeadingShown_ = false;
  }

  void property(const char* name, const std::string& a, const std::string& b) override {
    put(Side::A, std::string(name) + ": " + a);
    put(Side::B, std::string(name) + ": " + b);
  }

  void record(const int* keys, const RecordSide& a, const RecordSide& b) override {
    if (a.values != nullptr) put(Side::A, row(keys, a));
    if (b.values != nullptr) put(Side::B, row(keys, b));
  }

  void endSymbol(const std::optional<RecordCounts>& counts) override {
    if (!counts) {
      if (isHeadingShown_ && !symbol_->isAlias()) line("  the records were not compared");
      return;
    }
    if (!isHeadingShown_ && counts->differences() == 0 && counts->areAll) return;
    const char* what = symbol_->isUniverse() ? "label" : "record";
    std::string text = "  " + counted(counts->onlyInA, what) + " only in " + names_.a + ", " +
                       std::to_string(counts->onlyInB) + " only in " + names_.b + ", " +
                       std::to_string(counts->different) + " different, " +
                       std::to_string(counts->same) + " the same";
    if (counts->largest) text += "; largest difference " + shortNumber(*counts->largest);
    const std::uint64_t left = counts->differences() - counts->shown;
    if (left > 0) text += "; " + std::to_string(left) + " not shown";
    line(counts->areAll ? text : text + "; the others could not be read");
  }

  void end(std::size_t symbols, std::size_t different) override {
    if (different == 0) return;
    console_.write(std::to_string(different) + " of " + counted(symbols, "symbol") + ' ' +
                   (different == 1 ? "differs" : "differ") + '\n');
  }

 private:
  void put(Side side, const std::string& text) {
    const bool isA = side == Side::A;
    line((isA ? "- " : "+ ") + text, isA ? Style::Red : Style::Green);
  }

  void line(const std::string& text, std::optional<Style> style = {}) {
    if (!isHeadingShown_) writeHeading();
    const bool isStyled = style && console_.terminal().colorsOutput;
    console_.write(styled(printable(text), style.value_or(Style::Bold), isStyled) + '\n');
  }

  void writeHeading() {
    isHeadingShown_ = true;
    const bool isBold = console_.terminal().colorsOutput;
    if (!areNamesShown_) {
      console_.write(styled("--- " + printable(names_.a), Style::Bold, isBold) + '\n');
      console_.write(styled("+++ " + printable(names_.b), Style::Bold, isBold) + '\n');
    }
    areNamesShown_ = true;
    std::string text = std::string(typeName(symbol_->type)) + ' ' + symbol_->name;
    if (!symbol_->domains.empty()) text += '(' + domainText(*symbol_) + ')';
    if (symbol_->isUniverse()) text = "labels";
    console_.write(styled(printable(text), Style::Bold, isBold) + '\n');
  }

  std::string row(const int* keys, const RecordSide& side) {
    if (symbol_->isUniverse()) {
      row_.field(side.text);
      return row_.takeRow();
    }
    for (int d = 0; d < symbol_->dim; ++d) row_.field(labels_.label(keys[d]));
    if (symbol_->type == ZDB_SET) {
      row_.field(side.text);
    } else {
      for (int v = 0; v < symbol_->valueCount(); ++v) row_.field(format_(side.values[v]));
    }
    return row_.takeRow();
  }

  DiffNames names_;
  const LabelOrder& labels_;
  Console& console_;
  CsvWriter row_;
  ValueFormat format_;
  const FileSymbol* symbol_ = nullptr;
  bool areNamesShown_ = false;
  bool isHeadingShown_ = false;
};

class JsonReport : public DiffReport {
 public:
  JsonReport(DiffNames names, const LabelOrder& labels, Console& console)
      : names_(std::move(names)),
        labels_(labels),
        json_(console),
        format_(FileRecords::specials(), SpecialForm::Names) {}

  void begin() override {
    json_.beginObject().field("a", names_.a).field("b", names_.b);
    json_.key("symbols").beginArray();
  }

  void onlyIn(Side side, const FileSymbol& symbol) override {
    json_.beginObject(JsonWriter::Layout::OneLine).field("name", symbol.name);
    json_.field("type", typeName(symbol.type)).field("onlyIn", side == Side::A ? "a" : "b");
    if (!symbol.isAlias()) json_.field("records", symbol.recordCount);
    json_.end();
  }

  void beginSymbol(const FileSymbol& symbol) override {
    symbol_ = &symbol;
    place_ = Place::Nowhere;
  }

  void property(const char* name, const std::string& a, const std::string& b) override {
    goTo(Place::Properties);
    json_.key(name).beginObject(JsonWriter::Layout::OneLine).field("a", a).field("b", b).end();
  }

  void record(const int* keys, const RecordSide& a, const RecordSide& b) override {
    goTo(Place::Records);
    json_.beginObject(JsonWriter::Layout::OneLine).key("key");
    json_.beginArray(JsonWriter::Layout::OneLine);
    for (int d = 0; d < symbol_->dim; ++d) json_.value(labels_.label(keys[d]));
    json_.end();
    if (a.values != nullptr) write("a", a);
    if (b.values != nullptr) write("b", b);
    json_.end();
  }

  void endSymbol(const std::optional<RecordCounts>& counts) override {
    const bool isEqual = !counts || (counts->differences() == 0 && counts->areAll);
    if (place_ == Place::Nowhere && isEqual) return;
    goTo(Place::Counts);
    if (counts) {
      json_.field("onlyInA", counts->onlyInA).field("onlyInB", counts->onlyInB);
      json_.field("different", counts->different).field("same", counts->same);
      if (!counts->areAll) json_.field("complete", false);
      if (counts->largest) json_.field("largestDifference", *counts->largest);
    }
    json_.end();
  }

  void end(std::size_t symbols, std::size_t different) override {
    json_.end().field("symbolsCompared", symbols).field("symbolsDifferent", different).end();
  }

 private:
  enum class Place { Nowhere, Properties, Records, Counts };

  void goTo(Place place) {
    if (place == place_) return;
    if (place_ == Place::Nowhere) {
      json_.beginObject().field("name", symbol_->name).field("type", typeName(symbol_->type));
    } else {
      json_.end();
    }
    place_ = place;
    if (place == Place::Properties) json_.key("properties").beginObject();
    if (place == Place::Records) json_.key("records").beginArray();
  }

  void write(const char* name, const RecordSide& side) {
    json_.key(name);
    if (symbol_->type == ZDB_SET) return void(json_.value(side.text));
    if (symbol_->valueCount() == 1) return write(*side.values);
    json_.beginArray(JsonWriter::Layout::OneLine);
    for (int v = 0; v < symbol_->valueCount(); ++v) write(side.values[v]);
    json_.end();
  }
  void write(double value) {
    const std::optional<double> plain = format_.number(value);
    plain ? json_.value(*plain) : json_.value(format_(value));
  }

  DiffNames names_;
  const LabelOrder& labels_;
  JsonWriter json_;
  ValueFormat format_;
  const FileSymbol* symbol_ = nullptr;
  Place place_ = Place::Nowhere;
};

class NoReport : public DiffReport {
 public:
  void begin() override {}
  void onlyIn(Side /*side*/, const FileSymbol& /*symbol*/) override {}
  void beginSymbol(const FileSymbol& /*symbol*/) override {}
  void property(const char* /*name*/, const std::string& /*a*/, const std::string& /*b*/) override {
  }
  void record(const int* /*keys*/, const RecordSide& /*a*/, const RecordSide& /*b*/) override {}
  void endSymbol(const std::optional<RecordCounts>& /*counts*/) override {}
  void end(std::size_t /*symbols*/, std::size_t /*different*/) override {}
};

}  // namespace

std::unique_ptr<DiffReport> textReport(const DiffNames& names, const LabelOrder& labels,
                                       Console& console) {
  return std::make_unique<TextReport>(names, labels, console);
}

std::unique_ptr<DiffReport> jsonReport(const DiffNames& names, const LabelOrder& labels,
                                       Console& console) {
  return std::make_unique<JsonReport>(names, labels, console);
}

std::unique_ptr<DiffReport> noReport() {
  return std::make_unique<NoReport>();
}

}  // namespace zdb::tool
