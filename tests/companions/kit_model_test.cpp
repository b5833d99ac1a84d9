// Building a model call by call, and what the instance says of it.
#include <cmath>
#include <functional>
#include <random>

#include "kit_testing.h"

namespace {

using namespace kittest;

constexpr double kHuge = 1.0E300;

// A small model that the wrong calls are made on: x(a), x(b), the parameter p_var, the rows r(a)
// and total.
struct Base {
  Base() {
    x = model.variable("x", 1);
    r = model.equation("r", 1);
    xa = model.column(x, {"a"}, 0, 10);
    xb = model.column(x, {"b"}, -kInf, kInf);
    p = model.scalar("p_var", 0, 0, 3);
    ra = model.row(r, {"a"}, ZKIT_GREATER, 1);
    total = model.scalarRow("total", ZKIT_EQUAL, 0);
    model.add(ra, xa, 1);
    model.addProduct(total, p, xb, 2);
  }

  Model model;
  int x, r, xa, xb, p, ra, total;
};

struct WrongCall {
  const char* name;
  std::function<int(const Base&)> call;
  std::string text;  // of the error
};

const WrongCall kWrongCalls[] = {
    {"NameEmpty", [](const Base& b) { return b.model.variable("", 0); },
     "Symbol name >< must be a letter, then letters, digits or _, at most 63"},
    {"NameNull", [](const Base& b) { return b.model.variable(nullptr, 0); },
     "Symbol name >< must be a letter, then letters, digits or _, at most 63"},
    {"NameDigit", [](const Base& b) { return b.model.equation("1x", 0); },
     "Symbol name >1x< must be a letter, then letters, digits or _, at most 63"},
    {"NameBlank", [](const Base& b) { return b.model.equation("a b", 0); },
     "Symbol name >a b< must be a letter, then letters, digits or _, at most 63"},
    {"NameLong", [](const Base& b) { return b.model.variable(std::string(64, 'n').c_str(), 0); },
     "Symbol name >" + std::string(64, 'n') +
         "< must be a letter, then letters, digits or _, at most 63"},
    {"NameTwice", [](const Base& b) { return b.model.equation("X", 1); },
     "Symbol >X< is there already"},
    {"SymbolType", [](const Base& b) { return b.model.symbol("s", 4, 1); },
     "Symbol type must be 5 (variable) or 6 (equation), not 4"},
    {"DimNegative", [](const Base& b) { return b.model.variable("s", -1); },
     "Dimension of symbol >s< must be 0 to 20, not -1"},
    {"DimLarge", [](const Base& b) { return b.model.variable("s", 21); },
     "Dimension of symbol >s< must be 0 to 20, not 21"},
    {"TextLong",
     [](const Base& b) {
       int number = 0;
       const std::string text(256, 't');
       return zkitAddSymbol(b.model, "s", ZKIT_VARIABLE, 0, text.c_str(), 0, &number) - 1;
     },
     "Text of symbol >s< has 256 bytes, more than 255"},
    {"NoPlaceForNumber",
     [](const Base& b) {
       return zkitAddSymbol(b.model, "s", ZKIT_VARIABLE, 0, "", 0, nullptr) - 1;
     },
     "A place for the number that results must be given"},
    {"ColumnOfNoSymbol", [](const Base& b) { return b.model.column(5, {"a"}, 0, 1); },
     "There is no symbol 5"},
    {"RowOfNoSymbol", [](const Base& b) { return b.model.row(0, {"a"}, ZKIT_EQUAL, 1); },
     "There is no symbol 0"},
    {"ColumnOfEquation", [](const Base& b) { return b.model.column(b.r, {"b"}, 0, 1); },
     "Symbol r is an equation: it has rows, not columns"},
    {"RowOfVariable", [](const Base& b) { return b.model.row(b.x, {"c"}, ZKIT_EQUAL, 1); },
     "Symbol x is a variable: it has columns, not rows"},
    {"EntryTwice", [](const Base& b) { return b.model.column(b.x, {"A "}, 0, 1); },
     "Entry x(a) is there already"},
    {"ScalarTwice", [](const Base& b) { return b.model.row(4, {}, ZKIT_EQUAL, 0); },
     "Entry total is there already"},
    {"LabelEmpty", [](const Base& b) { return b.model.column(b.x, {"  "}, 0, 1); },
     "Label >< of symbol x must have 1 to 63 bytes, no control characters and not both quotes"},
    {"LabelNull", [](const Base& b) { return b.model.column(b.x, {nullptr}, 0, 1); },
     "Label >< of symbol x must have 1 to 63 bytes, no control characters and not both quotes"},
    {"LabelsNull",
     [](const Base& b) {
       int number = 0;
       return zkitAddColumn(b.model, b.x, nullptr, 0, 1, 0, &number) - 1;
     },
     "Symbol x needs 1 labels"},
    {"LabelTab", [](const Base& b) { return b.model.row(b.r, {"a\tb"}, ZKIT_EQUAL, 1); },
     "Label >a\tb< of symbol r must have 1 to 63 bytes, no control characters and not both quotes"},
    {"LabelQuotes", [](const Base& b) { return b.model.row(b.r, {"'\""}, ZKIT_EQUAL, 1); },
     "Label >'\"< of symbol r must have 1 to 63 bytes, no control characters and not both quotes"},
    {"BoundNaN", [](const Base& b) { return b.model.column(b.x, {"new"}, kNaN, 1); },
     "A column cannot have the bounds nan and 1"},
    {"LowerInfinite", [](const Base& b) { return b.model.column(b.x, {"new"}, kHuge, kInf); },
     "A column cannot have the bounds inf and inf"},
    {"UpperInfinite", [](const Base& b) { return b.model.column(b.x, {"new"}, 0, -kInf); },
     "A column cannot have the bounds 0 and -inf"},
    {"LevelNaN", [](const Base& b) { return b.model.column(b.x, {"new"}, 0, 1, kNaN); },
     "The level of a column must be a finite number, not nan"},
    {"RowType", [](const Base& b) { return b.model.row(b.r, {"new"}, 4, 1); },
     "Row type must be 0 (=), 1 (>=), 2 (<=) or 3 (free), not 4"},
    {"RhsInfinite", [](const Base& b) { return b.model.row(b.r, {"new"}, ZKIT_LESS, kInf); },
     "The right-hand side of a row must be a finite number, not inf"},
    {"CoefficientNaN",
     [](const Base& b) { return zkitAddCoefficient(b.model, b.ra, b.xb, kNaN) - 1; },
     "A coefficient must be a finite number, not nan"},
    {"CoefficientRow", [](const Base& b) { return zkitAddCoefficient(b.model, 2, b.xb, 1) - 1; },
     "There is no row 2"},
    {"CoefficientColumn",
     [](const Base& b) { return zkitAddCoefficient(b.model, b.ra, -1, 1) - 1; },
     "There is no column -1"},
    {"ProductOfVariables",
     [](const Base& b) { return zkitAddProduct(b.model, b.ra, b.xa, b.xb, 1) - 1; },
     "The product of x(a) and x(b) needs a factor whose symbol ends in _var, an updatable "
     "parameter"},
    {"ProductColumn", [](const Base& b) { return zkitAddProduct(b.model, b.ra, b.p, 3, 1) - 1; },
     "There is no column 3"},
    {"ProductInfinite",
     [](const Base& b) { return zkitAddProduct(b.model, b.ra, b.p, b.xa, -kHuge) - 1; },
     "A coefficient must be a finite number, not -1e+300"},
    {"ConstantRow", [](const Base& b) { return zkitAddConstant(b.model, -1, 1) - 1; },
     "There is no row -1"},
    {"ConstantInfinite", [](const Base& b) { return zkitAddConstant(b.model, b.ra, kInf) - 1; },
     "A constant must be a finite number, not inf"},
    {"IntegerParameter", [](const Base& b) { return zkitSetColumnInteger(b.model, b.p, 1) - 1; },
     "p_var is an updatable parameter and cannot be integer"},
    {"IntegerColumn", [](const Base& b) { return zkitSetColumnInteger(b.model, 3, 1) - 1; },
     "There is no column 3"},
    {"ObjectiveColumn", [](const Base& b) { return zkitSetObjective(b.model, 3, 1) - 1; },
     "There is no column 3"},
    {"ObjectiveDirection", [](const Base& b) { return zkitSetObjective(b.model, b.xa, 0) - 1; },
     "Direction must be 1 (minimise) or -1 (maximise), not 0"},
    {"DirectoryLong",
     [](const Base& b) {
       void* instance = nullptr;
       return zkitModelFinish(b.model, std::string(255, 'd').c_str(), &instance) - 1;
     },
     "The system directory has a name of more than 255 bytes: >" + std::string(255, 'd') + "/<"},
    {"NoPlaceForInstance",
     [](const Base& b) { return zkitModelFinish(b.model, nullptr, nullptr) - 1; },
     "A place for the instance must be given"},
};

class KitWrongCall : public testing::TestWithParam<WrongCall> {};

TEST_P(KitWrongCall, FailsWithItsReasonAndChangesNothing) {
  const Base base;
  EXPECT_EQ(base.model.error(), "");
  EXPECT_EQ(GetParam().call(base), -1);
  EXPECT_EQ(base.model.error(), GetParam().text);

  const Instance instance(base.model);
  EXPECT_EQ(CzlxNLSyms(instance.dictionary()), 4);
  EXPECT_EQ(CzlxNUels(instance.dictionary()), 2);
  EXPECT_EQ(zkitColumns(instance), 3);
  EXPECT_EQ(zkitRows(instance), 2);
  EXPECT_EQ(zkitNonZeros(instance), 2);
  EXPECT_EQ(zkitIntegerColumns(instance), 0);
  EXPECT_EQ(zkitObjectiveColumn(instance), -1);
  EXPECT_EQ(zkitDirection(instance), 1);
  std::array<double, 2> constants{9, 9};
  EXPECT_EQ(CzmiEvalGradNLUpdate(instance, constants.data()), 1);
  EXPECT_EQ(constants, (std::array<double, 2>{}));
}

INSTANTIATE_TEST_SUITE_P(Calls, KitWrongCall, testing::ValuesIn(kWrongCalls),
                         [](const auto& each) { return std::string(each.param.name); });

TEST(KitModel, NullModel_FailsEverywhere) {
  int number = 0;
  void* instance = nullptr;
  const char* label = "a";
  EXPECT_EQ(zkitModelCreate(nullptr, "x"), 0);
  EXPECT_EQ(zkitAddSymbol(nullptr, "x", ZKIT_VARIABLE, 0, "", 0, &number), 0);
  EXPECT_EQ(zkitAddColumn(nullptr, 1, &label, 0, 1, 0, &number), 0);
  EXPECT_EQ(zkitSetColumnInteger(nullptr, 0, 1), 0);
  EXPECT_EQ(zkitAddRow(nullptr, 1, &label, ZKIT_EQUAL, 0, &number), 0);
  EXPECT_EQ(zkitAddCoefficient(nullptr, 0, 0, 1), 0);
  EXPECT_EQ(zkitAddProduct(nullptr, 0, 0, 0, 1), 0);
  EXPECT_EQ(zkitAddConstant(nullptr, 0, 1), 0);
  EXPECT_EQ(zkitSetObjective(nullptr, 0, 1), 0);
  EXPECT_EQ(zkitModelFinish(nullptr, nullptr, &instance), 0);
  EXPECT_EQ(instance, nullptr);
  EXPECT_NE(zkitLastError(nullptr), nullptr);
  zkitModelFree(nullptr);
  zkitModel_t none = nullptr;
  zkitModelFree(&none);
}

TEST(KitModel, Instance_IsAsTheModelWasAndOutlivesIt) {
  auto base = std::make_unique<Base>();
  ASSERT_EQ(zkitSetObjective(base->model, base->xa, -1), 1);
  const Instance first(base->model);
  ASSERT_EQ(zkitSetColumnInteger(base->model, base->xa, 1), 1);
  ASSERT_GE(base->model.column(base->x, {"later"}, 0, 1), 0);
  const Instance second(base->model);
  ASSERT_EQ(zkitSetColumnInteger(base->model, base->xa, 0), 1);
  const Instance third(base->model);
  base.reset();

  EXPECT_EQ(zkitColumns(first), 3);
  EXPECT_EQ(CzmiModelType(first), ZKIT_LP);
  EXPECT_EQ(zkitDirection(first), -1);
  EXPECT_EQ(first.columnName(1), "x(b)");
  EXPECT_EQ(zkitColumns(second), 4);
  EXPECT_EQ(CzmiModelType(second), ZKIT_MIP);
  EXPECT_EQ(zkitIntegerColumns(second), 1);
  EXPECT_EQ(CzmiModelType(third), ZKIT_LP);
  EXPECT_EQ(second.columnName(3), "x(later)");
  EXPECT_EQ(CzmiSetVarLOne(first, 0, 5.0), 1);
  EXPECT_EQ(CzmiGetVarLOne(second, 0), 0.0) << "instances share nothing";
}

TEST(KitModel, RepeatedTerms_AddUpAndVanishAtZero) {
  const Base base;  // two terms
  base.model.add(base.ra, base.xb, 1.5);
  base.model.add(base.total, base.xa, 1);
  base.model.add(base.ra, base.xb, 2.5);
  base.model.add(base.total, base.xa, -1);
  base.model.addProduct(base.ra, base.xa, base.p, 4);  // the parameter may come second
  base.model.addProduct(base.ra, base.p, base.xa, 1);
  base.model.addProduct(base.total, base.xb, base.p, -2);
  const int q = base.model.scalar("q_var", 0, 1, 2);
  base.model.addProduct(base.total, base.p, q, 1);
  base.model.addProduct(base.total, q, base.p, 1);
  base.model.addConstant(base.total, 1);
  base.model.addConstant(base.total, 2);
  const Instance instance(base.model);
  EXPECT_EQ(zkitNonZeros(instance), 4) << "xa and xb and p xa in r(a), p q in total";
  std::array<double, 2> constants{};
  ASSERT_EQ(CzmiEvalGradNLUpdate(instance, constants.data()), 1);
  EXPECT_EQ(constants, (std::array<double, 2>{0, 2 * 6 + 3}));
}

TEST(KitModel, Infinity_IsEverythingFrom1E300) {
  const Model model;
  const int x = model.variable("x", 1);
  ASSERT_EQ(model.column(x, {"a"}, -kHuge, kHuge), 0);
  ASSERT_EQ(model.column(x, {"b"}, -9.9E299, 9.9E299), 1);
  const Instance instance(model);
  EXPECT_EQ(CzmiGetVarLowerOne(instance, 0), -kInf);
  EXPECT_EQ(CzmiGetVarUpperOne(instance, 0), kInf);
  EXPECT_EQ(CzmiGetVarLowerOne(instance, 1), -9.9E299);
  EXPECT_EQ(CzmiGetVarUpperOne(instance, 1), 9.9E299);
}

TEST(KitModel, Names_AreCutToTheBuffer) {
  const Base base;
  const Instance instance(base.model);
  EXPECT_EQ(instance.columnName(base.p), "p_var");
  EXPECT_EQ(instance.rowName(base.ra), "r(a)");
  std::array<char, 8> text{"filled."};
  EXPECT_EQ(zkitColumnName(instance, base.xa, text.data(), 4), 1);
  EXPECT_STREQ(text.data(), "x(a");
  EXPECT_EQ(zkitRowName(instance, 2, text.data(), 8), 0);
  EXPECT_STREQ(text.data(), "");
  EXPECT_EQ(zkitRowName(instance, base.ra, nullptr, 8), 1);
  EXPECT_EQ(zkitColumnName(nullptr, 0, text.data(), 8), 0);
}

TEST(KitModel, Instance_HasNoAnswersForNull) {
  EXPECT_EQ(zkitColumns(nullptr) + zkitRows(nullptr) + zkitNonZeros(nullptr), 0);
  EXPECT_EQ(zkitIntegerColumns(nullptr) + zkitIterations(nullptr), 0);
  EXPECT_EQ(zkitSetModelType(nullptr, ZKIT_LP), 0);
  EXPECT_EQ(zkitModelStatus(nullptr), ZKIT_NO_SOLUTION);
  EXPECT_EQ(zkitObjectiveColumn(nullptr), -1);
  EXPECT_EQ(zkitObjective(nullptr) + zkitSeconds(nullptr), 0.0);
  EXPECT_EQ(zkitSetLog(nullptr, nullptr, nullptr) + zkitSetLimits(nullptr, 1, 1), 0);
  EXPECT_STREQ(zkitSolveMessage(nullptr), "");
  zkitTerminate(nullptr);
  zkitFreeInstance(nullptr);
  for (const int status : {-1, 0, 2, 99}) {
    EXPECT_NE(zkitModelStatusText(status), nullptr);
    EXPECT_NE(zkitSolveStatusText(status), nullptr);
  }
}

TEST(KitModel, Type_CanBeRelaxedAndBack) {
  const Base base;
  const Instance linear(base.model);
  ASSERT_EQ(zkitSetColumnInteger(base.model, base.xa, 1), 1);
  const Instance integer(base.model);
  for (const int type : {ZKIT_RMIP, ZKIT_MIP}) {
    EXPECT_EQ(zkitSetModelType(integer, type), 1);
    EXPECT_EQ(CzmiModelType(integer), type);
  }
  for (const int type : {0, int{ZKIT_LP}, 4}) EXPECT_EQ(zkitSetModelType(integer, type), 0) << type;
  EXPECT_EQ(CzmiModelType(integer), ZKIT_MIP);
  EXPECT_EQ(zkitSetModelType(linear, ZKIT_LP), 1);
}

// Random rows over columns that their bounds fix, so that a solve has nothing to choose and the
// levels of the rows must be what the algebra gives.
class Algebra {
 public:
  explicit Algebra(unsigned seed) : random_(seed) {
    const int x = model_.variable("x", 1);
    const int p = model_.variable("p_var", 1);
    const int r = model_.equation("r", 1);
    for (int j = 0; j < kColumns; ++j) {
      const bool isParameter = j % 2 == 1;
      levels_.push_back(value());
      const double level = levels_.back();
      const int column = model_.column(isParameter ? p : x, {label(j).c_str()}, level, level,
                                       isParameter ? level : 0.0);
      EXPECT_EQ(column, j);
    }
    for (int i = 0; i < kRows; ++i) {
      EXPECT_EQ(model_.row(r, {label(i).c_str()}, ZKIT_FREE, 0), i);
    }
    for (int k = 0; k < kTerms; ++k) addTerm();
  }

