#include "tableimport.h"
#include "contract/utf8.h"

#include <algorithm>
#include <unordered_set>

#include "contract/names.h"
#include "guess.h"
#include "values.h"

namespace zdb::tool {

namespace {

/// Among the first so many rows, one shows whether values are numbers or texts.
constexpr int kRowsToLookAt = 1000;
constexpr std::size_t kMostListed = 20;

const char* separatorName(char separator) {
  return separator == '\t' ? "tabs" : separator == ';' ? "semicolons" : "commas";
}

/// What a new record of a symbol holds.
std::vector<double> defaultsOf(int type, int userInfo) {
  const zdbcc::Database scratch;
  const zdbcc::Symbol symbol = scratch.add("x", 0, type, {}, {}, userInfo);
  zdbx_columns columns = {};
  columns.size = sizeof columns;
  columns.rows = 1;
  symbol.put(columns);
  std::vector<double> values;
  for (const std::vector<double>& column : symbol.columns().values) {
    values.push_back(column.front());
  }
  return values;
}

}  // namespace

TableImport::TableImport(Importer& importer, const ImportSpec& spec)
    : importer_(importer),
      spec_(spec),
      rules_(importer.rules_),
      csv_(spec.file, importer.rules_.format),
      numbers_(importer.db_, importer.rules_.format.commaIsDecimal) {
  report_.name = spec.name;
  report_.file = csv_.source().name();
}

TableImport::~TableImport() = default;

SymbolReport TableImport::run() {
  readHeading();
  chooseColumns();
  type_ = decideType();
  if (!spec_.isUniverse()) addSymbol();
  while (csv_.next()) {
    takeRow();
    if (report_.rows % 1024 != 0) continue;
    const std::uint64_t done = importer_.doneBytes_ + csv_.source().done();
    importer_.progress_.update(done, std::max(done, importer_.totalBytes_));
  }
  if (records_ != nullptr) records_->finish();
  importer_.doneBytes_ += csv_.source().done();
  return std::move(report_);
}

void TableImport::readHeading() {
  for (std::size_t i = 0; i < rules_.skippedLines; ++i) csv_.skipLine();
  if (!rules_.hasHeading) csv_.mark();
  if (!csv_.next()) throw ToolError(csv_.source().name() + " is empty");
  width_ = csv_.size();
  for (std::size_t i = 0; i < width_; ++i) headings_.emplace_back(csv_.field(i));
  if (!rules_.hasHeading) csv_.rewind();
}

void TableImport::chooseColumns() {
  if (!spec_.hasColumns) {
    if (width_ > ZDB_MAX_DIM + 1) {
      failFinding("which of " + std::to_string(width_) +
                  " columns are labels? Write NAME=FILE:LABELS->VALUES");
    }
    for (std::size_t i = 0; i + 1 < width_; ++i) keys_.push_back(i);
    (width_ == 1 || spec_.isUniverse()) ? keys_.push_back(width_ - 1)
                                        : values_.push_back({width_ - 1});
    return;
  }
  for (const KeyColumn& key : spec_.keys) keys_.push_back(find(key.column));
  isWide_ = spec_.isWide();
  for (const ValueColumns& columns : spec_.values) addValues(columns);
  if (spec_.hasValues && values_.empty()) failFinding("all columns are labels, none has values");
}

void TableImport::addValues(const ValueColumns& columns) {
  if (columns.form == ValueColumns::Form::Others) return addOthers();
  const std::size_t first = find(columns.first);
  const bool isRange = columns.form == ValueColumns::Form::Range;
  const std::size_t last = isRange ? find(columns.last) : first;
  if (last < first) {
    failFinding("column " + columns.last.heading + " stands before " + columns.first.heading);
  }
  for (std::size_t i = first; i <= last; ++i) {
    values_.push_back({i, columns.field.value_or(ZDB_LEVEL)});
  }
}

void TableImport::addOthers() {
  for (std::size_t i = 0; i < width_; ++i) {
    if (std::find(keys_.begin(), keys_.end(), i) == keys_.end()) values_.push_back({i});
  }
}

std::size_t TableImport::find(const ColumnName& name) const {
  if (name.number > 0) {
    if (name.number <= width_) return name.number - 1;
    failFinding("there is no column #" + std::to_string(name.number));
  }
  if (!rules_.hasHeading) failFinding("without a heading, columns have numbers only: write #1");
  std::vector<std::size_t> found;
  for (const bool isExact : {true, false}) {
    for (std::size_t i = 0; i < width_ && (isExact || found.empty()); ++i) {
      using namespace zdb::contract;
      const std::string_view heading = withoutEndingBlanks(withoutLeadingBlanks(headings_[i]));
      const bool isIt = isExact ? headings_[i] == name.heading : isSameText(heading, name.heading);
      if (isIt) found.push_back(i);
    }
    if (found.size() == 1) return found.front();
    if (found.size() > 1) {
      failFinding("there are several columns " + name.heading + "; write #" +
                  std::to_string(found.front() + 1));
    }
  }
  failFinding("there is no column " + name.heading + guessAmong(name.heading, headings_));
}

void TableImport::failFinding(const std::string& problem) const {
  std::string columns;
  for (std::size_t i = 0; i < std::min(width_, kMostListed); ++i) {
    columns += (i == 0 ? "" : ", ") + headings_[i];
  }
  if (width_ > kMostListed) columns += ", ...";
  throw ToolError(report_.file + ": " + problem + "; separated by " +
                  separatorName(csv_.separator()) + ", there are " + columns);
}

/// A column of values that does not begin with numbers has the texts of a set.
int TableImport::decideType() {
  if (spec_.type) return *spec_.type;
  if (values_.empty()) return ZDB_SET;
  if (isWide_) return ZDB_PARAMETER;
  int type = ZDB_PARAMETER;
  const std::size_t column = values_.front().column;
  csv_.mark();
  for (int i = 0; i < kRowsToLookAt && csv_.next(); ++i) {
    if (csv_.size() <= column || csv_.field(column).empty()) continue;
    double value = 0;
    if (numbers_.read(csv_.field(column), value) != NumberReader::Outcome::NotANumber) break;
    type = ZDB_SET;
    report_.typeReason = ", with texts, as \"" + std::string(csv_.field(column).substr(0, 100)) +
                         "\" is not a number";
    break;
  }
  csv_.rewind();
  return type;
}

void TableImport::addSymbol() {
  ImportSpec spec = spec_;
  spec.keys.resize(keys_.size());
  const std::vector<DomainName> domains = importer_.domainsOf(spec, isWide_, keyHeadings());
  const zdbcc::Symbol symbol = importer_.addSymbol(spec, type_, domains);
  report_.type = type_;
  report_.dim = static_cast<int>(domains.size());
  report_.losesDuplicates = type_ != ZDB_SET || !values_.empty();
  if (symbol.valueCount() > 1 && rules_.onDuplicate == OnDuplicate::Sum) {
    throw ToolError(spec_.name + ": --duplicates sum is not for variables and equations");
  }
  if (symbol.valueCount() > 1) defaults_ = defaultsOf(type_, spec.userInfo);
  if (isWide_) labelColumns();
  std::vector<Members*> members;
  members.reserve(domains.size());
  for (const DomainName& domain : domains) members.push_back(importer_.membersOf(domain));
  records_ = std::make_unique<RecordIntake>(symbol, std::move(members), rules_.onDuplicate,
                                            importer_.labels_, importer_.texts_, report_);
}

std::vector<std::string> TableImport::keyHeadings() const {
  std::vector<std::string> headings;
  const bool isDomain = type_ == ZDB_SET && keys_.size() == 1 && !isWide_;
  if (!rules_.hasHeading || isDomain) return headings;
  for (const std::size_t key : keys_) headings.push_back(headings_[key]);
  return headings;
}

void TableImport::labelColumns() {
  if (!rules_.hasHeading) failFinding("columns need a heading to become labels");
  std::unordered_set<std::int32_t> labels;
  for (ValueColumn& value : values_) {
    const std::string place = report_.file + ": column " + std::to_string(value.column + 1);
    value.label = importer_.labels_.one(headings_[value.column], place, report_);
    if (!labels.insert(value.label).second) {
      throw ToolError(place + ": the heading " + headings_[value.column] +
                      " is the label of another column too");
    }
  }
}

void TableImport::takeRow() {
  ++report_.rows;
  if (csv_.size() != width_) {
    throw ToolError(csv_.place() + ": " + counted(csv_.size(), "field") + ", but " +
                    (rules_.hasHeading ? "the heading has " : "the first row has ") +
                    std::to_string(width_) + "; is a separator not quoted, or missing?");
  }
  if (spec_.isUniverse()) return takeLabels();
  if (isRefused()) return;
  if (values_.empty()) {
    records_->begin(csv_.line());
    for (const std::size_t column : keys_) records_->key(csv_.field(column));
  } else {
    takeCells();
  }
  records_->settle();
}

void TableImport::takeLabels() {
  for (const std::size_t column : keys_) {
    const std::string_view text = csv_.field(column);
    if (const char* problem = LabelIntake::fault(text)) {
      report_.refused.add(std::string(problem) + " at " + where(column));
      continue;
    }
    const int before = importer_.db_.labelCount();
    importer_.labels_.one(std::string(text), csv_.place(), report_);
    if (importer_.db_.labelCount() > before) ++report_.records;
  }
}

bool TableImport::isRefused() {
  for (const std::size_t column : keys_) {
    const std::string_view text = csv_.field(column);
    if (importer_.labels_.known(text) != 0) continue;
    if (const char* problem = LabelIntake::fault(text)) {
      report_.refused.add(std::string(problem) + " at " + where(column));
      return true;
    }
  }
  if (type_ != ZDB_SET || values_.empty()) return false;
  const std::size_t column = values_.front().column;
  if (csv_.field(column).size() <= ZDB_MAX_TEXT) return false;
  report_.refused.add("a text has more than 255 bytes at " + where(column));
  return true;
}

void TableImport::takeCells() {
  const auto begin = [&] {
    records_->begin(csv_.line());
    for (const std::size_t column : keys_) records_->key(csv_.field(column));
  };
  if (type_ == ZDB_SET) {
    begin();
    const std::string_view text = csv_.field(values_.front().column);
    noteEncoding(text);
    return records_->text(text);
  }
  if (!defaults_.empty()) {
    begin();
    return takeFields();
  }
  for (const ValueColumn& cell : values_) {
    const std::optional<double> value = number(cell.column);
    if (!value) continue;
    begin();
    if (isWide_) records_->key(cell.label);
    records_->value(*value);
  }
}

/// The values of a variable or equation. An empty one, and one without a column, has its default.
void TableImport::takeFields() {
  std::vector<double> fields = defaults_;
  for (const ValueColumn& cell : values_) {
    if (const std::optional<double> value = number(cell.column)) fields[cell.field] = *value;
  }
  for (const double value : fields) records_->value(value);
}

/// The number in a column; none if the field is empty and left out.
std::optional<double> TableImport::number(std::size_t column) {
  const std::string_view text = csv_.field(column);
  double value = 0;
  if (!text.empty()) {
    const NumberReader::Outcome outcome = numbers_.read(text, value);
    if (outcome == NumberReader::Outcome::Number) return value;
    throw ToolError(where(column) + ": \"" + std::string(text.substr(0, 100)) + "\" " +
                    NumberReader::text(outcome) +
                    (isWide_ ? "; name the columns of values, such as FIRST..LAST" : ""));
  }
  ++report_.emptyFields;
  switch (rules_.onMissing) {
    case OnMissing::Skip:
      return std::nullopt;
    case OnMissing::Zero:
      return 0;
    case OnMissing::NotAvailable:
      numbers_.read("NA", value);
      return value;
    case OnMissing::Error:
      break;
  }
  throw ToolError(where(column) + ": the field is empty");
}

void TableImport::noteEncoding(std::string_view text) {
  if (!zdb::contract::isUtf8(text))
    report_.notUtf8.add('"' + std::string(text) + "\" at " + csv_.place());
}

std::string TableImport::where(std::size_t column) const {
  std::string text = csv_.place() + ": column " + std::to_string(column + 1);
  return rules_.hasHeading ? text + " (" + headings_[column] + ')' : text;
}

}  // namespace zdb::tool
