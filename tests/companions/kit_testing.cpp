#include "kit_testing.h"

#include <random>
#include <string_view>

namespace kittest {

int Model::symbol(const char* name, int type, int dim) const {
  int number = -1;
  return zkitAddSymbol(model_, name, type, dim, nullptr, 0, &number) == 1 ? number : -1;
}

int Model::column(int symbol, const Labels& labels, double lower, double upper,
                  double level) const {
  int number = -1;
  const int done = zkitAddColumn(model_, symbol, labels.data(), lower, upper, level, &number);
  return done == 1 ? number : -1;
}

int Model::row(int symbol, const Labels& labels, int type, double rhs) const {
  int number = -1;
  return zkitAddRow(model_, symbol, labels.data(), type, rhs, &number) == 1 ? number : -1;
}

void Model::add(int row, int column, double value) const {
  EXPECT_EQ(zkitAddCoefficient(model_, row, column, value), 1) << error();
}

void Model::addProduct(int row, int column1, int column2, double value) const {
  EXPECT_EQ(zkitAddProduct(model_, row, column1, column2, value), 1) << error();
}

void Model::addConstant(int row, double value) const {
  EXPECT_EQ(zkitAddConstant(model_, row, value), 1) << error();
}

Shop::Shop(bool isInteger) {
  const int x = model.variable("x", 1);
  a = model.column(x, {"a"}, 0, 6, 1.5);
  b = model.column(x, {"b"}, 0, kInf);
  p = model.scalar("p_var", -kInf, kInf, 3);
  need = model.scalar("need_var", 0, 100, 10);
  cost = model.scalar("cost", -kInf, kInf);
  costs = model.scalarRow("costs", ZKIT_EQUAL, 2);
  needs = model.scalarRow("needs", ZKIT_GREATER, 0);
  model.add(costs, cost, 1);
  model.add(costs, a, -2);
  model.addProduct(costs, p, b, -1);
  model.addConstant(costs, -3);
  model.add(needs, a, 1);
  model.add(needs, b, 1);
  model.add(needs, need, -1);
  EXPECT_EQ(zkitSetColumnInteger(model, b, isInteger ? 1 : 0), 1);
  EXPECT_EQ(zkitSetObjective(model, cost, 1), 1);
}

RandomModel::RandomModel(unsigned seed, int direction) {
  std::mt19937 random(seed);
  const auto any = [&](double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(random);
  };
  const int x = model.variable("x", 1);
  const int p = model.variable("p_var", 1);
  const int r = model.equation("r", 1);
  const int objective = model.scalar("z", -kInf, kInf);
  const int defined = model.scalarRow("defined", ZKIT_EQUAL, 0);
  model.add(defined, objective, 1);
  const std::array<const char*, 6> labels = {"a", "b", "c", "d", "e", "f"};
  for (const char* label : labels) {
    columns.push_back(model.column(x, {label}, 0, any(1, 2)));
    parameters.push_back(model.column(p, {label}, -5, 5, any(0.5, 1.5)));
    rows.push_back(model.row(r, {label}, direction > 0 ? ZKIT_GREATER : ZKIT_LESS, 0));
  }
  const double sign = direction;
  for (std::size_t i = 0; i < 6; ++i) {
    model.add(defined, columns[i], -any(1, 3));
    model.addProduct(defined, parameters[i], columns[i], -any(0.1, 1));
    model.addProduct(rows[i], parameters[i], parameters[(i + 1) % 6], -any(0.1, 0.4));
    model.add(rows[i], parameters[(i + 2) % 6], -any(0.1, 0.4));
    for (std::size_t j = 0; j < 6; ++j) model.add(rows[i], columns[j], any(0.1, 1));
    model.addProduct(rows[i], columns[(i + 3) % 6], parameters[i], any(0.1, 0.5));
    model.addConstant(rows[i], sign * any(0.1, 0.3));
  }
  EXPECT_EQ(zkitSetObjective(model, objective, direction), 1);
}

std::string Instance::solve(const char* solver) const {
  std::array<char, ZKIT_TEXT_SIZE> message{};
  constexpr double noLimit = 2.0E300;
  constexpr int noCount = 2100000000;
  const int failed = CzrtCallSolver(environment(), handle_, "", solver, 5, 0, noLimit, noLimit,
                                    noLimit, "", "", noCount, noCount, nullptr, message.data());
  EXPECT_EQ(failed == 0, message[0] == '\0') << message.data();
  return message.data();
}

void Instance::updateLinear() const {
  std::vector<double> constants(static_cast<std::size_t>(zkitRows(handle_)) + 1);
  EXPECT_EQ(CzmiEvalGradNLUpdate(handle_, constants.data()), 1);
  for (int i = 0; i < zkitRows(handle_); ++i) {
    const double rhs = CzmiGetRhsOne(handle_, i) - constants[static_cast<std::size_t>(i)];
    EXPECT_EQ(CzmiSetAltRHSOne(handle_, i, rhs), 1);
  }
}

std::string Instance::name(NameCall call, int entry) const {
  std::array<char, 2000> text{};
  EXPECT_EQ(call(handle_, entry, text.data(), static_cast<int>(text.size())), 1);
  return text.data();
}

Record columnRecord(void* instance, int column) {
  Record record;
  EXPECT_EQ(CzmiGetSolutionVarRec(instance, column, &record.level, &record.marginal, &record.status,
                                  &record.basis),
            1);
  return record;
}

Record rowRecord(void* instance, int row) {
  Record record;
  EXPECT_EQ(CzmiGetSolutionEquRec(instance, row, &record.level, &record.marginal, &record.status,
                                  &record.basis),
            1);
  return record;
}

std::vector<int> walk(void* dictionary, int symbol, const Key& key) {
  std::vector<int> entries;
  int entry = -2;
  void* find = CzlxFindFirstRowCol(dictionary, symbol, key.data(), &entry);
  EXPECT_NE(find, nullptr);
  while (entry >= 0) {
    entries.push_back(entry);
    const int isMore = CzlxFindNextRowCol(dictionary, find, &entry);
    EXPECT_EQ(isMore, entry >= 0 ? 1 : 0);
  }
  EXPECT_EQ(entry, -1);
  EXPECT_EQ(CzlxFindClose(dictionary, find), 1);
  return entries;
}

std::string labelText(void* dictionary, int label) {
  std::array<char, 64> text{};
  char quote = 0;
  EXPECT_EQ(CzlxUelLabel(dictionary, label, &quote, text.data(), 64), 1);
  return text.data();
}

std::string symbolName(void* dictionary, int symbol) {
  std::array<char, 64> text{};
  EXPECT_EQ(CzlxSymName(dictionary, symbol, text.data(), 64), 1);
  return text.data();
}

std::vector<const char*> solversFor(int modelType) {
  std::vector<const char*> solvers;
  for (const char* solver : {"clp", "cbc", "glpk"}) {
    const bool takesType = modelType != ZKIT_MIP || std::string_view(solver) != "clp";
    const bool isThere = Instance().solve(solver).find("built without") == std::string::npos;
    if (takesType && isThere) solvers.push_back(solver);
  }
  return solvers;
}

}  // namespace kittest