  const Model& model() const { return model_; }
  double level(int column) const { return levels_[static_cast<std::size_t>(column)]; }
  void setLevel(int column, double level) { levels_[static_cast<std::size_t>(column)] = level; }
  double value() { return std::uniform_real_distribution<double>(-3, 3)(random_); }

  double rowLevel(int row) const {
    double sum = 0.0;
    for (const Term& term : terms_) {
      if (term.row != row) continue;
      double product = term.value;
      if (term.column1 >= 0) product *= level(term.column1);
      if (term.column2 >= 0) product *= level(term.column2);
      sum += product;
    }
    return sum;
  }

  static constexpr int kColumns = 8;  // the odd ones are parameters
  static constexpr int kRows = 5;

 private:
  static constexpr int kTerms = 60;
  struct Term {
    int row;
    int column1;
    int column2;
    double value;
  };

  static std::string label(int number) { return "l" + std::to_string(number); }
  int any(int count) { return std::uniform_int_distribution<int>(0, count - 1)(random_); }

  void addTerm() {
    Term term = {any(kRows), any(kColumns), any(kColumns), value()};
    const int kind = any(5);
    if (kind == 0) {
      term.column1 = term.column2 = -1;
      model_.addConstant(term.row, term.value);
    } else if (kind <= 2) {
      term.column2 = -1;
      model_.add(term.row, term.column1, term.value);
    } else {
      if (term.column1 % 2 == 0 && term.column2 % 2 == 0) ++term.column1;
      model_.addProduct(term.row, term.column1, term.column2, term.value);
    }
    terms_.push_back(term);
  }

