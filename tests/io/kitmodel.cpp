#include "kitmodel.h"

#include <cctype>
#include <sstream>

namespace kittest {

Model::Model(const std::string& text) {
  EXPECT_EQ(zkitModelCreate(&model_, "test"), 1);
  std::istringstream statements(text);
  for (std::string statement; std::getline(statements, statement, ';');) addStatement(statement);
}

void Model::addStatement(const std::string& statement) {
  std::istringstream words(statement);
  std::string name;
  words >> name;
  if (name.ends_with(':')) return addRow(name.substr(0, name.size() - 1), words);
  const std::string kind = name;
  if (kind == "int" || kind == "min" || kind == "max") words >> name;
  if (kind == "min" || kind == "max") {
    EXPECT_EQ(zkitSetObjective(model_, entries_.at(name), kind == "min" ? 1 : -1), 1);
    return;
  }
  std::string numbers[] = {"0", "inf", "0"};
  for (std::string& number : numbers) words >> number;
  const auto addColumn = [&](int symbol, const char* const* labels, int* number) {
    return zkitAddColumn(model_, symbol, labels, std::stod(numbers[0]), std::stod(numbers[1]),
                         std::stod(numbers[2]), number);
  };
  const int column = addEntry(name, ZKIT_VARIABLE, addColumn);
  EXPECT_EQ(zkitSetColumnInteger(model_, column, kind == "int" ? 1 : 0), 1);
}

void Model::addRow(const std::string& name, std::istream& words) {
  static const std::map<std::string, int> types = {
      {"=", ZKIT_EQUAL}, {">=", ZKIT_GREATER}, {"<=", ZKIT_LESS}, {"free", ZKIT_FREE}};
  struct Term {
    double value;
    std::string column;
    std::string factor;
  };
  std::vector<Term> terms;
  std::string word;
  while (words >> word && types.count(word) == 0) {
    const bool isSign = word == "+" || word == "-";
    if (isSign || terms.empty()) terms.push_back({word == "-" ? -1.0 : 1.0, "", ""});
    if (std::isalpha(word[0]) != 0) {
      std::istringstream columns(word);
      std::getline(columns, terms.back().column, '*');
      std::getline(columns, terms.back().factor);
    } else if (!isSign) {
      terms.back().value *= std::stod(word);
    }
  }
  double rhs = 0;
  words >> rhs;
  const auto add = [&](int symbol, const char* const* labels, int* number) {
    return zkitAddRow(model_, symbol, labels, types.at(word), rhs, number);
  };
  const int row = addEntry(name, ZKIT_EQUATION, add);
  for (const auto& [value, column, factor] : terms) {
    EXPECT_EQ(column.empty() ? zkitAddConstant(model_, row, value)
              : factor.empty()
                  ? zkitAddCoefficient(model_, row, entries_.at(column), value)
                  : zkitAddProduct(model_, row, entries_.at(column), entries_.at(factor), value),
              1);
  }
}

template <typename Add>
int Model::addEntry(std::string name, int type, Add add) {
  int& number = entries_[name];
  std::vector<const char*> labels;
  for (char& c : name) {
    if (c != '(' && c != ',' && c != ')') continue;
    if (c != ')') labels.push_back(&c + 1);
    c = '\0';
  }
  int& symbol = symbols_[name.c_str()];
  const int dim = static_cast<int>(labels.size());
  if (symbol == 0) zkitAddSymbol(model_, name.c_str(), type, dim, nullptr, 0, &symbol);
  EXPECT_EQ(add(symbol, labels.data(), &number), 1) << zkitLastError(model_);
  return number;
}

}  // namespace kittest
