#include "modeldatabase.h"

#include <string>

#include "models.h"

ModelDatabase::ModelDatabase(void* instance, const char* parameter, int count) {
  db_.readModel(instance);
  parameter_ = db_.addParameter(parameter, 1);
  for (int k = 1; k <= count; ++k) labels_.push_back(db_.findLabel(std::to_string(k)).value());
}

void ModelDatabase::set(const std::vector<double>& values) {
  zdbx_columns columns = {};
  columns.size = sizeof columns;
  columns.rows = static_cast<std::int64_t>(values.size());
  columns.keys[0] = {labels_.data(), sizeof(std::int32_t)};
  columns.values[0] = {values.data(), sizeof(double)};
  parameter_.put(columns);
}

void ModelDatabase::update() {
  require(parameter_.updateModel() == 0, "all values are the model's");
}

int ModelDatabase::count(const char* symbol) const {
  const zdbHandle_t db = db_.handle();
  zdbRecord_t record = nullptr;
  db_.check(c__zdbfindfirstrecord(db, db_.symbol(symbol).handle(), &record));
  int count = 0;
  do {
    ++count;
  } while (c__zdbrecordmovenext(db, record));
  c__zdbfreesymboliterator(db, record);
  return count;
}
