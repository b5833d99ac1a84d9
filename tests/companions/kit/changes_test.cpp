// Numbers of model files changed by name, in place and with the solver's last basis, beside files
// with the number changed and solved from scratch.
#include <cmath>
#include <set>

#include "companions/kit/testing.h"

namespace {

using namespace zdb::test::kit;

// The same model in each format: in MPS and LP without the params. Its optimum is one corner.
constexpr const char* kMps = R"(NAME FOOD
ROWS
 N cost
 G need[energy]
 G need[protein]
 L room
 E salt
 L spare
COLUMNS
 buy[bread] cost 2.03 need[energy] 4
 buy[bread] need[protein] 1 room 1
 buy[bread] salt 1
 buy[milk] cost 3.07 need[energy] 3
 buy[milk] need[protein] 2 room 1
 buy[meat] cost 8.11 need[energy] 6
 buy[meat] need[protein] 5 room 1
 buy[meat] salt 0.5
RHS
 rhs need[energy] 24.1 need[protein] 13.3
 rhs room 9 salt 1
 rhs cost 5
RANGES
 rng salt 4.5
BOUNDS
 LO bnd buy[bread] 0.5
 UP bnd buy[bread] 5
 UP bnd buy[milk] 4
ENDATA
)";

constexpr const char* kLp = R"(min
 cost: 2.03 buy(bread) + 3.07 buy(milk) + 8.11 buy(meat)
st
 need(energy): 4 buy(bread) + 3 buy(milk) + 6 buy(meat) >= 24.1
 need(protein): buy(bread) + 2 buy(milk) + 5 buy(meat) >= 13.3
 room: buy(bread) + buy(milk) + buy(meat) <= 9
 idle: buy(meat) <= 90
bounds
 0.5 <= buy(bread) <= 5
 buy(milk) <= 4
end
)";

constexpr const char* kMod = R"(set F; set N;
param price{F}, >= 0, default 8.11;  # of a unit
param amount{n in N,
  f in F} >= 0;
param need{N}; param size >= 1; param top{f in F} := if f = 'milk'
  then size else 5;
param low{f in F: f <> 'meat'}, := if f = 'bread' then .5 else 0;
set PAIRS dimen 2 := setof{n in N, f in F} (n, f);
param loss{PAIRS} default 0;
param fee := 1 + 4;
var buy{f in F} >= if f = 'meat' then 0 else low[f], <= if f = 'meat' then 1e30 else top[f];
minimize cost: sum{f in F} price[f] * buy[f] + fee;
s.t. enough{n in N}: sum{f in F} (amount[n,f] - loss[n,f]) * buy[f] >= need[n];
room: sum{f in F} buy[f] <= 9;
salt: 1 <= buy['bread'] + 0.5 * buy['meat'] <= 5.5;
solve;
printf "%s", "not for us";
data;
param : F : price := bread 2.03 milk 3.07 meat . ;
param size := 4;
param : N : need := energy 24.1
  protein 13.3 ;
param amount : bread milk meat :=
  energy 4 3 6
  protein 1 2 5 ;
end;
)";

std::string replaced(std::string text, const std::string& what, const std::string& by) {
  const std::size_t at = text.find(what);
  EXPECT_NE(at, std::string::npos) << what;
  return at == std::string::npos ? text : text.replace(at, what.size(), by);
}

// What a text is read with, beside it: names of changes, and values of params.
struct Reading {
  std::vector<const char*> changes = {};
  std::vector<std::pair<const char*, double>> params = {};
  std::vector<std::vector<std::pair<const char*, double>>> variants = {};
  const char* data = nullptr;  // of a file beside the model
};

class GivenParams {
 public:
  explicit GivenParams(const std::vector<std::pair<const char*, double>>& params) {
    for (const auto& [name, value] : params) {
      names_.push_back(name);
      values_.push_back(value);
    }
  }
  zkitParams get() const {
    return {static_cast<int>(names_.size()), names_.data(), values_.data()};
  }

 private:
  std::vector<const char*> names_;
  std::vector<double> values_;
};

