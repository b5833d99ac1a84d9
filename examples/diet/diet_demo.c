/* A host program that converts the data of the least-cost diet from CSV to a data file, reads that
 * file, inspects and changes it and writes a second one; then it finds the cheapest diet.
 *
 *     diet_demo DATA_FOLDER OUTPUT_FOLDER
 *
 * Exit code 0 for success, 1 for failure (with the reason on standard error), 2 for wrong usage. */
#include <stdio.h>

#include "compare.h"
#include "dietdata.h"
#include "explore.h"
#ifdef DIET_HAS_MODEL
#include "scenarios.h"
#endif

enum { PATH_SIZE = 4096 };

static int writeFile(zdbHandle_t db, const char* file) {
  return c__zdbwritezxf(db, file, 0) || hostFail(db, "cannot write");
}

static int printImported(zdbHandle_t db, const DietSymbols* symbols) {
  printf("   Records:");
  for (int i = 0; i < DIET_SYMBOL_COUNT; ++i) {
    const int count = hostCount(db, dietSymbol(symbols, i));
    if (count < 0) return 0;
    printf("%s %s %d", i > 0 ? "," : "", dietSymbolNames[i], count);
  }
  printf("\n");
  return 1;
}

static int importInto(zdbHandle_t db, const char* folder, const char* file) {
  DietSymbols symbols;
  return dietAddSymbols(db, &symbols) && dietReadCsv(db, &symbols, folder) && writeFile(db, file) &&
         printImported(db, &symbols);
}

static int importData(const char* folder, const char* file) {
  printf("1. From CSV: %s -> %s\n", folder, file);
  zdbHandle_t db = hostCreate();
  const int done = db != NULL && importInto(db, folder, file);
  zdbfree(&db);
  return done;
}

static int look(zdbHandle_t db, const DietSymbols* symbols) {
  return dietPrintFood(db, symbols, "Cabbage") && dietPrintRichest(db, symbols, "vitamin_c");
}

static int change(zdbHandle_t db, const DietSymbols* symbols) {
  printf("   Wheat Flour (Enriched) costs a quarter more, so a dollar buys a fifth less of it\n");
  printf("   Corn Flakes are enriched with vitamin_a\n");
  return dietRaisePrice(db, symbols, "Wheat Flour (Enriched)", 1.25) &&
         dietEnrich(db, symbols, "Corn Flakes", "vitamin_a", 20);
}

static int lookAndChange(const char* before, const char* after) {
  printf("\n2. Looking into %s\n", before);
  zdbHandle_t db = hostOpen(before);
  DietSymbols symbols;
  int done = db != NULL && dietFindSymbols(db, &symbols) && look(db, &symbols);
  if (done) printf("\n3. Changes: %s -> %s\n", before, after);
  done = done && change(db, &symbols) && writeFile(db, after);
  zdbfree(&db);
  return done;
}

#ifdef DIET_HAS_MODEL
static int runModel(const char* file, const char* outputFolder) {
  char chart[PATH_SIZE];
  snprintf(chart, sizeof chart, "%s/diet-days.svg", outputFolder);
  return dietScenarios(file, chart);
}
#else
static int runModel(const char* file, const char* outputFolder) {
  (void)file;
  (void)outputFolder;
  printf("\n5. No cheapest diet: this build has no solver\n");
  return 1;
}
#endif

static int run(const char* dataFolder, const char* outputFolder) {
  char before[PATH_SIZE];
  char after[PATH_SIZE];
  snprintf(before, sizeof before, "%s/diet.zxf", outputFolder);
  snprintf(after, sizeof after, "%s/diet-changed.zxf", outputFolder);
  if (!importData(dataFolder, before) || !lookAndChange(before, after)) return 0;
  printf("\n4. Both files, read again\n");
  return dietCompare(before, after) && runModel(before, outputFolder);
}

int main(int argc, char** argv) {
  if (argc != 3) {
    fprintf(stderr, "usage: diet_demo DATA_FOLDER OUTPUT_FOLDER\n");
    return 2;
  }
  return run(argv[1], argv[2]) ? 0 : 1;
}
