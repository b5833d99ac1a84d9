#include "viewdata.h"

#include <algorithm>
#include <unordered_map>

#include "columns.h"
#include "json.h"
#include "progress.h"
#include "values.h"

namespace zdb::tool {

namespace {

constexpr std::uint64_t kMostFields = 2'000'000;

std::uint64_t fieldsOf(const FileSymbol& symbol) {
  return static_cast<std::uint64_t>(symbol.dim) + valueColumns(symbol).size();
}

/// Places of labels in the order of their first use.
class Dictionary {
 public:
  explicit Dictionary(const ExchangeFile& file) : file_(file) {}

  std::uint32_t placeOf(int label) {
    const auto [entry, isNew] =
        places_.try_emplace(label, static_cast<std::uint32_t>(places_.size()));
    if (isNew) labels_.push_back(label);
    return entry->second;
  }

  void write(JsonWriter& json) const {
    json.beginArray(JsonWriter::Layout::Dense);
    for (const int label : labels_) json.value(file_.label(label));
    json.end();
  }

 private:
  const ExchangeFile& file_;
  std::unordered_map<int, std::uint32_t> places_;
  std::vector<int> labels_;
};

/// The first records of a part by the column.
class PartRecords {
 public:
  PartRecords(const ExchangeFile& file, const ViewPart& part, std::uint64_t most)
      : file_(file),
        part_(part),
        most_(most),
        keys_(static_cast<std::size_t>(part.slice.symbol.dim)),
        values_(valueColumns(part.slice.symbol).size()) {}

  /// Throws ToolError where the records are damaged; those before are there.
  void read(Dictionary& dictionary, Progress& progress) {
    SliceRecords records(file_, part_.slice);
    while (nextOf(records, progress)) {
      if (count_ == most_) {
        isCut_ = true;
        return;
      }
      take(records.record(), dictionary);
    }
  }

  void write(JsonWriter& json) const {
    json.field("shown", count_).field("isCut", isCut_);
    json.key("keys").beginArray(JsonWriter::Layout::Dense);
    for (const auto& column : keys_) writeColumn(column, json);
    json.end().key("values").beginArray(JsonWriter::Layout::Dense);
    if (!texts_.empty()) writeColumn(texts_, json);
    for (const auto& column : values_) {
      if (texts_.empty()) writeValues(column, json);
    }
    json.end();
  }

 private:
  bool nextOf(SliceRecords& records, Progress& progress) const {
    constexpr std::uint64_t kSeldom = 4096;
    const std::uint64_t done = records.record().done();
    if (done % kSeldom == 0) progress.update(done, part_.slice.symbol.recordCount);
    return records.next();
  }

  void take(const FileRecords& record, Dictionary& dictionary) {
    const FileSymbol& symbol = part_.slice.symbol;
    for (std::size_t d = 0; d < static_cast<std::size_t>(symbol.dim); ++d) {
      keys_[d].push_back(dictionary.placeOf(record.keys()[d]));
    }
    if (symbol.type == ZDB_SET) {
      if (!symbol.isUniverse()) texts_.emplace_back(record.text());
    } else {
      for (std::size_t v = 0; v < values_.size(); ++v) values_[v].push_back(record.values()[v]);
    }
    ++count_;
  }

  template <typename Value>
  static void writeColumn(const std::vector<Value>& column, JsonWriter& json) {
    json.beginArray(JsonWriter::Layout::Dense);
    for (const Value& value : column) json.value(value);
    json.end();
  }

  static void writeValues(const std::vector<double>& column, JsonWriter& json) {
    ValueFormat format(FileRecords::specials());
    json.beginArray(JsonWriter::Layout::Dense);
    for (const double value : column) {
      const std::optional<double> number = format.number(value);
      number ? json.value(*number) : json.value(format(value));
    }
    json.end();
  }