void* read(const std::string& name, const std::string& text, const Reading& reading = {}) {
  const GivenParams own(reading.params);
  const std::vector<GivenParams> given(reading.variants.begin(), reading.variants.end());
  const zkitParams params = own.get();
  std::vector<zkitParams> variants;
  variants.reserve(given.size());
  for (const GivenParams& each : given) variants.push_back(each.get());
  zkitReadOptions options = {};
  options.size = sizeof options;
  options.file = name.c_str();
  options.text = text.data();
  options.textSize = static_cast<long long>(text.size());
  options.systemDirectory = KIT_DIRECTORY;
  options.changes = reading.changes.data();
  options.changeCount = static_cast<int>(reading.changes.size());
  options.params = &params;
  options.variants = variants.data();
  options.variantCount = static_cast<int>(variants.size());
  options.dataText = reading.data;
  options.dataTextSize = -1;
  void* instance = nullptr;
  char message[1000] = "";
  EXPECT_EQ(zkitReadModelWith(&options, &instance, message, sizeof message), 1) << message;
  return instance;
}

// Rows and columns of a model keep their numbers when what changes is asked for.
void expectSameSolution(void* changed, void* fresh) {
  ASSERT_EQ(zkitModelStatus(changed), zkitModelStatus(fresh));
  if (zkitModelStatus(fresh) != ZKIT_OPTIMAL && zkitModelStatus(fresh) != ZKIT_INTEGER_SOLUTION) {
    return;
  }
  const auto expectNear = [](double a, double b) {
    EXPECT_NEAR(a, b, kTolerance * std::max(1.0, std::abs(b)));
  };
  expectNear(zkitObjective(changed), zkitObjective(fresh));
  char name[ZKIT_TEXT_SIZE] = "";
  for (int j = 0; zkitColumnName(fresh, j, name, sizeof name) == 1; ++j) {
    SCOPED_TRACE(name);
    const Entry entry = entryOf(&CzmiGetSolutionVarRec, fresh, j);
    expectNear(entryOf(&CzmiGetSolutionVarRec, changed, j).level, entry.level);
    expectNear(entryOf(&CzmiGetSolutionVarRec, changed, j).marginal, entry.marginal);
  }
  for (int i = 0; zkitRowName(fresh, i, name, sizeof name) == 1; ++i) {
    SCOPED_TRACE(name);
    const Entry entry = entryOf(&CzmiGetSolutionEquRec, fresh, i);
    expectNear(entryOf(&CzmiGetSolutionEquRec, changed, i).level, entry.level);
    expectNear(entryOf(&CzmiGetSolutionEquRec, changed, i).marginal, entry.marginal);
  }
}

struct Case {
  const char* name;
  std::vector<const char*> labels;
  double value;
  const char* before;  // in the text
  const char* after;
};

// Sets a value, solves, takes it back and solves: as the other file, then as the file.
void expectChangesAsText(const std::string& file, const std::string& text,
                         const std::vector<Case>& cases, const std::vector<const char*>& solvers) {
  for (const char* solver : solvers) {
    const Instance plain(read(file, text));
    EXPECT_EQ(plain.solve(solver), "");
    for (const auto& [name, labels, value, before, after] : cases) {
      SCOPED_TRACE(file + ", " + solver + ", " + name + " = " + std::to_string(value));
      const Instance instance(read(file, text, {{name}}));
      const Hot hot(solver);
      EXPECT_EQ(hot.solve(instance), 0);
      expectSameSolution(instance, plain);
      char message[ZKIT_TEXT_SIZE] = "";
      EXPECT_EQ(zkitSetChange(instance, 0, labels.data(), static_cast<int>(labels.size()), value,
                              message, sizeof message),
                1)
          << message;
      EXPECT_EQ(hot.solve(instance), 0);
      const Instance fresh(read(file, replaced(text, before, after)));
      EXPECT_EQ(fresh.solve(solver), "");
      expectSameSolution(instance, fresh);
      EXPECT_NE(zkitObjective(fresh), zkitObjective(plain));
      EXPECT_EQ(zkitUseVariant(instance, -1), 1);
      EXPECT_EQ(hot.solve(instance), 0);
      expectSameSolution(instance, plain);
    }
  }
}