  std::mt19937 random_;
  Model model_;
  std::vector<double> levels_;
  std::vector<Term> terms_;
};

void expectRows(const Algebra& algebra, const Instance& instance, const char* solver) {
  for (int i = 0; i < Algebra::kRows; ++i) {
    EXPECT_NEAR(CzmiGetEquLOne(instance, i), algebra.rowLevel(i), 1e-9) << solver << " row " << i;
  }
}

TEST(KitModel, Rows_HaveTheLevelsOfTheAlgebra_AtAnyLevelsOfTheParameters) {
  for (unsigned seed = 1; seed <= 10; ++seed) {
    for (const char* solver : solversFor(ZKIT_LP)) {
      Algebra algebra(seed);
      const Instance instance(algebra.model());
      ASSERT_EQ(instance.solve(solver), "");
      EXPECT_EQ(zkitModelStatus(instance), ZKIT_OPTIMAL);
      expectRows(algebra, instance, solver);

      for (int j = 1; j < Algebra::kColumns; j += 2) {
        algebra.setLevel(j, algebra.value());
        EXPECT_EQ(CzmiSetVarLOne(instance, j, algebra.level(j)), 1);
      }
      ASSERT_EQ(instance.solve(solver), "");
      expectRows(algebra, instance, solver);

      // The way of the database: it takes the constants to the right-hand sides itself.
      algebra.setLevel(1, 0.0);
      EXPECT_EQ(CzmiSetVarLOne(instance, 1, 0.0), 1);
      instance.updateLinear();
      EXPECT_EQ(CzmiAltRHSSet(instance, 1), 1);
      EXPECT_EQ(CzmiForceLinearSet(instance, 1), 1);
      ASSERT_EQ(instance.solve(solver), "");
      expectRows(algebra, instance, solver);
    }
  }
}

}  // namespace
