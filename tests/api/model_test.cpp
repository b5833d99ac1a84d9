// Model instances as hosts see them, up to the point where a companion is needed.

#include "client.h"

namespace {

TEST(Model, UpdateArguments_AreCheckedInOrder) {
  Database db;
  Database other;
  zdbSymbol_t set = db.add("s", 1, ZDB_SET);
  zdbSymbol_t parameter = db.add("p", 1);
  zdbSymbol_t variable = db.add("x", 1, ZDB_VARIABLE);
  zdbSymbol_t equation = db.add("e", 1, ZDB_EQUATION);
  zdbSymbol_t alias = db.add("t", 1, ZDB_ALIAS);
  zdbSymbol_t foreign = other.add("foreign", 1);
  int noMatch = -1;
  struct Case {
    zdbSymbol_t model;
    zdbSymbol_t data;
    int* noMatch;
    const char* message;
  };
  const char* noModel = "No model instance is registered: call zdbRegisterZMI first";
  const Case cases[] = {
      {nullptr, nullptr, nullptr, "No ZARN symbol handle specified"},
      {set, nullptr, &noMatch, "No Data symbol handle specified for ZARN symbol s"},
      {set, variable, &noMatch, "ZARN symbol s must be parameter, variable, or equation"},
      {alias, parameter, &noMatch, "ZARN symbol t must be parameter, variable, or equation"},
      {db.universe(), parameter, &noMatch,
       "ZARN symbol * must be parameter, variable, or equation"},
      {variable, variable, &noMatch, "Data symbol x must be parameter"},
      {variable, set, &noMatch, "Data symbol s must be parameter"},
      {variable, alias, nullptr, "Data symbol t must be parameter"},
      {foreign, parameter, &noMatch, "Symbol foreign not in this database"},
      {variable, foreign, nullptr, "Symbol foreign not in this database"},
      {variable, parameter, nullptr, "zdbUpdateModelSymbol: argument noMatch must not be null"},
      {parameter, parameter, &noMatch, noModel},
      {variable, parameter, &noMatch, noModel},
      {equation, parameter, &noMatch, noModel},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(c__zdbupdatemodelsymbol(db, c.model, 99, c.data, 0, c.noMatch), 0);
    EXPECT_EQ(db.error(), c.message);
  }
  EXPECT_EQ(noMatch, -1);
}

TEST(Model, SolverArguments_AreChecked) {
  Database db;
  double seconds = 7;
  const auto fails = [&](int result, const char* message) {
    EXPECT_EQ(result, 0);
    EXPECT_EQ(db.error(), message);
  };
  fails(c__zdbcallsolver(db, nullptr), "zdbCallSolver: argument solver must not be null");
  fails(c__zdbcallsolvertimed(db, "clp", nullptr),
        "zdbCallSolverTimed: argument seconds must not be null");
  const char* unprepared = "No model instance is prepared: call zdbInitUpdate first";
  fails(c__zdbcallsolver(db, "clp"), unprepared);
  fails(c__zdbcallsolvertimed(db, "clp", &seconds), unprepared);
  fails(d__zdbcallsolver(db, "\3clp"), unprepared);
  EXPECT_EQ(seconds, 7);
  EXPECT_EQ(db.info(db.add("p", 0), ZDB_SYMBOL_RECORDS), 0);
}

TEST(Model, InstanceWithoutItsLibraries_IsRefusedWithTheReason) {
  zdbHandle_t db = nullptr;
  ASSERT_EQ(zdbcreated(&db, "/nowhere", nullptr, 0), 1);
  ASSERT_NE(db, nullptr);
  int instance = 0;
  char text[ZDB_TEXT_SIZE] = "";
  for (int (*call)(zdbHandle_t, void*) :
       {&c__zdbregisterzmi, &c__zdbinitfromdict, &c__zdbinitupdate}) {
    EXPECT_EQ(call(db, &instance), 0);
    c__zdbgetlasterror(db, text);
    EXPECT_EQ(
        std::string(text).rfind(
            "Error in zmiGetReady: Could not load shared library /nowhere/libzkitdclib64.so", 0),
        0u)
        << text;
  }
  zdbfree(&db);
}

TEST(Model, EveryFunction_IsTraced) {
  Database db;
  const std::string trace = outputOf([&] {
    c__zdbsetdebug(db, 1);
    c__zdbregisterzmi(db, nullptr);
    c__zdbinitfromdict(db, nullptr);
    c__zdbinitupdate(db, nullptr);
    c__zdbupdatemodelsymbol(db, nullptr, 0, nullptr, 0, nullptr);
    c__zdbcallsolver(db, nullptr);
    c__zdbcallsolvertimed(db, nullptr, nullptr);
    c__zdbsetdebug(db, 0);
  });
  EXPECT_EQ(trace,
            "zdbRegisterZMI\nzdbInitFromDict\nzdbInitUpdate\nzdbUpdateModelSymbol\nzdbCallSolver\n"
            "zdbCallSolverTimed\nzdbSetDebug\n");
}

}  // namespace