const std::vector<const char*> kLpSolvers = {"clp", "glpk"};

TEST(KitChanges, NumbersOfMpsFiles_SolveAsChangedFiles) {
  expectChangesAsText(
      "food.mps", kMps,
      {{"need[protein].rhs", {}, 15, "need[protein] 13.3", "need[protein] 15"},
       {"need.rhs", {"Protein"}, 1, "need[protein] 13.3", "need[protein] 1"},
       {"cost.rhs", {}, -7, "rhs cost 5", "rhs cost -7"},
       {"buy[bread].lo", {}, 4.75, "LO bnd buy[bread] 0.5", "LO bnd buy[bread] 4.75"},
       {"buy.up", {"milk"}, 1, "UP bnd buy[milk] 4", "UP bnd buy[milk] 1"},
       {"buy.up", {"milk"}, kInf, "UP bnd buy[milk] 4", "PL bnd buy[milk]"},
       {"buy.fx", {"meat"}, 2, "BOUNDS", "BOUNDS\n FX bnd buy[meat] 2"},
       {"buy[meat].cost", {}, 5, "buy[meat] cost 8.11", "buy[meat] cost 5"},
       {"need[energy].coef[buy,milk]", {}, 1.2, "need[energy] 3", "need[energy] 1.2"},
       {"need.coef[buy]", {"energy", "milk"}, 9.3, "need[energy] 3", "need[energy] 9.3"},
       {"need.coef[buy,milk]", {"energy"}, 9.3, "need[energy] 3", "need[energy] 9.3"},
       {"salt.coef[buy[milk]]",
        {},
        1,
        "buy[meat] cost 8.11",
        "buy[milk] salt 1\n buy[meat] cost 8.11"},
       {"cost.coef[buy]", {"milk"}, 1, "buy[milk] cost 3.07", "buy[milk] cost 1"},
       {"salt.up", {}, 1.5, "rng salt 4.5", "rng salt 0.5"},
       {"room.rhs", {}, 1, "rhs room 9", "rhs room 1"}},
      kLpSolvers);
}

TEST(KitChanges, NumbersOfLpFiles_SolveAsChangedFiles) {
  expectChangesAsText(
      "food.lp", kLp,
      {{"need.rhs", {"energy"}, 30, ">= 24.1", ">= 30"},
       {"buy.lo", {"meat"}, 3, "bounds", "bounds\n buy(meat) >= 3"},
       {"buy(milk).up", {}, 0.5, "milk) <= 4", "milk) <= 0.5"},
       {"buy.fx", {"bread"}, 1, "0.5 <= buy(bread) <= 5", "buy(bread) = 1"},
       {"buy.cost", {"milk"}, -1, "+ 3.07 buy(milk) + 8.11", "- 1 buy(milk) + 8.11"},
       {"room.coef(buy,milk)",
        {},
        2,
        "buy(bread) + buy(milk) + buy(meat) <=",
        "buy(bread) + 2 buy(milk) + buy(meat) <="}},
      kLpSolvers);
}

TEST(KitChanges, NumbersOfMathProgFiles_SolveAsChangedFiles) {
  expectChangesAsText("food.mod", kMod,
                      {{"enough.rhs", {"protein"}, 15, "protein 13.3", "protein 15"},
                       {"cost.rhs", {}, 2, "1 + 4", "2"},
                       {"buy.lo", {"bread"}, 4.75, "then .5", "then 4.75"},
                       {"buy.up", {"milk"}, 1, "size := 4", "size := 1"},
                       {"buy.cost", {"milk"}, 1, "milk 3.07", "milk 1"},
                       {"salt.fx", {}, 1.5, "<= 5.5", "<= 1.5"},
                       {"enough.coef[buy]", {"protein", "meat"}, 3, "1 2 5", "1 2 3"}},
                      kLpSolvers);
}