  const ExchangeFile& file_;
  const ViewPart& part_;
  std::uint64_t most_;
  std::uint64_t count_ = 0;
  bool isCut_ = false;
  std::vector<std::vector<std::uint32_t>> keys_;
  std::vector<std::vector<double>> values_;
  std::vector<std::string> texts_;
};

void writeDomains(const FileSymbol& symbol, JsonWriter& json) {
  json.key("domains").beginArray(JsonWriter::Layout::Dense);
  for (const Domain& domain : symbol.domains) {
    json.beginObject().field("name", domain.name).field("relaxed", domain.relaxed).end();
  }
  json.end();
}

void writeColumnNames(const FileSymbol& symbol, JsonWriter& json) {
  json.key("columns").beginArray(JsonWriter::Layout::Dense);
  if (!symbol.isAlias()) {
    for (const std::string& name : columnNames(symbol)) json.value(name);
  }
  json.end();
}

class ViewData {
 public:
  ViewData(const ExchangeFile& file, std::uint64_t rows, Output& output, Console& console)
      : file_(file),
        rows_(rows),
        console_(console),
        progress_(console, "records"),
        json_(output),
        dictionary_(file) {}

  void write(const std::vector<ViewPart>& parts) {
    json_.beginObject(JsonWriter::Layout::Dense).field("file", file_.name());
    json_.field("bytes", file_.size()).field("producer", file_.producer());
    json_.field("labels", file_.labelCount());
    json_.key("symbols").beginArray(JsonWriter::Layout::Lines);
    for (const ViewPart& part : parts) write(part);
    json_.end().key("dictionary");
    dictionary_.write(json_);
    json_.end();
  }

 private:
  void write(const ViewPart& part) {
    const FileSymbol& symbol = part.slice.symbol;
    json_.beginObject(JsonWriter::Layout::Dense).field("id", part.title);
    json_.field("name", symbol.name).field("type", typeName(symbol.type));
    json_.field("text", symbol.text).field("dimension", symbol.isAlias() ? 0 : symbol.dim);
    json_.field("isSlice", !part.slice.isWhole).field("records", symbol.recordCount);
    if (symbol.isAlias()) json_.field("aliasOf", symbol.aliasOf);
    writeDomains(symbol, json_);
    writeColumnNames(symbol, json_);
    writeRecords(part);
    json_.end();
  }

  void writeRecords(const ViewPart& part) {
    PartRecords records(file_, part, rows_);
    try {
      if (!part.slice.symbol.isAlias()) records.read(dictionary_, progress_);
    } catch (const OutputError&) {
      throw;
    } catch (const ToolError& failure) {
      json_.field("problem", std::string(failure.what()));
      console_.report(failure.what());
    }
    records.write(json_);
  }

  const ExchangeFile& file_;
  std::uint64_t rows_;
  Console& console_;
  Progress progress_;
  JsonWriter json_;
  Dictionary dictionary_;
};

}  // namespace

std::uint64_t rowsThatFit(const std::vector<ViewPart>& parts, std::uint64_t wanted) {
  const auto fields = [&](std::uint64_t rows) {
    std::uint64_t sum = 0;
    for (const ViewPart& part : parts) {
      const FileSymbol& symbol = part.slice.symbol;
      sum += std::min<std::uint64_t>(symbol.recordCount, rows) * fieldsOf(symbol);
    }
    return sum;
  };
  std::uint64_t low = 0;
  std::uint64_t high = std::min<std::uint64_t>(wanted, kMostFields);
  while (low < high) {
    const std::uint64_t middle = high - (high - low) / 2;
    if (fields(middle) <= kMostFields) {
      low = middle;
    } else {
      high = middle - 1;
    }
  }
  return low;
}

void writeViewData(const ExchangeFile& file, const std::vector<ViewPart>& parts, std::uint64_t rows,
                   Output& output, Console& console) {
  ViewData(file, rows, output, console).write(parts);
}

}  // namespace zdb::tool
