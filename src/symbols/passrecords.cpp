// Records from the source of the database straight to a host, which reads most symbols of a file
// once: then there is no need to keep them.
#include <algorithm>
#include <memory>

#include "symbols/bulk.h"
#include "symbols/columnwriter.h"
#include "symbols/runappender.h"

namespace zdb {

namespace {

/// Whether the entries of a column lie as those of an array of T do.
template <class T>
bool isArrayOf(const OutColumn& column) {
  return column && column.stride == sizeof(T) &&
         reinterpret_cast<std::uintptr_t>(column.data) % alignof(T) == 0;
}

/// Has records written to the host's own columns, if these are arrays for all that comes. Else they
/// go through columns of its own.
class ColumnRuns final : public RecordRuns {
 public:
  ColumnRuns(const ZDB& db, const AbstractZDBSymbol& symbol, const RecordBuffers& buffers)
      : buffers_(buffers),
        dim_(static_cast<std::size_t>(symbol.dim)),
        width_(static_cast<std::size_t>(valueWidth(symbol.type))),
        writer_(db, symbol, buffers),
        isDirect_(db.specialValues().state() == 0 && areArrays()) {
    if (isDirect_) return;
    keys_ = std::make_unique_for_overwrite<int[]>(dim_ * kRunLength);
    values_ = std::make_unique_for_overwrite<double[]>(width_ * kRunLength);
  }

  RecordRoom room() override {
    const std::int64_t left = buffers_.rows - written();
    RecordRoom room{.records = static_cast<int>(std::min<std::int64_t>(left, kRunLength))};
    for (std::size_t p = 0; p < dim_; ++p) {
      room.keys[p] = isDirect_ ? reinterpret_cast<int*>(buffers_.keys[p].at(written()))
                               : keys_.get() + p * kRunLength;
    }
    for (std::size_t v = 0; v < width_; ++v) {
      room.values[v] = isDirect_ ? reinterpret_cast<double*>(buffers_.values[v].at(written()))
                                 : values_.get() + v * kRunLength;
    }
    return room;
  }

  void taken(int count) override {
    if (isDirect_) {
      direct_ += count;
      return;
    }
    dmap::RecordRun run;
    run.keys = keys_.get();
    run.positionStep = kRunLength;
    run.keyStep = 1;
    run.values = values_.get();
    run.fieldStep = kRunLength;
    run.valueStep = 1;
    run.count = count;
    writer_.write(run);
  }

  std::int64_t written() const { return isDirect_ ? direct_ : writer_.written(); }

 private:
  bool areArrays() const {
    const auto begin = [](const auto& columns) { return columns.begin(); };
    return !buffers_.texts &&
           std::none_of(begin(buffers_.labels), begin(buffers_.labels) + dim_,
                        [](const OutColumn& one) { return bool{one}; }) &&
           std::all_of(begin(buffers_.keys), begin(buffers_.keys) + dim_, isArrayOf<int>) &&
           std::all_of(begin(buffers_.values), begin(buffers_.values) + width_, isArrayOf<double>);
  }

  const RecordBuffers& buffers_;
  std::size_t dim_;
  std::size_t width_;
  ColumnWriter writer_;
  bool isDirect_;
  std::int64_t direct_ = 0;
  std::unique_ptr<int[]> keys_;
  std::unique_ptr<double[]> values_;
};

/// The source that delivers runs of the symbol's records, which are not loaded; null if none does.
DataSource* runsOf(const ZDB& db, const AbstractZDBSymbol& symbol) {
  if (symbol.isLoaded || symbol.isAlias() || symbol.dim == 0) return nullptr;
  DataSource* source = db.source(db.GetInitFrom());
  return source != nullptr && source->deliversRuns() ? source : nullptr;
}

}  // namespace

std::optional<std::int64_t> countUnloaded(const ZDB& db, const AbstractZDBSymbol& symbol) {
  // Hosts make room for so many records, which a damaged file may not have.
  constexpr std::size_t kMostBytes = std::size_t{512} << 20;
  DataSource* source = runsOf(db, symbol);
  if (source == nullptr) return {};
  const std::size_t bytes = static_cast<std::size_t>(symbol.dim) * sizeof(int) +
                            static_cast<std::size_t>(valueWidth(symbol.type)) * sizeof(double);
  const std::optional<int> count = source->recordCount(symbol);
  if (!count || static_cast<std::size_t>(*count) > kMostBytes / bytes) return {};
  return *count;
}

std::optional<std::int64_t> passRecords(const ZDB& db, AbstractZDBSymbol& symbol,
                                        const RecordBuffers& buffers) {
  DataSource* source = runsOf(db, symbol);
  if (source == nullptr || symbol.hasBeenPassedOn) return {};
  const std::optional<int> expected = source->recordCount(symbol);
  if (!expected || *expected > buffers.rows) return {};
  ColumnRuns runs(db, symbol, buffers);
  if (!source->readRuns(symbol, runs)) return {};
  symbol.hasBeenPassedOn = true;
  return runs.written();
}

}  // namespace zdb