TEST(KitChanges, IntegerColumns_SolveAsChangedFiles) {
  const std::string text = replaced(kMod, "var buy{f in F}", "var buy{f in F} integer");
  expectChangesAsText("food.mod", text,
                      {{"enough.rhs", {"protein"}, 15.5, "protein 13.3", "protein 15.5"},
                       {"buy.up", {"milk"}, 1.5, "size := 4", "size := 1.5"},
                       {"buy.cost", {"milk"}, 0.5, "milk 3.07", "milk 0.5"}},
                      mipSolvers());
}

// Beside values in the data, which stand in tables of several forms, params have defaults,
// expressions, conditions, and indices without names.
TEST(KitChanges, ParamsOfMathProgFiles_SolveAsChangedFiles) {
  const struct {
    std::vector<std::pair<const char*, double>> params;
    const char* before;
    const char* after;
  } cases[] = {
      {{{"price[milk]", 1}}, "milk 3.07", "milk 1"},
      {{{"price[meat]", 2}}, "meat .", "meat 2"},
      {{{"size", 1.5}}, "size := 4", "size := 1.5"},
      {{{"fee", -2}}, "1 + 4", "-2"},
      {{{"top['milk']", 1}}, "then size", "then 1"},
      {{{"low(bread)", 4.75}}, "then .5", "then 4.75"},
      {{{"need[energy]", 30}, {"need[protein]", 15}}, "24.1\n  protein 13.3", "30\n  protein 15"},
      {{{"amount[protein,meat]", 0}}, "1 2 5", "1 2 0"},
      {{{"loss[energy,bread]", 1}},
       "loss{PAIRS} default 0",
       "loss{(n,f) in PAIRS} := if n = 'energy' and f = 'bread' then 1 else 0"}};
  Reading all;
  for (const auto& [params, before, after] : cases) all.variants.push_back(params);
  for (const char* solver : kLpSolvers) {
    const Instance plain(read("food.mod", kMod));
    EXPECT_EQ(plain.solve(solver), "");
    const Instance instance(read("food.mod", kMod, all));
    const Hot hot(solver);
    for (int v = 0; const auto& [params, before, after] : cases) {
      SCOPED_TRACE(std::string(solver) + ", " + params.front().first);
      char message[ZKIT_TEXT_SIZE] = "";
      EXPECT_EQ(zkitVariantState(instance, v, message, sizeof message), ZKIT_VARIANT_FITS)
          << message;
      EXPECT_EQ(zkitUseVariant(instance, v++), 1);
      EXPECT_EQ(hot.solve(instance), 0);
      const Instance fresh(read("food.mod", replaced(kMod, before, after)));
      EXPECT_EQ(fresh.solve(solver), "");
      expectSameSolution(instance, fresh);
      EXPECT_NE(zkitObjective(fresh), zkitObjective(plain));
      const Instance other(read("food.mod", kMod, {{}, params}));
      EXPECT_EQ(other.solve(solver), "");
      expectSameSolution(other, fresh);
    }
    EXPECT_EQ(zkitUseVariant(instance, -1), 1);
    EXPECT_EQ(hot.solve(instance), 0);
    expectSameSolution(instance, plain);
  }
}

// Declarations and data in all their forms; what depends on a value follows.
TEST(KitChanges, ParamsDeclaredInAnyWay_SolveAsChangedFiles) {
  const std::string blocks = R"(set S := {'param','data','end'};
for {s in S} { printf "%s;", s; for {t in S: t = 'end'} display t; }
param w 'alias' {S}, default 1; check {s in S}: w[s] > 0;
var x{s in S} >= w[s];
minimize z: sum{s in S} x[s] * (if s = 'end' then 2 else 1);
solve;
data;
param w := 'param' 4
 data 5;
end;)";
  const std::string tables =
      R"(set A; set B; param c{A,B}; param cc{a in A, B}; param e{A,B,A} default 0;
var x{A,B} >= 1; minimize z: sum{a in A, b in B} x[a,b] * (c[a,b] + cc[a,b] + sum{k in A} e[a,b,k]);
data; set A := c cc; set B := u v;
param c (tr) : c cc := u 1 2 v 3 4;
param default 5 : cc := c u 6 cc v 7;
param e := [c,*,*] : c cc := u 5 6 v 7 8 [*,u,c] cc 8;
end;)";
  const std::string tuples =
      R"(set L dimen 2 := {('a','b'),('b','c'),('a','c')}; set N := {'a','b','c'};
