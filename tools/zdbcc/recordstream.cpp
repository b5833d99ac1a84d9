#include "recordstream.h"

#include <cerrno>
#include <limits>

#include "exitcode.h"

namespace zdb::tool {

namespace {

/// A row group of DuckDB's Parquet files.
constexpr std::size_t kBatchRows = 122880;

zdbcc::Symbol addUnnamed(const zdbcc::Database& db, const FileSymbol& symbol) {
  std::string name = "batch";
  while (db.findSymbol(name)) name += '_';
  std::vector<std::string> domains;
  for (const Domain& domain : symbol.domains) domains.push_back(domain.name);
  db.setDefaultStorage(ZDB_STORAGE_VECTOR);
  return db.add(name, symbol.dim, symbol.type, "", domains);
}

RecordStream& stateOf(ArrowArrayStream* stream) {
  return *static_cast<RecordStream*>(stream->private_data);
}

}  // namespace

RecordStream::RecordStream(const ExchangeFile& file, const FileSymbol& symbol,
                           const zdbcc::Database& labels, std::function<void(std::uint64_t)> isRead)
    : isRead_(std::move(isRead)),
      db_(labels),
      records_(file, symbol),
      batch_(addUnnamed(labels, symbol)),
      dim_(static_cast<std::size_t>(symbol.dim)),
      width_(symbol.type == ZDB_SET ? 0 : static_cast<std::size_t>(symbol.valueCount())),
      hasTexts_(symbol.type == ZDB_SET) {
  stream_.private_data = this;
  stream_.get_schema = [](ArrowArrayStream* stream, ArrowSchema* out) {
    out->release = nullptr;
    return stateOf(stream).guarded([&](RecordStream& self) {
      ArrowArrayStream batch = self.streamOfBatch();
      const int code = batch.get_schema(&batch, out);
      batch.release(&batch);
      if (code != 0) throw std::bad_alloc();
    });
  };
  stream_.get_next = [](ArrowArrayStream* stream, ArrowArray* out) {
    out->release = nullptr;
    return stateOf(stream).guarded([&](RecordStream& self) {
      if (self.readRecords()) self.giveBatch(*out);
    });
  };
  stream_.get_last_error = [](ArrowArrayStream* stream) {
    return stateOf(stream).message_.c_str();
  };
  stream_.release = [](ArrowArrayStream* stream) { stream->release = nullptr; };
}

RecordStream::~RecordStream() {
  zdbSymbol_t batch = batch_.handle();
  zdbx_remove_symbol(db_.handle(), &batch);
}

void RecordStream::rethrow() const {
  if (failure_) std::rethrow_exception(failure_);
}

/// No exception may reach the consumer.
template <typename Work>
int RecordStream::guarded(Work work) {
  if (failure_) return EIO;
  try {
    work(*this);
    return 0;
  } catch (const std::exception& failure) {
    failure_ = std::current_exception();
    message_ = failure.what();
    return EIO;
  }
}

bool RecordStream::readRecords() {
  rows_ = 0;
  keys_.clear();
  values_.clear();
  textBytes_.clear();
  textOffsets_.assign(1, 0);
  while (rows_ < kBatchRows && records_.next()) {
    ++rows_;
    keys_.insert(keys_.end(), records_.keys(), records_.keys() + dim_);
    values_.insert(values_.end(), records_.values(), records_.values() + width_);
    if (!hasTexts_) continue;
    textBytes_ += records_.text();
    textOffsets_.push_back(static_cast<std::int64_t>(textBytes_.size()));
  }
  isRead_(rows_);
  return rows_ > 0;
}

void RecordStream::putRecords() {
  zdbx_columns columns = {};
  columns.size = sizeof columns;
  columns.rows = static_cast<std::int64_t>(rows_);
  for (std::size_t i = 0; i < dim_; ++i) {
    columns.keys[i] = {keys_.data() + i, static_cast<std::int64_t>(dim_ * sizeof(std::int32_t))};
  }
  for (std::size_t i = 0; i < width_; ++i) {
    columns.values[i] = {values_.data() + i, static_cast<std::int64_t>(width_ * sizeof(double))};
  }
  zdbx_texts texts = {};
  texts.size = sizeof texts;
  texts.bytes = textBytes_.data();
  texts.offsets64 = textOffsets_.data();
  if (hasTexts_) columns.texts = &texts;
  useSpecials(FileRecords::specials().data());
  batch_.put(columns, ZDBX_REPLACE);
}

void RecordStream::giveBatch(ArrowArray& out) {
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  constexpr double kNumbers[ZDB_SV_COUNT] = {kNaN, -kNaN, kInfinity, -kInfinity, 0};
  putRecords();
  useSpecials(kNumbers);
  ArrowArrayStream batch = streamOfBatch();
  const int code = batch.get_next(&batch, &out);
  const std::string problem = code == 0 ? "" : batch.get_last_error(&batch);
  batch.release(&batch);
  if (code != 0) throw ToolError(problem);
}

ArrowArrayStream RecordStream::streamOfBatch() const {
  ArrowArrayStream stream{};
  batch_.check(zdbx_export_stream(db_.handle(), batch_.handle(), nullptr, kBatchRows, &stream));
  return stream;
}

void RecordStream::useSpecials(const double* values) const {
  db_.check(c__zdbsetspecialvalues(db_.handle(), values));
}

}  // namespace zdb::tool
