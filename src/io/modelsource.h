#pragma once

#include "core/zdb.h"
#include "io/modellink.h"

namespace zdb {

/// The model instance that a database is tied to: levels, marginals and bounds of its variables and
/// equations. Attached when a model is registered, which may be long before the database loads
/// anything from it.
class ModelSource final : public DataSource {
 public:
  explicit ModelSource(ZDB& db) : db_(db) {}

  InitSource kind() const override { return FROM_ZMI; }
  bool read(const AbstractZDBSymbol& symbol, RecordSink sink) override;
  bool isInKeyOrder() const override { return true; }  // sorted where labels have other numbers

  ModelLink& link() { return link_; }

 private:
  ZDB& db_;
  ModelLink link_;
};

/// The link of a database, which has no instance if no model was registered.
ModelLink& modelLink(ZDB& db);

}  // namespace zdb
