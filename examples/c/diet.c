/* The cheapest diet in plain C: reads a model file, solves it, makes flour dearer and the need for
 * calories greater, solves again from the last basis, and prints what is bought. Run it with the
 * name of the model, examples/models/diet.mod. */
#include <stdio.h>

#include "zdbcclib.h"
#include "zkitdclib.h"

/* What will be changed, by its name in the model. */
static const char* const kChanges[] = {"buy[flour].cost", "need[calories].rhs"};
enum { FLOUR = 0, CALORIES = 1, CHANGES = 2 };

static int readModel(const char* file, void** instance) {
  const zkitReadOptions options = {
      .size = sizeof options, .file = file, .changes = kChanges, .changeCount = CHANGES};
  char message[ZKIT_TEXT_SIZE] = "";
  if (zkitReadModelWith(&options, instance, message, sizeof message)) return 1;
  fprintf(stderr, "%s\n", message);
  return 0;
}

/* A change is a record of a parameter: of the variable that the kit has added, without "_var". */
static int change(zdbHandle_t db, void* instance, int which, const char* label, double value) {
  char name[ZKIT_MAX_NAME + 1] = "";
  zdbSymbol_t parameter = NULL;
  zdbRecord_t record = NULL;
  int length = 0;
  int unmatched = 0;
  if (!zkitGetChange(instance, which, name, sizeof name, NULL, NULL, NULL, NULL)) return 0;
  while (name[length] != '\0') ++length;
  name[length - 4] = '\0';
  if (!c__zdbaddsymbol(db, name, 1, ZDB_PARAMETER, 0, "", &parameter) ||
      !c__zdbaddrecord(db, parameter, &label, &record)) {
    return 0;
  }
  const int ok = c__zdbsetlevel(db, record, value);
  return c__zdbfreesymboliterator(db, record) && ok &&
         c__zdbupdatemodelsymbol(db, parameter, ZDB_UPDATE_FIX, parameter, ZDB_MISSING_BASE,
                                 &unmatched);
}

/* Records of a variable are loaded from the instance when they are first used. */
static int solve(zdbHandle_t db, void* instance) {
  zdbSymbol_t buy = NULL;
  zdbRecord_t record = NULL;
  if (!c__zdbcallsolver(db, "clp") || !c__zdbfindsymbol(db, "buy", &buy)) return 0;
  printf("%.10f dollars a day, %d iterations:", zkitObjective(instance), zkitIterations(instance));
  if (!c__zdbfindfirstrecord(db, buy, &record)) return 0;
  do {
    char food[ZDB_TEXT_SIZE] = "";
    double level = 0;
    if (c__zdbgetkey(db, record, 0, food) && c__zdbgetlevel(db, record, &level) && level > 1e-9) {
      printf(" %s %.3f", food, level);
    }
  } while (c__zdbrecordmovenext(db, record));
  printf("\n");
  return c__zdbfreesymboliterator(db, record);
}

static int run(zdbHandle_t db, void* instance) {
  return c__zdbinitfromdict(db, instance) && c__zdbinitupdate(db, instance) &&
         solve(db, instance) && change(db, instance, FLOUR, "flour", 0.72) && solve(db, instance) &&
         change(db, instance, CALORIES, "calories", 4.5) && solve(db, instance) &&
         c__zdbwritezxf(db, "solution.zxf", 0);
}

int main(int argc, char** argv) {
  void* instance = NULL;
  zdbHandle_t db = NULL;
  char message[ZDB_TEXT_SIZE] = "";
  if (argc != 2 || !readModel(argv[1], &instance)) return 1;
  if (!zdbcreate(&db, message, sizeof message)) return 1;
  const int ok = run(db, instance);
  if (!ok && c__zdbgetlasterror(db, message)) fprintf(stderr, "%s\n", message);
  zdbfree(&db);
  zkitFreeInstance(&instance);
  return !ok;
}
