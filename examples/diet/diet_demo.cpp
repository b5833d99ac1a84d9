// A host program that converts the data of the least-cost diet from CSV to a data file, reads that
// file, inspects and changes it and writes a second one; then it finds the cheapest diet.
//
//     diet_demo DATA_FOLDER OUTPUT_FOLDER
//
// Exit code 0 for success, 1 for failure (with the reason on standard error), 2 for wrong usage.
#include <cstdio>
#include <exception>
#include <string>

#include "compare.h"
#include "dietdata.h"
#include "explore.h"
#ifdef DIET_HAS_MODEL
#include "scenarios.h"
#endif

namespace {

void importData(const std::string& folder, const std::string& file) {
  std::printf("1. From CSV: %s -> %s\n", folder.c_str(), file.c_str());
  const DietData diet;
  diet.readCsv(folder);
  diet.write(file);
  const char* before = "   Records:";
  for (const zdbcc::Symbol& symbol : diet.all()) {
    std::printf("%s %s %d", before, symbol.name().c_str(), static_cast<int>(symbol.size()));
    before = ",";
  }
  std::printf("\n");
}

void lookAndChange(const std::string& before, const std::string& after) {
  std::printf("\n2. Looking into %s\n", before.c_str());
  const DietData diet(before);
  printFood(diet, "Cabbage");
  printRichest(diet, "vitamin_c");

  std::printf("\n3. Changes: %s -> %s\n", before.c_str(), after.c_str());
  std::printf(
      "   Wheat Flour (Enriched) costs a quarter more, so a dollar buys a fifth less of it\n");
  std::printf("   Corn Flakes are enriched with vitamin_a\n");
  raisePrice(diet, "Wheat Flour (Enriched)", 1.25);
  diet.content.set({"Corn Flakes", "vitamin_a"}, 20);
  diet.write(after);
}

void run(const std::string& dataFolder, const std::string& outputFolder) {
  const std::string before = outputFolder + "/diet.zxf";
  const std::string after = outputFolder + "/diet-changed.zxf";
  importData(dataFolder, before);
  lookAndChange(before, after);
  std::printf("\n4. Both files, read again\n");
  compare(before, after);
#ifdef DIET_HAS_MODEL
  runScenarios(before, outputFolder + "/diet-days.svg");
#else
  std::printf("\n5. No cheapest diet: this build has no solver\n");
#endif
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: diet_demo DATA_FOLDER OUTPUT_FOLDER\n");
    return 2;
  }
  try {
    run(argv[1], argv[2]);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "diet_demo: %s\n", error.what());
    return 1;
  }
  return 0;
}
