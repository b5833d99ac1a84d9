#include "program.h"

namespace tools_test {
namespace {

using DietDemo = Programs;

TEST_F(DietDemo, RealData_ShowsWhatChanged) {
  expectGolden("cp -r " DIET_DATA
               " data; diet_demo data . >all && sed 's/in [0-9.]* s/in N s/' all",
               "diet_demo.txt");
  EXPECT_THAT(readFile(folder_.path("diet-days.svg")), HasSubstr("</svg>\n"));
}

TEST_F(DietDemo, FaultyCsv_IsReportedWithItsLine) {
  const struct {
    std::string edit;
    const char* error;
  } cases[] = {
      {"Rice,1 lb.,7.5/Rice,1 lb.,cheap", "foods.csv:8: price_cents is \"cheap\", which is not a"},
      {"Rice,1 lb.,7.5/Rice,1 lb.,", "foods.csv:8: price_cents is \"\""},
      {"Rice,1 lb.,7.5,21.2/Rice,1 lb.,7.5,nan", "foods.csv:8: calories is \"nan\""},
      {"Rice,1 lb.,7.5,21.2/Rice,1 lb.,7.5,1e999", "foods.csv:8: calories is \"1e999\", which"},
      {"Rice,1 lb.,7.5/Rice,1 lb.,-7.5", "foods.csv:8: price_cents is -7.5, but must"},
      {"Rice,1 lb.,7.5/Rice,1 lb.", "foods.csv:8: 11 fields, but the heading has 12"},
      {"Rice,/Macaroni,", "foods.csv:8: Record (\"Macaroni\") exists already for symbol food"},
      {"\"Ham, smoked\"/\"Ham, smoked", "foods.csv:37: a quote is inside"},
      {"\"Navy Beans, Dried\"/\"Navy Beans, Dried", "foods.csv:70: a quote is"},
      {"Rice,/Ri\\x00ce,", "foods.csv:8: the text contains a zero byte"},
      {"Rice,/" + std::string(5000, 'x') + ",", "foods.csv:8: the row is longer than"},
      {"Rice,/" + std::string(64, 'x') + ",", "foods.csv:8: "},
      {"Rice,/Ri'c\"e,", "foods.csv:8: "},
      {"food,unit/dish,unit", "foods.csv:1: column 1 of the heading must be \"food\""},
      {"niacin,vit/iodine,vit", "foods.csv:1: no daily need is known for the nutrient \"iodine\""},
      {"iron,mg,12/iron,mg,12,13", "needs.csv:5: 4 fields"},
      {"nutrient,unit,per_day/nutrient,unit", "needs.csv:1: column 3 of the heading"},
  };
  for (const auto& c : cases) {
    folder_.write("edit.sed", "s/" + c.edit + "/\n");
    expect("rm -rf data; cp -r " DIET_DATA " data; sed -i -f edit.sed data/*.csv; diet_demo data .",
           1, c.error);
    EXPECT_FALSE(std::filesystem::exists(folder_.path("diet.zxf"))) << c.error;
  }
}

TEST_F(DietDemo, UnusableFolders_AreNamed) {
  expect("diet_demo none .", 1, "cannot open none/needs.csv");
  expect("diet_demo " DIET_DATA " none", 1, "none/diet.zxf");
  expect("diet_demo", 2, "");
}

}  // namespace
}  // namespace tools_test
