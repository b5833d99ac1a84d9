#include "modeltest.h"

#include <sstream>

Instance::Instance(const std::string& text) {
  zkitModel_t model = nullptr;
  EXPECT_EQ(zkitModelCreate(&model, "test"), 1);
  std::istringstream statements(text);
  for (std::string statement; std::getline(statements, statement, ';');) {
    addStatement(model, statement);
  }
  EXPECT_EQ(zkitModelFinish(model, nullptr, &handle_), 1) << zkitLastError(model);
  zkitModelFree(&model);
  if (zkitIntegerColumns(handle_) > 0) {
    EXPECT_EQ(zkitSetModelType(handle_, ZKIT_RMIP), 1);
  }
}

void Instance::addStatement(zkitModel_t model, const std::string& statement) {
  static const std::map<std::string, int> rowTypes = {
      {"=", ZKIT_EQUAL}, {">=", ZKIT_GREATER}, {"<=", ZKIT_LESS}, {"free", ZKIT_FREE}};
  std::istringstream words(statement);
  std::string kind;
  std::string name;
  std::string first;  // lower bound or type
  std::string second;
  words >> kind >> name >> first >> second;
  if (kind == "row") {
    addEntry(model, name, ZKIT_EQUATION, [&](int symbol, const char* const* labels, int* row) {
      return zkitAddRow(model, symbol, labels, rowTypes.at(first), std::stod(second), row);
    });
    for (std::string term; words >> term;) addTerm(model, entries_[name], term);
  } else if (kind == "min" || kind == "max") {
    EXPECT_EQ(zkitSetObjective(model, entries_.at(name), kind == "min" ? 1 : -1), 1);
  } else {
    double level = 0;
    words >> level;
    addEntry(model, name, ZKIT_VARIABLE, [&](int symbol, const char* const* labels, int* column) {
      return zkitAddColumn(model, symbol, labels, std::stod(first), std::stod(second), level,
                           column);
    });
    EXPECT_EQ(zkitSetColumnInteger(model, entries_[name], kind == "int" ? 1 : 0), 1);
  }
}

void Instance::addTerm(zkitModel_t model, int row, const std::string& term) {
  std::istringstream factors(term);
  std::string value;
  std::string column;
  std::string other;
  std::getline(factors, value, '*');
  std::getline(factors, column, '*');
  std::getline(factors, other, '*');
  const double number = std::stod(value);
  EXPECT_EQ(column.empty() ? zkitAddConstant(model, row, number)
            : other.empty()
                ? zkitAddCoefficient(model, row, entries_.at(column), number)
                : zkitAddProduct(model, row, entries_.at(column), entries_.at(other), number),
            1)
      << zkitLastError(model);
}

template <typename Add>
void Instance::addEntry(zkitModel_t model, std::string name, int type, Add add) {
  int& entry = entries_[name];
  Labels labels;
  for (char& c : name) {
    if (c != '(' && c != ',' && c != ')') continue;
    if (c != ')') labels.push_back(&c + 1);
    c = '\0';
  }
  int& symbol = symbols_[name.c_str()];
  if (symbol == 0) {
    EXPECT_EQ(zkitAddSymbol(model, name.c_str(), type, static_cast<int>(labels.size()),
                            ("about " + std::string(name.c_str())).c_str(),
                            static_cast<int>(symbols_.size()), &symbol),
              1);
  }
  EXPECT_EQ(add(symbol, labels.data(), &entry), 1) << zkitLastError(model);
}

void ModelTest::prepare(const Database& to, bool takesDictionary) {
  if (takesDictionary) {
    ASSERT_EQ(c__zdbinitfromdict(to, model), 1) << to.error();
  }
  ASSERT_EQ(c__zdbinitupdate(to, model), 1) << to.error();
  spy.calls.clear();
}

void ModelTest::attachRefusals(const Database& to) {
  EXPECT_EQ(c__zdbinitfromdmrf(
                to, [](const char*, int*, void*) { return 1; }, [](int, int*, void*) { return 1; },
                [](int*, double*, int*, void*) { return 1; }, [](void*) { return 1; },
                [](int, char*, int, void*) { return 1; }, nullptr, nullptr),
            1);
}
