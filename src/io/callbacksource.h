#pragma once

#include "core/zdb.h"

namespace zdb {

/// What a caller hands over to stand in for a data source. Texts go as short strings (length byte,
/// then the characters); results are 0 for success; `user` is the caller's own.
struct DataCallbacks {
  int (*findSymbol)(const char* name, int* symbolNumber, void* user) = nullptr;
  int (*readStart)(int symbolNumber, int* recordCount, void* user) = nullptr;
  int (*readRecord)(int* key, double* values, int* firstChanged, void* user) = nullptr;
  int (*readDone)(void* user) = nullptr;
  int (*elemText)(int textNumber, char* text, int capacity, void* user) = nullptr;
  int (*print)(const char* text, void* user) = nullptr;  ///< receives the log lines
  void* user = nullptr;
};

/// Callbacks of the caller that deliver the records of one symbol after the other.
class CallbackSource final : public DataSource {
 public:
  /// `specialValues` are the five that the callbacks' data uses.
  CallbackSource(ZDB& db, const DataCallbacks& callbacks, const double* specialValues);

  InitSource kind() const override { return FROM_DMRF; }
  bool read(const AbstractZDBSymbol& symbol, RecordSink sink) override;
  bool isInKeyOrder() const override { return true; }

 private:
  bool readRecords(const AbstractZDBSymbol& symbol, int records, RecordSink sink);
  bool translateValues(const AbstractZDBSymbol& symbol, double* values);
  bool translateText(double& value);

  ZDB& db_;
  DataCallbacks callbacks_;
  SpecialValues specialValues_{};
};

}  // namespace zdb
