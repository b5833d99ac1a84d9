#include "recordintake.h"

#include <algorithm>
#include <numeric>

#include "contract/names.h"

namespace zdb::tool {

namespace {

/// So many rows have their labels added in one call.
constexpr std::size_t kSettledRows = 256;
/// So many records are put in one call, or a quarter of what the symbol has.
constexpr std::size_t kLeastPut = std::size_t{1} << 18;
constexpr std::size_t kMostPut = std::size_t{1} << 22;

}  // namespace

std::size_t TextIntake::Hash::operator()(const std::string& text) const {
  return std::hash<std::string>()(zdb::contract::lowerCase(text));
}

bool TextIntake::Same::operator()(const std::string& a, const std::string& b) const {
  return zdb::contract::isSameText(a, b);
}

void Members::add(std::int32_t label) {
  const auto i = static_cast<std::size_t>(label);
  if (i >= is_.size()) is_.resize(std::max(i + 1, 2 * is_.size()));
  if (is_[i]) return;
  is_[i] = true;
  if (grows) added.push_back(label);
}

RecordIntake::RecordIntake(zdbcc::Symbol symbol, std::vector<Members*> domains,
                           OnDuplicate onDuplicate, LabelIntake& labels, TextIntake& texts,
                           SymbolReport& report)
    : symbol_(symbol),
      domains_(std::move(domains)),
      onDuplicate_(onDuplicate),
      labels_(labels),
      allTexts_(texts),
      report_(report),
      dim_(domains_.size()),
      width_(static_cast<std::size_t>(symbol.valueCount())),
      isSet_(symbol.type() == ZDB_SET) {
  if (isSet_) width_ = 0;
}

void RecordIntake::begin(std::uint64_t line) {
  lines_.push_back(line);
}

void RecordIntake::key(std::string_view label) {
  const std::int32_t number = labels_.known(label);
  if (number == 0) labels_.add(label, keys_.size(), lines_.back());
  keys_.push_back(number);
}

void RecordIntake::text(std::string_view text) {
  texts_.push_back(textBytes_.size());
  textBytes_.append(text).push_back('\0');
}

void RecordIntake::settle() {
  if (rows() - settled_ < kSettledRows) return;
  checkDomains();
  if (rows() >= std::clamp(report_.records / 4, kLeastPut, kMostPut)) put();
}

void RecordIntake::finish() {
  checkDomains();
  put();
}

void RecordIntake::checkDomains() {
  labels_.flush(keys_.data(), report_.file, report_);
  std::size_t kept = settled_;
  for (std::size_t row = settled_; row < rows(); ++row) {
    if (!isInside(row)) continue;
    if (kept != row) copyRow(row, kept);
    ++kept;
  }
  resize(kept);
  settled_ = kept;
}

bool RecordIntake::isInside(std::size_t row) {
  for (std::size_t i = 0; i < dim_; ++i) {
    Members* domain = domains_[i];
    const std::int32_t label = keys_[row * dim_ + i];
    if (domain == nullptr || domain->has(label)) continue;
    if (!domain->grows) {
      (domain->keepsOthers ? report_.outside : report_.refused)
          .add('"' + symbolLabel(label) + "\" is not in " + domain->name() + " at " + report_.file +
               ':' + std::to_string(lines_[row]));
      return domain->keepsOthers;
    }
    domain->add(label);
  }
  return true;
}

void RecordIntake::copyRow(std::size_t from, std::size_t to) {
  std::copy_n(keys_.begin() + static_cast<std::ptrdiff_t>(from * dim_), dim_,
              keys_.begin() + static_cast<std::ptrdiff_t>(to * dim_));
  std::copy_n(values_.begin() + static_cast<std::ptrdiff_t>(from * width_), width_,
              values_.begin() + static_cast<std::ptrdiff_t>(to * width_));
  lines_[to] = lines_[from];
  if (!texts_.empty()) texts_[to] = texts_[from];
}

void RecordIntake::resize(std::size_t rows) {
  keys_.resize(rows * dim_);
  values_.resize(rows * width_);
  lines_.resize(rows);
  if (!texts_.empty()) texts_.resize(rows);
  settled_ = std::min(settled_, rows);
}

void RecordIntake::put() {
  if (rows() == 0) return;
  noteTexts();
  if (onDuplicate_ == OnDuplicate::Sum && !isSet_) {
    putSums();
  } else {
    zdbx_texts texts = {};
    std::vector<const char*> pointers;
    const zdbx_columns all = columns(texts, pointers);
    const bool isError = onDuplicate_ == OnDuplicate::Error && report_.losesDuplicates;
    const zdbx_result result = put(all, ZDBX_ADD, isError ? ZDBX_UNDO : ZDBX_SKIP);
    report_.records += static_cast<std::uint64_t>(result.added);
    if (result.skipped > 0) {
      report_.duplicates.add(described(static_cast<std::size_t>(result.row)));
      report_.duplicates.count += static_cast<std::uint64_t>(result.skipped) - 1;
      if (onDuplicate_ == OnDuplicate::Last) put(all, ZDBX_MERGE, ZDBX_UNDO);
    }
  }
  resize(0);
  texts_.clear();
  textBytes_.clear();
}

/// Reports texts that are kept in another spelling.
void RecordIntake::noteTexts() {
  for (std::size_t row = 0; row < texts_.size(); ++row) {
    const std::string_view text(textBytes_.data() + texts_[row]);
    if (text.empty()) continue;
    const std::string& kept = allTexts_.kept(text);
    if (kept == text) continue;
    report_.texts.add(text, kept, report_.file + ':' + std::to_string(lines_[row]));
  }
}

zdbx_columns RecordIntake::columns(zdbx_texts& texts, std::vector<const char*>& pointers) const {
  zdbx_columns all = {};
  all.size = sizeof all;
  all.rows = static_cast<std::int64_t>(rows());
  for (std::size_t i = 0; i < dim_; ++i) {
    all.keys[i] = {keys_.data() + i, static_cast<std::int64_t>(dim_ * sizeof(std::int32_t))};
  }
  for (std::size_t i = 0; i < width_; ++i) {
    all.values[i] = {values_.data() + i, static_cast<std::int64_t>(width_ * sizeof(double))};
  }
  if (texts_.empty()) return all;
  for (const std::size_t from : texts_) pointers.push_back(textBytes_.data() + from);
  texts.size = sizeof texts;
  texts.pointers = pointers.data();
  all.texts = &texts;
  return all;
}

zdbx_result RecordIntake::put(const zdbx_columns& columns, int mode, int onFailure) {
  try {
    return symbol_.put(columns, mode, onFailure);
  } catch (const zdbcc::BulkError& failure) {
    if (failure.result().row < 0) throw;
    throw ToolError("a duplicate: " + described(static_cast<std::size_t>(failure.result().row)));
  }
}

std::string RecordIntake::described(std::size_t row) const {
  std::string key;
  for (std::size_t i = 0; i < dim_; ++i) {
    key += (i == 0 ? "" : ",") + symbolLabel(keys_[row * dim_ + i]);
  }
  return (dim_ == 0 ? "the value at " : '(' + key + ") at ") + report_.file + ':' +
         std::to_string(lines_[row]);
}

std::string RecordIntake::symbolLabel(std::int32_t number) const {
  char text[ZDB_TEXT_SIZE] = "";
  symbol_.check(c__zdbgetuelbyindex(symbol_.database(), number, text));
  return text;
}

void RecordIntake::putSums() {
  addUpRows();
  addExisting();
  zdbx_texts texts = {};
  std::vector<const char*> pointers;
  const zdbx_result result = put(columns(texts, pointers), ZDBX_MERGE, ZDBX_UNDO);
  report_.records += static_cast<std::uint64_t>(result.added);
}

/// Leaves one row for each key, with the sum.
void RecordIntake::addUpRows() {
  std::vector<std::size_t> order(rows());
  std::iota(order.begin(), order.end(), std::size_t{0});
  const auto keyOf = [&](std::size_t row) { return keys_.data() + row * dim_; };
  const auto isLess = [&](std::size_t a, std::size_t b) {
    return std::lexicographical_compare(keyOf(a), keyOf(a) + dim_, keyOf(b), keyOf(b) + dim_);
  };
  std::stable_sort(order.begin(), order.end(), isLess);
  std::vector<bool> isSpent(rows());
  for (std::size_t i = 1, first = 0; i < order.size(); ++i) {
    if (isLess(order[first], order[i])) {
      first = i;
      continue;
    }
    values_[order[first] * width_] += values_[order[i] * width_];
    isSpent[order[i]] = true;
    report_.duplicates.add(described(order[i]));
  }
  std::size_t kept = 0;
  for (std::size_t row = 0; row < isSpent.size(); ++row) {
    if (!isSpent[row]) copyRow(row, kept++);
  }
  resize(kept);
}

/// Adds what the symbol has already.
void RecordIntake::addExisting() {
  zdbx_texts texts = {};
  std::vector<const char*> pointers;
  const zdbx_columns keys = columns(texts, pointers);
  std::vector<double> levels(rows());
  std::vector<unsigned char> found(rows());
  zdbx_buffers buffers = {};
  buffers.size = sizeof buffers;
  buffers.rows = keys.rows;
  buffers.values[0].data = levels.data();
  symbol_.check(zdbx_find_records(symbol_.database(), symbol_.handle(), &keys, &buffers,
                                  found.data(), nullptr));
  for (std::size_t row = 0; row < rows(); ++row) {
    if (found[row] == 0) continue;
    values_[row * width_] += levels[row];
    report_.duplicates.add(described(row));
  }
}

}  // namespace zdb::tool
