#include "samplefile.h"

#include <array>
#include <stdexcept>
#include <vector>

#include "zdbcclib.h"

namespace tools_test {

namespace {

using Labels = std::vector<const char*>;

/// A database under construction; every refused step is an exception.
class Builder {
 public:
  Builder() { zdbxcreate(&db_); }
  ~Builder() { zdbxfree(&db_); }
  Builder(const Builder&) = delete;
  Builder& operator=(const Builder&) = delete;

  zdbSymbol_t symbol(const char* name, int type, const char* text, const Labels& domains,
                     int userInfo = 0) {
    std::vector<zdbSymbol_t> sets(domains.size());
    for (std::size_t d = 0; d < domains.size(); ++d)
      c__zdbfindsymbolwithalias(db_, domains[d], &sets[d]);
    zdbSymbol_t result = nullptr;
    c__zdbaddsymbolx(db_, name, static_cast<int>(domains.size()), type, userInfo, text, sets.data(),
                     domains.data(), &result);
    require(result != nullptr);
    return result;
  }

  void element(zdbSymbol_t set, const Labels& labels, const char* text = "") {
    zdbRecord_t record = nullptr;
    require(c__zdbaddrecord(db_, set, labels.data(), &record));
    require(c__zdbsetelemtext(db_, record, text));
    c__zdbfreesymboliterator(db_, record);
  }

  void value(zdbSymbol_t parameter, const Labels& labels, double value) {
    zdbRecord_t record = nullptr;
    require(c__zdbaddrecord(db_, parameter, labels.data(), &record));
    require(c__zdbsetlevel(db_, record, value));
    c__zdbfreesymboliterator(db_, record);
  }

  double special(int index) {
    double values[ZDB_SV_COUNT];
    require(c__zdbgetspecialvalues(db_, values));
    return values[index];
  }

  void write(const std::string& file) { require(c__zdbwritezxf(db_, file.c_str(), 0)); }

 private:
  void require(bool done) {
    if (done) return;
    char message[ZDB_TEXT_SIZE] = "";
    c__zdbgetlasterror(db_, message);
    throw std::runtime_error(message);
  }

  zdbHandle_t db_ = nullptr;
};

void addSets(Builder& db) {
  const zdbSymbol_t city = db.symbol("city", ZDB_SET, "cities", {"*"});
  db.element(city, {"Bonn"}, "on the Rhine");
  db.element(city, {"Köln"});
  db.element(city, {"Ulm, Donau"}, "says \"hello\"");
  db.symbol("town", ZDB_ALIAS, "", {"*"});
  const zdbSymbol_t road = db.symbol("road", ZDB_SET, "", {"city", "town"});
  db.element(road, {"Bonn", "Köln"}, "A 555");
}

void addParameters(Builder& db) {
  const zdbSymbol_t distance = db.symbol("distance", ZDB_PARAMETER, "in km", {"city", "city"});
  db.value(distance, {"Bonn", "Köln"}, 29.5);
  db.value(distance, {"Bonn", "Ulm, Donau"}, 1.0 / 3);
  db.value(db.symbol("limit", ZDB_PARAMETER, "", {}), {}, -1e-7);
  const zdbSymbol_t odd = db.symbol("odd", ZDB_PARAMETER, "special values", {"case"});
  const std::array<const char*, ZDB_SV_COUNT> labels = {"undef", "na", "#plus", "minus", "eps"};
  for (int i = 0; i < ZDB_SV_COUNT; ++i) {
    db.value(odd, {labels[static_cast<std::size_t>(i)]}, db.special(i));
  }
  db.symbol("nothing", ZDB_PARAMETER, "no records", {"*"});
}

}  // namespace

void writeSampleFile(const std::string& file) {
  Builder db;
  addSets(db);
  addParameters(db);
  const int positive = 3;
  db.value(db.symbol("flow", ZDB_VARIABLE, "tons", {"city", "*"}, positive), {"Bonn", "coal"}, 7);
  const int lessOrEqual = 2;
  db.value(db.symbol("supply", ZDB_EQUATION, "", {}, lessOrEqual), {}, 7);
  db.write(file);
}

void writeEmptyFile(const std::string& file) {
  Builder().write(file);
}

}  // namespace tools_test
