/* A host in plain C that builds a model call by call, and solves it again with other data: at least
 * need_var tons of a, at 2 each, and of b, at price_var each, at the lowest cost. */
#include <stdio.h>

#include "zdbcclib.h"
#include "zkitdclib.h"

/* Symbols first, then their columns and rows, then the terms. */
static int makeShop(void** instance) {
  const char *a[] = {"a"}, *b[] = {"b"};
  int x, price, need, cost, costs, needs, xa, xb, p, n, c, equal, enough;
  zkitModel_t model;
  int ok = zkitModelCreate(&model, "shop") &&
           zkitAddSymbol(model, "x", ZKIT_VARIABLE, 1, "tons", 0, &x) &&
           zkitAddSymbol(model, "price_var", ZKIT_VARIABLE, 0, "of b", 0, &price) &&
           zkitAddSymbol(model, "need_var", ZKIT_VARIABLE, 0, NULL, 0, &need) &&
           zkitAddSymbol(model, "cost", ZKIT_VARIABLE, 0, NULL, 0, &cost) &&
           zkitAddSymbol(model, "costs", ZKIT_EQUATION, 0, NULL, 0, &costs) &&
           zkitAddSymbol(model, "needs", ZKIT_EQUATION, 0, NULL, 0, &needs) &&
           zkitAddColumn(model, x, a, 0, 6, 0, &xa) &&
           zkitAddColumn(model, x, b, 0, ZKIT_INFINITY, 0, &xb) &&
           zkitAddColumn(model, price, NULL, 3, 3, 3, &p) &&
           zkitAddColumn(model, need, NULL, 10, 10, 10, &n) &&
           zkitAddColumn(model, cost, NULL, -ZKIT_INFINITY, ZKIT_INFINITY, 0, &c) &&
           zkitAddRow(model, costs, NULL, ZKIT_EQUAL, 0, &equal) &&
           zkitAddRow(model, needs, NULL, ZKIT_GREATER, 0, &enough) &&
           zkitAddCoefficient(model, equal, c, 1) && zkitAddCoefficient(model, equal, xa, -2) &&
           zkitAddProduct(model, equal, p, xb, -1) && zkitAddCoefficient(model, enough, xa, 1) &&
           zkitAddCoefficient(model, enough, xb, 1) && zkitAddCoefficient(model, enough, n, -1) &&
           zkitSetObjective(model, c, 1) && zkitModelFinish(model, NULL, instance);
  if (!ok) puts(zkitLastError(model));
  zkitModelFree(&model);
  return ok;
}

/* The parameter `price` stands for the variable price_var; a record changes it. */
static int solveWith(zdbHandle_t db, zdbSymbol_t price, void* instance, double value) {
  zdbRecord_t record = NULL;
  int unmatched = 0;
  int ok = c__zdbmergerecord(db, price, NULL, &record) && c__zdbsetlevel(db, record, value);
  if (record != NULL) c__zdbfreesymboliterator(db, record);
  ok = ok &&
       c__zdbupdatemodelsymbol(db, price, ZDB_UPDATE_FIX, price, ZDB_MISSING_BASE, &unmatched) &&
       c__zdbcallsolver(db, "clp");
  if (ok) printf("b costs %g, all of it %g\n", value, zkitObjective(instance));
  return ok;
}

int main(void) {
  void* instance = NULL;
  zdbHandle_t db = NULL;
  zdbSymbol_t price = NULL;
  char message[ZDB_TEXT_SIZE] = "";
  if (!makeShop(&instance) || !zdbcreate(&db, message, sizeof message)) return 1;
  const int ok = c__zdbinitfromdict(db, instance) && c__zdbinitupdate(db, instance) &&
                 c__zdbaddsymbol(db, "price", 0, ZDB_PARAMETER, 0, "of b", &price) &&
                 solveWith(db, price, instance, 3) && solveWith(db, price, instance, 4);
  if (!ok && c__zdbgetlasterror(db, message)) puts(message);
  zdbfree(&db);
  zkitFreeInstance(&instance);
  return !ok;
}
