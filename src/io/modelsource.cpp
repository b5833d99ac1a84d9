#include "io/modelsource.h"

namespace zdb {

ModelLink& modelLink(ZDB& db) {
  DataSource* model = db.source(FROM_ZMI);
  if (model == nullptr) model = &db.attachSource(std::make_unique<ModelSource>(db));
  return static_cast<ModelSource*>(model)->link();
}

}  // namespace zdb
