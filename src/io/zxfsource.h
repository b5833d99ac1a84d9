#pragma once

#include <string>

#include "contract/descriptor.h"
#include "core/zdb.h"
#include "io/labelnumbers.h"
#include "loaders/zxf.h"

namespace zdb {

/// An open data exchange file, read through the companion's object that the database owns.
class ZXFSource final : public DataSource {
 public:
  /// The caller opens the file before anything is read.
  ZXFSource(ZDB& db, std::string fileName) : db_(db), fileName_(std::move(fileName)) {}

  InitSource kind() const override { return FROM_ZXF; }
  bool read(const AbstractZDBSymbol& symbol, RecordSink sink) override;
  /// Records are in the order of the file, which is not key order if labels have other
  /// numbers here.
  bool isInKeyOrder() const override { return labels_.areSame(); }
  bool deliversRuns() const override {
    return isInKeyOrder() && loaders::zxfReadColumns() != nullptr;
  }
  bool readRuns(const AbstractZDBSymbol& symbol, RecordRuns& sink) override;
  std::optional<int> recordCount(const AbstractZDBSymbol& symbol) override;

  const std::string& fileName() const { return fileName_; }
  loaders::zxfRec* zxf() const { return db_.zxf().get(); }
  LabelNumbers& labels() { return labels_; }
  /// Keeps open what the file's name refers to.
  void hold(contract::Descriptor file) { held_ = std::move(file); }

 private:
  template <class Deliver>
  bool readSymbol(const AbstractZDBSymbol& symbol, Deliver deliver);
  bool failRead(const AbstractZDBSymbol& symbol);

  ZDB& db_;
  std::string fileName_;
  LabelNumbers labels_;
  contract::Descriptor held_;
};

}  // namespace zdb