param f{L} := 2; param g{i in N, (i,j) in L: j <> 'b'}, integer := 3;
param h{('a',j) in L, N} default 1;
var x >= sum{(i,j) in L} f[i,j] + sum{i in N, (i,j) in L: j <> 'b'} g[i,j]
  + sum{('a',j) in L, m in N} h[j,m];
minimize z: x; end;)";
  const std::string own = R"(param T := 6; param p{t in 1..T} := if t = 1 then 1 else 2 * p[t-1];
param q{t in 1..T}, default if t = 1 then 1 else q[t-1] + 1, <= 99;
param b binary := 0; param bb := 2; param b_ := b * 3;  # so many
var x >= p[T] + q[T] + 2 ** bb + b_ + b; minimize z: x;  # the end)";
  const struct {
    const std::string& text;
    std::vector<std::pair<const char*, double>> params;
    const char* before;
    const char* after;
  } cases[] = {
      {blocks, {{"w[data]", 2}, {"w[end]", 3}}, "data 5;", "data 2 'end' 3;"},
      {tables, {{"c[cc,v]", 40}, {"c[c,u]", 0}}, "u 1 2 v 3 4", "u 0 2 v 3 40"},
      {tables, {{"cc[c,u]", 60}, {"cc[c,v]", 1}}, "c u 6", "c u 60 c v 1"},
      {tables, {{"e[c,u,cc]", 20}}, "u 5 6", "u 5 20"},
      {tuples, {{"f[a,c]", 7}}, "f{L} := 2", "f{(i,j) in L} := if i & j = 'ac' then 7 else 2"},
      {tuples, {{"g[b,c]", 7}}, ":= 3", ":= if i = 'b' then 7 else 3"},
      {tuples,
       {{"h[c,a]", 7}},
       "L, N} default 1",
       "L, m in N} := if j = 'c' and m = 'a' then 7 else 1"},
      {own, {{"p[3]", 10}}, "if t = 1", "if t = 3 then 10 else if t = 1"},
      {own, {{"q[4]", 0.5}}, "default if t = 1", "default if t = 4 then .5 else if t = 1"},
      {own, {{"b", 1}}, "binary := 0", "binary := 1"},
      {own, {{"T", 5}}, "T := 6", "T := 5"}};
  for (const auto& [text, params, before, after] : cases) {
    SCOPED_TRACE(params.front().first);
    const std::string edited = replaced(text, before, after);
    const Instance variant(read("a.mod", text, {{}, {}, {params}}));
    EXPECT_EQ(zkitUseVariant(variant, 0), 1);
    const Instance fresh(read("a.mod", edited));
    const Instance given(read("a.mod", text, {{}, params}));
    EXPECT_EQ(variant.solve("glpk") + fresh.solve("glpk") + given.solve("glpk"), "");
    expectSameSolution(variant, fresh);
    expectSameSolution(given, fresh);
  }
}

TEST(KitChanges, ParamsWithDataApart_SolveAsChangedFiles) {
  const char* text = R"(set I; param c{I} >= 0; var x{I} >= 1; minimize z: sum{i in I} c[i] * x[i];
data; set I := q; param c := q 1; end;)";
  const std::string data = "data;\nset I := a 'b c' 7;\nparam c := a 1 'b c' 2\n 7 3;\n# end\nend;";
  const std::vector<std::pair<const char*, double>> params = {{"c['b c']", 5}, {"c[7]", 1}};
  const std::string edited = replaced(replaced(data, "'b c' 2", "'b c' 5"), "7 3", "7 1");
  const Instance variant(read("a.mod", text, {{}, {}, {params}, data.c_str()}));
  const Instance given(read("a.mod", text, {{}, params, {}, data.c_str()}));
  const Instance fresh(read("a.mod", text, {{}, {}, {}, edited.c_str()}));
  EXPECT_EQ(zkitUseVariant(variant, 0), 1);
  EXPECT_EQ(variant.solve("clp") + given.solve("clp") + fresh.solve("clp"), "");
  expectSameSolution(variant, fresh);
  expectSameSolution(given, fresh);
}

