// Solutions that a solver keeps until somebody reads them: at whatever time that is, they are those
// of an instance that is read after each solve.
#include <functional>
#include <memory>

#include "companions/kit/testing.h"

namespace {

using namespace zdb::test::kit;

double uniform(std::mt19937& random, double low, double high) {
  return std::uniform_real_distribution<double>(low, high)(random);
}

std::string text(double value) {
  return std::to_string(value);
}

// Prices of all columns are parameters, and so are the size of the first row and the fee. With
// numbers like these there is one best corner. The last column has no upper bound and is in the
// first row only, so that some of its prices have none; the other rows may exclude each other.
std::string pricedModel(std::mt19937& random) {
  std::string columns = "fee_var 2 2 2 ; size_var 9 9 9 ; cost -inf inf ; min cost";
  std::string costs = " ; costs: cost - fee_var";
  std::string rows[] = {" ; e(0): -1 size_var", " ; e(1): 0", " ; e(2): 0"};
  for (int j = 0; j < 5; ++j) {
    const std::string x = "x(" + std::to_string(j) + ")";
    const std::string price = "p_var(" + std::to_string(j) + ")";
    columns += " ; " + x + " 0 " + (j < 4 ? text(uniform(random, 3, 9)) : "inf");
    columns += " ; " + price + " 1 1 " + text(uniform(random, 1, 5));
    costs.append(" - ").append(price).append("*").append(x);
    for (int i = 0; i < (j < 4 ? 3 : 1); ++i) {
      rows[i] += " + " + text(uniform(random, 0.5, 3)) + " " + x;
    }
  }
  return columns + costs + " = 0" + rows[0] + " >= 0" + rows[1] + " >= 7" + rows[2] + " <= 40";
}

// An instance and a solver that keeps its problem.
struct Side {
  Side(const Model& model, const char* solver)
      : instance(model), hot(std::make_unique<Hot>(solver)) {
    CzmiAltBoundsSet(instance, 1);
    CzmiAltRHSSet(instance, 1);
  }
  Instance instance;
  std::unique_ptr<Hot> hot;
};

// More often a price than anything else: some without a best corner, or without a feasible one.
std::function<void(void*)> someChange(const Model& model, std::mt19937& random) {
  const std::string number = "(" + std::to_string(random() % 5) + ")";
  switch (random() % 8) {
    case 0:
      return [size = uniform(random, 2, 12), at = model["size_var"]](void* instance) {
        CzmiSetVarLOne(instance, at, size);
      };
    case 1:
      return [most = uniform(random, 1, 20), at = model["e(2)"]](void* instance) {
        CzmiSetAltRHSOne(instance, at, most);
      };
    case 2:
      return [most = uniform(random, 0, 9), at = model["x" + number]](void* instance) {
        CzmiSetAltVarUpperOne(instance, at, most);
      };
    case 3:
      return [fee = uniform(random, 0, 9), at = model["fee_var"]](void* instance) {
        CzmiSetVarLOne(instance, at, fee);
      };
    default:
      return [price = uniform(random, random() % 4 == 0 ? -3 : 1, 5), at = model["p_var" + number]](
                 void* instance) { CzmiSetVarLOne(instance, at, price); };
  }
}

void expectSame(const Instance& read, const Instance& unread) {
  const auto expectNear = [&](auto get, int number) {
    const Entry a = entryOf(get, read, number);
    const Entry b = entryOf(get, unread, number);
    EXPECT_NEAR(a.level, b.level, kTolerance) << number;
    EXPECT_NEAR(a.marginal, b.marginal, kTolerance) << number;
    EXPECT_EQ(a.status, b.status) << number;
    EXPECT_EQ(a.basis, b.basis) << number;
  };
  for (int i = CzmiM(read); i-- > 0;) expectNear(CzmiGetSolutionEquRec, i);
  for (int j = 0; j < CzmiN(read); ++j) expectNear(CzmiGetSolutionVarRec, j);
}

// What does not wait for the next reader either, or only touches a part.
void disturb(const std::vector<Side*>& sides, const Model& model, const char* solver,
             std::mt19937& random) {
  const auto kind = random() % 12;
  const double level = uniform(random, 0, 3);
  for (Side* side : sides) {
    void* instance = side->instance;
    if (kind == 0) CzmiSetVarLOne(instance, model["x(1)"], level);
    if (kind == 1) CzmiSetEquLOne(instance, model["e(1)"], level);
    if (kind == 2) CzmiSetSolutionVarRec(instance, model["cost"], level, level, 1, 0);
    if (kind == 3) CzmiSetSolutionVarRec(instance, model["p_var(2)"], level + 1, level, 1, 0);
    if (kind == 4) zkitSetDirection(instance, zkitDirection(instance));
    if (kind == 5) side->hot = std::make_unique<Hot>(solver);
    if (kind == 6) side->instance.solve(solver);
    if (kind == 7) {
      std::vector<double> constants(CzmiM(instance));
      CzmiSetVarLOne(instance, model["size_var"], level);
      CzmiEvalGradNLUpdate(instance, constants.data());
    }
    if (kind == 8) {
      const Instance other(model);
      EXPECT_EQ(side->hot->solve(other), 0);
      EXPECT_EQ(zkitModelStatus(other), ZKIT_OPTIMAL);
    }
  }
}

TEST(KitUnread, SolutionsAtAnyTime_AreThoseOfAnInstanceThatIsReadAfterEachSolve) {
  std::map<int, int> statuses;
  for (const char* solver : solvers()) {
    std::mt19937 random(5);
    for (int k = 0; k < 12 && !testing::Test::HasFailure(); ++k) {
      const Model model(pricedModel(random));
      Side read(model, solver);
      Side unread(model, solver);
      for (int step = 0; step < 40 && !testing::Test::HasFailure(); ++step) {
        SCOPED_TRACE(std::string(solver) + ", model " + std::to_string(k) + ", step " +
                     std::to_string(step));
        for (const Side* side : {&read, &unread}) EXPECT_EQ(side->hot->solve(side->instance), 0);
        entryOf(CzmiGetSolutionEquRec, read.instance, 0);
        EXPECT_EQ(zkitModelStatus(read.instance), zkitModelStatus(unread.instance));
        EXPECT_NEAR(zkitObjective(read.instance), zkitObjective(unread.instance), kTolerance);
        ++statuses[zkitModelStatus(read.instance)];
        if (random() % 4 == 0) disturb({&read, &unread}, model, solver, random);
        if (random() % 3 == 0) expectSame(read.instance, unread.instance);
        const std::function<void(void*)> change = someChange(model, random);
        for (const Side* side : {&read, &unread}) change(side->instance);
        if (random() % 5 == 0) expectSame(read.instance, unread.instance);
      }
    }
  }
  for (const int status : {ZKIT_OPTIMAL, ZKIT_UNBOUNDED, ZKIT_INFEASIBLE}) {
    EXPECT_GT(statuses[status], 20) << zkitModelStatusText(status);
  }
}

}  // namespace
