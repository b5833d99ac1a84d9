/* A sweep in C with the database, as a host would write it: records of the costs, to the model, a
   hot solve, the objective. Built and called by sweep.py. */

/* For the clock of a process. */
#define _POSIX_C_SOURCE 200809L  // NOLINT(bugprone-reserved-identifier)

#include <stdio.h>
#include <time.h>

#include "zdbx.h"
#include "zkitdclib.h"

static double now(void) {
  struct timespec time;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return (double)time.tv_sec + 1e-9 * (double)time.tv_nsec;
}

/* Returns the seconds of the processor that the loop took, or a negative number if something
   failed. The prices of the scenarios are one row after the other, in the order of `labels`. */
double dietLoop(const char* model, const char* const* labels, int foods, const double* prices,
                int scenarios, const char* solver, double* objectives) {
  const char* change = "buy.cost";
  zkitReadOptions options = {
      .size = sizeof options, .file = model, .changes = &change, .changeCount = 1};
  char message[1024] = "";
  void* instance = NULL;
  zdbHandle_t db = NULL;
  zdbSymbol_t costs = NULL;
  int numbers[1000];
  double start = 0;
  double seconds = -1;
  zdbx_texts texts = {.size = sizeof texts, .pointers = labels};
  zdbx_columns records = {.size = sizeof records, .rows = foods, .keys = {{numbers, 0}}};
  if (!zkitReadModelWith(&options, &instance, message, sizeof message) ||
      !zdbcreate(&db, message, sizeof message) || !c__zdbinitfromdict(db, instance) ||
      !c__zdbinitupdate(db, instance) ||
      !c__zdbaddsymbol(db, "buy_cost", 1, ZDB_PARAMETER, 0, "", &costs) ||
      !zdbx_add_labels(db, &texts, foods, numbers, ZDBX_UNDO, NULL)) {
    goto end;
  }
  for (int k = -1; k < scenarios; ++k) {
    int unmatched = 0;
    if (k == 0) start = now(); /* after the first solve, which is from scratch */
    records.values[0].data = prices + (size_t)foods * (size_t)(k < 0 ? 0 : k);
    if (!zdbx_put_records(db, costs, &records, ZDBX_MERGE, ZDBX_UNDO, NULL) ||
        !c__zdbupdatemodelsymbol(db, costs, ZDB_UPDATE_FIX, costs, ZDB_MISSING_BASE, &unmatched) ||
        unmatched != 0 || !c__zdbcallsolver(db, solver)) {
      goto end;
    }
    if (k >= 0) objectives[k] = zkitObjective(instance);
  }
  seconds = now() - start;
end:
  if (seconds < 0) fprintf(stderr, "dietLoop: %s %s\n", message, zdbx_error_text(db));
  zdbfree(&db);
  zkitFreeInstance(&instance);
  return seconds;
}