// Ranges, constants, updatable parameters and coefficients of all kinds depend on a param here.
constexpr const char* kDependent = R"(param a := 2; param b := 1; param c := 6; param d := 3;
set K := 1..2; param e{K} default 1;
var x{K} >= b / 2, <= 4 * c; var p_var, >= d; var free_var;
maximize z: 3 * x[1] + a * x[2] - e[1] + 7 * b;
s.t. range: b <= x[1] + e[1] * x[2] <= 2 * c;
s.t. limit{k in K}: (k + a) * x[k] - p_var <= 10 * c;
s.t. floor: x[1] - x[2] >= -d * e[2];
end;)";

// In any order, and with none in between, nothing of a variant is left to the next.
TEST(KitChanges, VariantsInAnyOrder_SolveAsModelsOfTheirOwn) {
  std::mt19937 random(4);
  Reading reading;
  for (int v = 0; v < 12; ++v) {
    auto& variant = reading.variants.emplace_back();
    for (const char* name : {"a", "b", "c", "d", "e[1]", "e[2]"}) {
      if (random() % 3 == 0)
        variant.emplace_back(name, static_cast<double>(1 + random() % 90) / 10 + 0.03);
    }
  }
  for (const char* solver : kLpSolvers) {
    const Instance instance(read("a.mod", kDependent, reading));
    const Hot hot(solver);
    std::set<double> objectives;
    for (int step = 0; step < 40; ++step) {
      const int v = static_cast<int>(random() % 13) - 1;
      SCOPED_TRACE(std::string(solver) + ", variant " + std::to_string(v));
      char message[ZKIT_TEXT_SIZE] = "";
      if (v >= 0) zkitVariantState(instance, v, message, sizeof message);
      ASSERT_EQ(zkitUseVariant(instance, v), 1) << message;
      ASSERT_EQ(hot.solve(instance), 0);
      const Instance fresh(
          read("a.mod", kDependent, {{}, v < 0 ? Reading().params : reading.variants[v]}));
      ASSERT_EQ(fresh.solve(solver), "");
      expectSameSolution(instance, fresh);
      objectives.insert(zkitObjective(instance));
    }
    EXPECT_GT(objectives.size(), 5U);
  }
}

// What cannot be changed in place is told apart from what is wrong; the instance stays as it is.
TEST(KitChanges, VariantsOfAnotherStructure_AreToldAndNotUsed) {
  const struct {
    const char* text;
    const char* reason;
  } cases[] = {
      {"var x{1..n} >= 1; minimize z: sum{i in 1..n} x[i];", "it has 1 rows and 3 columns, not "},
      {"var x >= 1; minimize z: x; s.t. c{i in n..n}: x >= i;",
       "it has a row c[3] in place of c[2]"},
      {"var x{n..n} >= 1; minimize z: x[n];", "it has a column x[3] in place of x[2]"},
      {"var x >= 1; minimize z: x; s.t. c: 2 <= x <= n;", "its row c is of another type"},
      {"var p_var >= 1; var x; minimize z: x; s.t. c: x >= n * p_var;",
       "it has other coefficients of updatable parameters"},
  };
  for (const auto& [text, reason] : cases) {
    SCOPED_TRACE(text);
    const std::string model = std::string("param n := 2; ") + text;
    const Instance instance(read("a.mod", model, {{}, {}, {{{"n", 3}}, {{"n", 2}}}}));
    char message[ZKIT_TEXT_SIZE] = "";
    EXPECT_EQ(zkitVariantState(instance, 0, message, sizeof message), ZKIT_VARIANT_DIFFERS);
    EXPECT_TRUE(std::string(message).starts_with(reason)) << message;
    EXPECT_EQ(zkitVariantState(instance, 1, message, sizeof message), ZKIT_VARIANT_FITS);
    EXPECT_EQ(zkitUseVariant(instance, 1), 1);
    EXPECT_EQ(zkitUseVariant(instance, 0), 0);
    EXPECT_EQ(zkitUseVariant(instance, 2), 0);
    EXPECT_EQ(zkitUseVariant(instance, -2), 0);
    EXPECT_EQ(instance.solve("clp"), "");
    const Instance fresh(read("a.mod", model));
    EXPECT_EQ(fresh.solve("clp"), "");
    expectSameSolution(instance, fresh);
  }
}

