#include "modeldatabase.h"

#include <string>

#include "models.h"

ModelDatabase::ModelDatabase(void* instance, const char* parameter, int count) {
  db_.readModel(instance);
  parameter_ = db_.addParameter(parameter, 1);
  for (int k = 1; k <= count; ++k) labels_.push_back(db_.findLabel(std::to_string(k)).value());
}

void ModelDatabase::set(const std::vector<double>& values) {
  for (std::size_t k = 0; k < values.size(); ++k) {
    c__zdbmergerecordint(db_.handle(), parameter_.handle(), &labels_[k], 0, 0, nullptr, 1,
                         &values[k]);
  }
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
