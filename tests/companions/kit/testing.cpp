#include "companions/kit/testing.h"

#include <array>
#include <cctype>
#include <cmath>
#include <sstream>

// Presolving, CoinUtils 2.11 loses an array of no elements.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the leak sanitizer looks for this name.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {  // NOLINT(bugprone-reserved-identifier)
  return "leak:presolve_dupmajor";
}

namespace zdb::test::kit {

namespace {

std::vector<const char*> solversOf(int type) {
  std::vector<const char*> names;
  for (int k = 0; k < zkitSolverCount(); ++k) {
    const char* name = nullptr;
    const char* whyNot = nullptr;
    int types = 0;
    zkitSolverInfo(k, &name, nullptr, &types, nullptr, &whyNot);
    const bool isUsable = *whyNot == '\0';
    if (!isUsable && std::string(name) != "highs") ADD_FAILURE() << name << ": " << whyNot;
    if (isUsable && (types & type) != 0) names.push_back(name);
  }
  return names;
}

}  // namespace

const std::vector<const char*>& solvers() {
  static const std::vector<const char*> all = solversOf(ZKIT_SOLVES_LP);
  return all;
}

const std::vector<const char*>& mipSolvers() {
  static const std::vector<const char*> all = solversOf(ZKIT_SOLVES_MIP);
  return all;
}

double activity(const std::vector<Term>& terms, const std::vector<double>& levels) {
  double sum = 0;
  for (const auto& [value, column1, column2] : terms) {
    sum += value * (column1 < 0 ? 1 : levels[column1]) * (column2 < 0 ? 1 : levels[column2]);
  }
  return sum;
}

Model::Model(const std::string& text) {
  EXPECT_EQ(zkitModelCreate(&model_, "test"), 1);
  std::istringstream statements(text);
  for (std::string statement; std::getline(statements, statement, ';');) {
    std::istringstream words(statement);
    addStatement(words);
  }
}

void Model::addStatement(std::istream& words) {
  std::string first;
  if (!(words >> first)) return;
  if (first.ends_with(':')) return addRow(first.substr(0, first.size() - 1), words);
  const bool isObjective = first == "min" || first == "max";
  std::string name = first;
  if (isObjective || first == "int") words >> name;
  std::array<std::string, 3> numbers = {"0", "inf", "0"};
  for (std::string& number : numbers) words >> number;
  const auto [lower, upper, level] = numbers;
  const int number = column(name, std::stod(lower), std::stod(upper), std::stod(level));
  if (isObjective) expectDone(zkitSetObjective(model_, number, first == "min" ? 1 : -1));
  if (first != "int") return;
  isInteger_[number] = true;
  expectDone(zkitSetColumnInteger(model_, number, 1));
}

void Model::addRow(const std::string& name, std::istream& words) {
  static const std::map<std::string, int> types = {
      {"=", ZKIT_EQUAL}, {">=", ZKIT_GREATER}, {"<=", ZKIT_LESS}, {"free", ZKIT_FREE}};
  std::vector<Term>& terms = rows_.emplace_back();
  std::string word;
  while (words >> word && types.count(word) == 0) {
    const bool isSign = word == "+" || word == "-";
    if (isSign || terms.empty()) terms.push_back({word == "-" ? -1.0 : 1.0});
    if (std::isalpha(word[0]) != 0) {
      const std::size_t star = word.find('*');
      terms.back().column1 = column(word.substr(0, star));
      if (star != word.npos) terms.back().column2 = column(word.substr(star + 1));
    } else if (!isSign) {
      terms.back().value *= std::stod(word);
    }
  }
  const int type = types.at(word);
  words >> word;
  const int row = addEntry(name, ZKIT_EQUATION, [&](int symbol, auto* labels, int* number) {
    return zkitAddRow(model_, symbol, labels, type, std::stod(word), number);
  });
  for (const auto& [value, column1, column2] : terms) {
    expectDone(column2 >= 0   ? zkitAddProduct(model_, row, column1, column2, value)
               : column1 >= 0 ? zkitAddCoefficient(model_, row, column1, value)
                              : zkitAddConstant(model_, row, value));
  }
}

// The number of a column, which is added if it is new.
int Model::column(const std::string& name, double lower, double upper, double level) {
  const auto known = entries_.find(name);
  if (known != entries_.end()) return known->second;
  isInteger_.push_back(false);
  isParameter_.push_back(name.find("_var") != name.npos);
  return addEntry(name, ZKIT_VARIABLE, [&](int symbol, auto* labels, int* number) {
    return zkitAddColumn(model_, symbol, labels, lower, upper, level, number);
  });
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
  expectDone(add(symbol, labels.data(), &number));
  return number;
}

std::string randomModel(const Shape& shape, std::mt19937& random) {
  const auto whole = [&](int low, int high) {
    return std::uniform_int_distribution<int>(low, high)(random);
  };
  const auto happens = [&](double chance) { return std::bernoulli_distribution(chance)(random); };
  constexpr int parameters = 3;  // the first columns
  std::vector<std::string> names;
  std::vector<int> levels;
  std::ostringstream text;
  for (int j = 0; j < shape.columns + parameters; ++j) {
    const bool isParameter = j < parameters;
    const int level = levels.emplace_back(whole(-3, 3));
    const bool isInteger = !isParameter && happens(shape.integerShare);
    const int open = isParameter || isInteger || shape.isBoxed ? 0 : whole(0, 3);  // or endless
    names.push_back((isParameter ? "p_var(" : "x(") + std::to_string(j) + ")");
    text << (isInteger ? "int " : "") << names[j] << ' '
         << (open == 1 ? -kInf : level - whole(0, 3)) << ' '
         << (open == 2 ? kInf : level + whole(0, 3)) << ' ' << level << " ; ";
  }
  const auto addTerms = [&] {  // what they come to
    int sum = whole(-5, 5);
    text << sum;
    const auto add = [&](int value, int j, int parameter) {
      sum += value * levels[j] * (parameter < 0 ? 1 : levels[parameter]);
      text << " + " << value << ' ' << names[j] << (parameter < 0 ? "" : "*" + names[parameter]);
    };
    for (int j = 0; j < shape.columns + parameters; ++j) {
      if (happens(0.6)) add(whole(-4, 4), j, -1);
      if (happens(0.2)) add(whole(-1, 1), j, whole(0, parameters - 1));
    }
    add(whole(1, 4), whole(parameters, shape.columns + parameters - 1), -1);
    return sum;
  };
  text << "z -inf inf ; " << (happens(0.5) ? "min" : "max") << " z ; cost: ";
  addTerms();
  text << " - z = 0 ; ";
  for (int i = 0; i < shape.rows; ++i) {
    text << "e(" << i << "): ";
    const int sum = addTerms();
    const int type = whole(0, 11);  // free, =, >= or <=
    const int slack = type < 2 ? 0 : type < 7 ? -whole(0, 4) : whole(0, 4);
    text << (type == 0   ? " free "
             : type == 1 ? " = "
             : type < 7  ? " >= "
                         : " <= ")
         << (shape.isFeasible ? sum + slack : whole(-20, 20)) << " ; ";
  }
  return text.str();
}

std::string Instance::solve(const char* solver, double seconds, int iterations) const {
  std::array<char, ZKIT_TEXT_SIZE> message{"old"};
  const int failed = CzrtCallSolver(CzmiEnvironment(handle_), handle_, "", solver, 5, 0, seconds, 0,
                                    0, "", "", iterations, 0, nullptr, message.data());
  EXPECT_EQ(failed == 0, message[0] == '\0') << message.data();
  return message.data();
}

Hot::Hot(const char* solver) {
  zstXCreate(&configuration_);
  EXPECT_EQ(CzstReadConfigGUC(configuration_, KIT_DIRECTORY "/zrncmpun.txt", ""), 0);
  number_ = CzstAlgNumber(configuration_, solver);
  EXPECT_EQ(CzstAlgCreate(configuration_, number_, "", nullptr, 0), 1);
}

int Hot::solve(const Instance& instance) const {
  const bool isReady = CzstAlgModifyProblem(configuration_, number_) == 0 ||
                       CzstAlgReadyAPI(configuration_, number_, instance) == 0;
  return isReady ? CzstAlgCallSolver(configuration_, number_, instance) : -1;
}

Entry entryOf(decltype(CzmiGetSolutionVarRec) get, void* instance, int number) {
  Entry entry;
  EXPECT_EQ(get(instance, number, &entry.level, &entry.marginal, &entry.status, &entry.basis), 1);
  return entry;
}

namespace {

double slackAt(double value) {
  return kTolerance * std::max(1.0, std::abs(value));
}

void expectBetween(double level, double lower, double upper) {
  EXPECT_GE(level, lower - slackAt(level));
  EXPECT_LE(level, upper + slackAt(level));
}

// `marginal` is that of a model to be minimised: positive needs a lower bound that binds, negative
// an upper one. So does the basis say which.
void expectBinding(const Entry& entry, double marginal, double lower, double upper) {
  EXPECT_EQ(entry.status, ZKIT_LEVEL_OK);
  if (std::abs(marginal) <= kTolerance) return;
  const double bound = marginal > 0 ? lower : upper;
  EXPECT_NEAR(entry.level, bound, slackAt(bound)) << marginal;
  EXPECT_TRUE(lower == upper || entry.basis == (marginal > 0 ? ZKIT_AT_LOWER : ZKIT_AT_UPPER));
}

}  // namespace

void expectOptimal(const Model& model, void* instance) {
  const int direction = zkitDirection(instance);
  std::vector<double> slopes(CzmiN(instance), 0.0);
  std::vector<double> levels = slopes;
  CzmiGetVarL(instance, levels.data());
  if (zkitObjectiveColumn(instance) >= 0) slopes[zkitObjectiveColumn(instance)] = 1;
  for (int i = 0; i < CzmiM(instance); ++i) {
    const Entry row = entryOf(CzmiGetSolutionEquRec, instance, i);
    const double level = activity(model.terms(i), levels);
    for (const auto& [value, column1, column2] : model.terms(i)) {
      const double slope = value * row.marginal;
      if (column1 >= 0) slopes[column1] -= slope * (column2 < 0 ? 1 : levels[column2]);
      if (column2 >= 0) slopes[column2] -= slope * levels[column1];
    }
    EXPECT_NEAR(row.level, level, slackAt(level)) << "row " << i;
    const int type = CzmiGetEquTypeOne(instance, i);
    const double rhs = CzmiGetRhsOne(instance, i);
    const double lower = type == ZKIT_EQUAL || type == ZKIT_GREATER ? rhs : -kInf;
    const double upper = type == ZKIT_EQUAL || type == ZKIT_LESS ? rhs : kInf;
    expectBetween(row.level, lower, upper);
    expectBinding(row, row.marginal * direction, lower, upper);
  }
  for (int j = 0; j < CzmiN(instance); ++j) {
    const Entry column = entryOf(CzmiGetSolutionVarRec, instance, j);
    EXPECT_NEAR(column.marginal, slopes[j], slackAt(slopes[j])) << "column " << j;
    if (model.isParameter(j)) continue;
    const double lower = CzmiGetVarLowerOne(instance, j);
    const double upper = CzmiGetVarUpperOne(instance, j);
    expectBetween(column.level, lower, upper);
    if (model.isInteger(j) && CzmiModelType(instance) == ZKIT_MIP) {
      EXPECT_NEAR(column.level, std::round(column.level), kTolerance) << "column " << j;
    } else {
      expectBinding(column, column.marginal * direction, lower, upper);
    }
  }
}

}  // namespace zdb::test::kit