TEST(KitChanges, ValuesThatCannotBe_LeaveTheModelAsItIs) {
  const Instance instance(
      read("food.lp", kLp, {{"need.rhs", "buy.lo", "buy.up", "buy[milk].fx", "buy.cost"}}));
  const struct {
    int change;
    std::vector<const char*> labels;
    double value;
    const char* message;
  } cases[] = {{0, {"energy"}, kInf, "need.rhs cannot be inf"},
               {0,
                {"energy"},
                -1e100,
                "need.rhs cannot be -1e+100: numbers must be less than 1e100 in magnitude"},
               {1, {"milk"}, kInf, "buy.lo cannot be inf"},
               {2, {"milk"}, -1e300, "buy.up cannot be -1e+300"},
               {3, {}, NAN, "buy[milk].fx cannot be nan"},
               {4, {"mlik"}, 1, "buy.cost: the model has nothing for mlik; did you mean milk?"},
               {4, {"tea"}, 1, "buy.cost: the model has nothing for tea"},
               {4, {"energy"}, 1, "buy.cost: the model has nothing for energy"},
               {4, {}, 1, "buy.cost needs 1 label, not 0"},
               {4, {nullptr}, 1, "buy.cost: a label is null"},
               {3, {"milk"}, 1, "buy[milk].fx needs 0 labels, not 1"},
               {5, {}, 1, "There is no change 5"},
               {-1, {}, 1, "There is no change -1"}};
  for (const auto& [change, labels, value, expected] : cases) {
    char message[ZKIT_TEXT_SIZE] = "";
    const auto count = static_cast<int>(labels.size());
    EXPECT_EQ(zkitSetChange(instance, change, labels.data(), count, value, message, sizeof message),
              0);
    EXPECT_STREQ(message, expected);
    const bool isEntry = std::string(expected).find("cannot be") != std::string::npos;
    EXPECT_EQ(zkitHasEntry(instance, change, labels.data(), count), isEntry ? 1 : 0);
  }
  EXPECT_EQ(instance.solve("clp"), "");
  const Instance plain(read("food.lp", kLp));
  EXPECT_EQ(plain.solve("clp"), "");
  expectSameSolution(instance, plain);
}

// A change stands above the variant, which stands above the file.
TEST(KitChanges, ChangesOfVariants_AreThoseOfBoth) {
  const Instance instance(read("food.mod", kMod,
                               {{"enough.rhs", "buy.cost", "buy.up"},
                                {},
                                {{{"need[protein]", 15}, {"price[milk]", 1}, {"size", 2}}}}));
  const Hot hot("glpk");
  const char* labels[] = {"protein"};
  EXPECT_EQ(hot.solve(instance), 0);
  EXPECT_EQ(zkitUseVariant(instance, 0), 1);
  EXPECT_EQ(zkitSetChange(instance, 0, labels, 1, 14, nullptr, 0), 1);
  EXPECT_EQ(hot.solve(instance), 0);
  std::string text = replaced(replaced(kMod, "milk 3.07", "milk 1"), "size := 4", "size := 2");
  const Instance both(read("food.mod", replaced(text, "protein 13.3", "protein 14")));
  EXPECT_EQ(both.solve("glpk"), "");
  expectSameSolution(instance, both);
  EXPECT_EQ(zkitUseVariant(instance, 0), 1);
  EXPECT_EQ(hot.solve(instance), 0);
  const Instance variant(read("food.mod", replaced(text, "protein 13.3", "protein 15")));
  EXPECT_EQ(variant.solve("glpk"), "");
  expectSameSolution(instance, variant);
}

}  // namespace
