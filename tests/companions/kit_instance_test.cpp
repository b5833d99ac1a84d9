// The calls on an instance, each with what it does, and with arguments that are wrong.
#include <functional>

#include "kit_testing.h"

namespace {

using namespace kittest;

TEST(KitInstance, NewOne_ShowsTheModelAndNoSolution) {
  const Shop shop;
  const Instance instance(shop.model);
  EXPECT_EQ(CzmiN(instance), 5);
  EXPECT_EQ(CzmiM(instance), 2);
  EXPECT_EQ(CzmiModelType(instance), ZKIT_LP);
  EXPECT_EQ(CzmiGetVarLOne(instance, shop.a), 1.5);
  EXPECT_EQ(CzmiGetVarLOne(instance, shop.need), 10);
  EXPECT_EQ(CzmiGetVarLowerOne(instance, shop.a), 0);
  EXPECT_EQ(CzmiGetVarUpperOne(instance, shop.a), 6);
  EXPECT_EQ(CzmiGetVarUpperOne(instance, shop.b), kInf);
  EXPECT_EQ(CzmiGetVarLowerOne(instance, shop.cost), -kInf);
  EXPECT_EQ(CzmiGetRhsOne(instance, shop.costs), 2) << "constants stay on the left";
  EXPECT_EQ(CzmiGetEquTypeOne(instance, shop.costs), ZKIT_EQUAL);
  EXPECT_EQ(CzmiGetEquTypeOne(instance, shop.needs), ZKIT_GREATER);
  EXPECT_EQ(CzmiGetVarScaleOne(instance, shop.a), 1);
  EXPECT_EQ(CzmiGetEquScaleOne(instance, shop.needs), 1);
  EXPECT_EQ(zkitObjectiveColumn(instance), shop.cost);
  EXPECT_EQ(zkitModelStatus(instance), ZKIT_NO_SOLUTION);
  EXPECT_EQ(zkitSolveStatus(instance), 0);
}

TEST(KitInstance, SolutionValues_AreReadAsTheyWereSet) {
  const Shop shop;
  const Instance instance(shop.model);
  const Record ofColumn = {1, -2, ZKIT_LEVEL_NOT_OPTIMAL, ZKIT_AT_UPPER};
  const Record ofRow = {3, 4, ZKIT_LEVEL_OK, ZKIT_SUPER_BASIC};
  EXPECT_EQ(CzmiSetSolutionVarRec(instance, shop.b, 1, -2, ZKIT_LEVEL_NOT_OPTIMAL, ZKIT_AT_UPPER),
            1);
  EXPECT_EQ(CzmiSetSolutionEquRec(instance, shop.needs, 3, 4, ZKIT_LEVEL_OK, ZKIT_SUPER_BASIC), 1);
  EXPECT_EQ(columnRecord(instance, shop.b), ofColumn);
  EXPECT_EQ(rowRecord(instance, shop.needs), ofRow);
  EXPECT_EQ(CzmiGetVarStatOne(instance, shop.b), ZKIT_LEVEL_NOT_OPTIMAL);
  EXPECT_EQ(CzmiGetVarCStatOne(instance, shop.b), ZKIT_AT_UPPER);
  EXPECT_EQ(CzmiGetEquStatOne(instance, shop.needs), ZKIT_LEVEL_OK);
  EXPECT_EQ(CzmiGetEquCStatOne(instance, shop.needs), ZKIT_SUPER_BASIC);

  EXPECT_EQ(CzmiSetVarLOne(instance, shop.b, 7), 1);
  EXPECT_EQ(CzmiSetEquLOne(instance, shop.needs, 8), 1);
  EXPECT_EQ(columnRecord(instance, shop.b), (Record{7, -2, 1, 1})) << "the level alone";
  EXPECT_EQ(rowRecord(instance, shop.needs), (Record{8, 4, 0, 3}));

  std::array<double, 5> columns{};
  std::array<double, 2> rows{};
  EXPECT_EQ(CzmiGetVarL(instance, columns.data()), 1);
  EXPECT_EQ(columns, (std::array<double, 5>{1.5, 7, 3, 10, 0}));
  EXPECT_EQ(CzmiGetVarM(instance, columns.data()), 1);
  EXPECT_EQ(columns, (std::array<double, 5>{0, -2, 0, 0, 0}));
  EXPECT_EQ(CzmiGetEquL(instance, rows.data()), 1);
  EXPECT_EQ(rows, (std::array<double, 2>{0, 8}));
  EXPECT_EQ(CzmiGetEquM(instance, rows.data()), 1);
  EXPECT_EQ(rows, (std::array<double, 2>{0, 4}));

  EXPECT_EQ(CzmiModelStatSet(instance, ZKIT_ERROR_NO_SOLUTION), 1);
  EXPECT_EQ(CzmiSolveStatSet(instance, ZKIT_ITERATION_LIMIT), 1);
  EXPECT_EQ(zkitModelStatus(instance), ZKIT_ERROR_NO_SOLUTION);
  EXPECT_EQ(zkitSolveStatus(instance), ZKIT_ITERATION_LIMIT);
}

TEST(KitInstance, AlternativeBounds_ShowWhileTheyAreOn_WithInfinitiesOfTheClient) {
  const Shop shop;
  const Instance instance(shop.model);
  const auto bounds = [&](int column) {
    return std::pair(CzmiGetVarLowerOne(instance, column), CzmiGetVarUpperOne(instance, column));
  };
  EXPECT_EQ(CzmiSetAltVarLowerOne(instance, shop.a, -1E300), 1);
  EXPECT_EQ(CzmiSetAltVarUpperOne(instance, shop.b, 4), 1);
  EXPECT_EQ(bounds(shop.a), std::pair(0.0, 6.0));
  EXPECT_EQ(bounds(shop.b), std::pair(0.0, kInf));
  EXPECT_EQ(CzmiAltBoundsSet(instance, 1), 1);
  EXPECT_EQ(bounds(shop.a), std::pair(-kInf, 6.0));
  EXPECT_EQ(bounds(shop.b), std::pair(0.0, 4.0));
  EXPECT_EQ(CzmiPinfSet(instance, 3E20), 1);
  EXPECT_EQ(CzmiMinfSet(instance, -4E20), 1);
  EXPECT_EQ(bounds(shop.a), std::pair(-4E20, 6.0));
  EXPECT_EQ(CzmiAltBoundsSet(instance, 0), 1);
  EXPECT_EQ(bounds(shop.b), std::pair(0.0, 3E20));
}

TEST(KitInstance, View_ComesBackAsItWasStored) {
  const Shop shop;
  const Instance instance(shop.model);
  EXPECT_EQ(CzmiViewRestore(instance), 0) << "none was stored";
  EXPECT_EQ(CzmiSetAltVarUpperOne(instance, shop.a, 1), 1);
  EXPECT_EQ(CzmiSetAltRHSOne(instance, shop.costs, -9), 1);
  EXPECT_EQ(CzmiAltBoundsSet(instance, 1), 1);
  EXPECT_EQ(CzmiViewStore(instance), 1);
  EXPECT_EQ(CzmiAltBoundsSet(instance, 0), 1);
  EXPECT_EQ(CzmiAltRHSSet(instance, 1), 1);
  EXPECT_EQ(CzmiGetVarUpperOne(instance, shop.a), 6);
  EXPECT_EQ(CzmiGetRhsOne(instance, shop.costs), -9);
  EXPECT_EQ(CzmiSetVarLOne(instance, shop.a, 5), 1);
  EXPECT_EQ(CzmiViewRestore(instance), 1);
  EXPECT_EQ(CzmiGetVarUpperOne(instance, shop.a), 1);
  EXPECT_EQ(CzmiGetRhsOne(instance, shop.costs), 2);
  EXPECT_EQ(CzmiGetVarLOne(instance, shop.a), 5) << "levels are no matter of the view";
  EXPECT_EQ(CzmiViewRestore(instance), 0) << "once only";
}

TEST(KitInstance, GradientUpdate_GivesTheConstantsAtTheParametersLevels) {
  const Shop shop;
  shop.model.addProduct(shop.needs, shop.p, shop.need, 2);
  shop.model.addProduct(shop.needs, shop.p, shop.p, 1);
  const Instance instance(shop.model);
  std::array<double, 2> constants{};
  EXPECT_EQ(CzmiEvalGradNLUpdate(instance, constants.data()), 1);
  EXPECT_EQ(constants, (std::array<double, 2>{-3, -10 + 2 * 30 + 9}));
  EXPECT_EQ(CzmiSetVarLOne(instance, shop.p, -1), 1);
  EXPECT_EQ(CzmiSetVarLOne(instance, shop.b, 50), 1);
  EXPECT_EQ(CzmiEvalGradNLUpdate(instance, constants.data()), 1);
  EXPECT_EQ(constants, (std::array<double, 2>{-3, -10 - 2 * 10 + 1}));
}

double asNumber(double value) {
  return value;
}

// Calls that name a row or column; each gives 0 if there is none of the number.
const std::function<double(void*, int)> kNumberedCalls[] = {
    [](void* h, int k) { return asNumber(CzmiGetVarLOne(h, k)); },
    [](void* h, int k) { return asNumber(CzmiGetVarLowerOne(h, k)); },
    [](void* h, int k) { return asNumber(CzmiGetVarUpperOne(h, k)); },
    [](void* h, int k) { return asNumber(CzmiGetVarScaleOne(h, k)); },
    [](void* h, int k) { return asNumber(CzmiGetEquLOne(h, k)); },
    [](void* h, int k) { return asNumber(CzmiGetRhsOne(h, k)); },
    [](void* h, int k) { return asNumber(CzmiGetEquScaleOne(h, k)); },
    [](void* h, int k) { return CzmiGetEquTypeOne(h, k); },
    [](void* h, int k) { return CzmiGetVarStatOne(h, k); },
    [](void* h, int k) { return CzmiGetVarCStatOne(h, k); },
    [](void* h, int k) { return CzmiGetEquStatOne(h, k); },
    [](void* h, int k) { return CzmiGetEquCStatOne(h, k); },
    [](void* h, int k) { return CzmiSetVarLOne(h, k, 1); },
    [](void* h, int k) { return CzmiSetAltVarLowerOne(h, k, 1); },
    [](void* h, int k) { return CzmiSetAltVarUpperOne(h, k, 1); },
    [](void* h, int k) { return CzmiSetEquLOne(h, k, 1); },
    [](void* h, int k) { return CzmiSetAltRHSOne(h, k, 1); },
    [](void* h, int k) { return CzmiSetSolutionVarRec(h, k, 1, 1, 1, 1); },
    [](void* h, int k) { return CzmiSetSolutionEquRec(h, k, 1, 1, 1, 1); },
    [](void* h, int k) {
      Record r;
      return CzmiGetSolutionVarRec(h, k, &r.level, &r.marginal, &r.status, &r.basis);
    },
    [](void* h, int k) {
      Record r;
      return CzmiGetSolutionEquRec(h, k, &r.level, &r.marginal, &r.status, &r.basis);
    },
};

TEST(KitInstance, RowsAndColumnsThatAreNotThere_GiveZero) {
  const Shop shop;
  const Instance instance(shop.model);
  for (std::size_t call = 0; call < std::size(kNumberedCalls); ++call) {
    EXPECT_EQ(kNumberedCalls[call](nullptr, 0), 0) << call;
    for (const int number : {-1, 5, std::numeric_limits<int>::min(), 0x7fffffff}) {
      EXPECT_EQ(kNumberedCalls[call](instance, number), 0) << call << " with " << number;
    }
  }
}

TEST(KitInstance, NullHandlesAndArrays_GiveZero) {
  const std::function<int(void*)> calls[] = {
      CzmiN,
      CzmiM,
      CzmiModelType,
      CzmiViewStore,
      CzmiViewRestore,
      [](void* h) { return CzmiPinfSet(h, 1); },
      [](void* h) { return CzmiMinfSet(h, 1); },
      [](void* h) { return CzmiAltBoundsSet(h, 1); },
      [](void* h) { return CzmiAltRHSSet(h, 1); },
      [](void* h) { return CzmiForceLinearSet(h, 1); },
      [](void* h) { return CzmiModelStatSet(h, 1); },
      [](void* h) { return CzmiSolveStatSet(h, 1); },
  };
  for (const auto& call : calls) EXPECT_EQ(call(nullptr), 0);
  EXPECT_EQ(CzmiDict(nullptr), nullptr);
  EXPECT_EQ(CzmiEnvironment(nullptr), nullptr);
  const Shop shop;
  const Instance instance(shop.model);
  std::array<double, 5> values{};
  for (const auto call :
       {CzmiGetVarL, CzmiGetVarM, CzmiGetEquL, CzmiGetEquM, CzmiEvalGradNLUpdate}) {
    EXPECT_EQ(call(nullptr, values.data()), 0);
    EXPECT_EQ(call(instance, nullptr), 0);
  }
  Record r;
  EXPECT_EQ(CzmiGetSolutionVarRec(instance, 0, nullptr, &r.marginal, &r.status, &r.basis), 0);
  EXPECT_EQ(CzmiGetSolutionEquRec(instance, 0, &r.level, &r.marginal, &r.status, nullptr), 0);
}

}  // namespace
