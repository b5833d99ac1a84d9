#pragma once

#include "core/zdb.h"

namespace zdb {

/// The caller's functions that serve as a data source. Texts are short strings (a length byte, then
/// the characters); results are 0 for success; `user` is the caller's own pointer.
struct DataCallbacks {
  int (*findSymbol)(const char* name, int* symbolNumber, void* user) = nullptr;
  int (*readStart)(int symbolNumber, int* recordCount, void* user) = nullptr;
  int (*readRecord)(int* key, double* values, int* firstChanged, void* user) = nullptr;
  int (*readDone)(void* user) = nullptr;
  int (*elemText)(int textNumber, char* text, int capacity, void* user) = nullptr;
  int (*print)(const char* text, void* user) = nullptr;  ///< receives the log lines
  void* user = nullptr;
};

/// A source that gets records from callbacks of the caller, one symbol at a time.
class CallbackSource final : public DataSource {
 public:
  /// `specialValues` are the five that the data of the callbacks uses.
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
