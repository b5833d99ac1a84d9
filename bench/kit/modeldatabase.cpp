#include "modeldatabase.h"

#include <string>

#include "models.h"

ModelDatabase::ModelDatabase(void* instance, const char* parameter, int count) {
  char message[ZDB_TEXT_SIZE] = "";
  require(zdbcreate(&db_, message, sizeof message) == 1, message);
  check(c__zdbinitfromdict(db_, instance));
  check(c__zdbinitupdate(db_, instance));
  check(c__zdbaddsymbol(db_, parameter, 1, ZDB_PARAMETER, 0, "", &parameter_));
  for (int k = 1; k <= count; ++k) {
    int number = 0;
    check(c__zdbfinduel(db_, std::to_string(k).c_str(), &number));
    labels_.push_back(number);
  }
}

ModelDatabase::~ModelDatabase() {
  zdbfree(&db_);
}

void ModelDatabase::check(int isDone) const {
  if (isDone == 1) return;
  char message[ZDB_TEXT_SIZE] = "";
  c__zdbgetlasterror(db_, message);
  require(false, message);
}

void ModelDatabase::set(const std::vector<double>& values) {
  for (std::size_t k = 0; k < values.size(); ++k) {
    c__zdbmergerecordint(db_, parameter_, &labels_[k], 0, 0, nullptr, 1, &values[k]);
  }
}

void ModelDatabase::update() {
  int noMatch = 0;
  check(c__zdbupdatemodelsymbol(db_, parameter_, ZDB_UPDATE_FIX, parameter_, ZDB_MISSING_KEEP,
                                &noMatch));
  require(noMatch == 0, "all values are the model's");
}

void ModelDatabase::solve(const char* solver) {
  check(c__zdbcallsolver(db_, solver));
}

double ModelDatabase::level(const char* symbol) const {
  zdbSymbol_t found = nullptr;
  zdbRecord_t record = nullptr;
  double value = 0;
  check(c__zdbfindsymbol(db_, symbol, &found));
  check(c__zdbfindfirstrecord(db_, found, &record));
  check(c__zdbgetlevel(db_, record, &value));
  c__zdbfreesymboliterator(db_, record);
  return value;
}

int ModelDatabase::count(const char* symbol) const {
  zdbSymbol_t found = nullptr;
  zdbRecord_t record = nullptr;
  check(c__zdbfindsymbol(db_, symbol, &found));
  check(c__zdbfindfirstrecord(db_, found, &record));
  int count = 0;
  do {
    ++count;
  } while (c__zdbrecordmovenext(db_, record));
  c__zdbfreesymboliterator(db_, record);
  return count;
}
