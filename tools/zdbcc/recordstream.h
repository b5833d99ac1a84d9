#pragma once

#include <exception>
#include <functional>
#include <string>
#include <vector>

#include "exchangefile.h"
#include "zdbcc.hpp"

namespace zdb::tool {

/// The records of a symbol of a file as a stream of Arrow's C data interface, read from the file as
/// the consumer asks for them, so that memory does not grow with them. Columns are those of
/// zdbx_export_stream(); special values are the nearest numbers, and NaN for Undef and NA.
class RecordStream {
 public:
  /// `labels` has been read from the same file and is used for the records at hand. `isRead` is
  /// called with the number of records of each batch and may throw. All must outlive this.
  RecordStream(const ExchangeFile& file, const FileSymbol& symbol, const zdbcc::Database& labels,
               std::function<void(std::uint64_t)> isRead);
  ~RecordStream();
  RecordStream(const RecordStream&) = delete;
  RecordStream& operator=(const RecordStream&) = delete;

  /// To be read once; stays the property of this.
  ArrowArrayStream& content() { return stream_; }
  /// Throws what the stream has failed with, if it has: its consumer only knows the text.
  void rethrow() const;

 private:
  template <typename Work>
  int guarded(Work work);
  bool readRecords();
  void putRecords();
  void giveBatch(ArrowArray& out);
  ArrowArrayStream streamOfBatch() const;
  void useSpecials(const double* values) const;

  std::function<void(std::uint64_t)> isRead_;
  const zdbcc::Database& db_;
  FileRecords records_;
  zdbcc::Symbol batch_;
  std::size_t dim_;
  std::size_t width_;  ///< 0 for a set
  bool hasTexts_;

  std::size_t rows_ = 0;
  std::vector<std::int32_t> keys_;
  std::vector<double> values_;
  std::string textBytes_;
  std::vector<std::int64_t> textOffsets_;

  ArrowArrayStream stream_{};
  std::exception_ptr failure_;
  std::string message_;
};

}  // namespace zdb::tool
