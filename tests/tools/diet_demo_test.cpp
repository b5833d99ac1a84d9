#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "program.h"

namespace tools_test {
namespace {

using ::testing::HasSubstr;

class DietDemo : public ::testing::Test {
 protected:
  Outcome demo(const std::string& dataFolder) const {
    return run(DIET_PROGRAM, {dataFolder, folder_.path()});
  }

  TemporaryFolder folder_;
};

TEST_F(DietDemo, RealData_ShowsWhatChanged) {
  const Outcome outcome = demo(DIET_DATA);
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_EQ(outcome.err, "");
  for (const char* line : {
           "   Records: food 77, nutrient 9, content 570, price 77, need 9\n",
           "Cabbage costs 3.70 cents for 1 lb. One dollar buys\n",
           "     vitamin_c      5369.00  mg                71.6\n",
           "     Cabbage                    5369.00  mg\n     Spinach      ",
           "   content                                             570        571         +1\n",
           "   price(Wheat Flour (Enriched))                     36.00      45.00     +25.0%\n",
           "   content(Wheat Flour (Enriched), calories)         44.70      35.76     -20.0%\n",
           "   content(Corn Flakes, vitamin_a)                       -      20.00        new\n",
           "   9 records differ\n",
           "   It costs 0.1086622782 dollars a day, 39.66 dollars a year\n",
           "     Wheat Flour (Enriched)    0.0295191 dollars a day\n"
           "     Liver (Beef)              0.0018926 dollars a day\n"
           "     Cabbage                   0.0112144 dollars a day\n"
           "     Spinach                   0.0050077 dollars a day\n"
           "     Navy Beans, Dried         0.0610286 dollars a day\n",
           "   200 days with prices up to 30% and needs up to 10% off",
           "   cheapest     92    0.0842  Wheat Flour (Enriched), Evaporated Milk (can), ",
       }) {
    EXPECT_THAT(outcome.out, HasSubstr(line));
  }
  EXPECT_THAT(readFile(folder_.path("diet-days.svg")), HasSubstr("</svg>\n"));
}

TEST_F(DietDemo, FaultyCsv_IsReportedWithItsLine) {
  const struct {
    const char* file;
    std::string from;
    std::string to;
    const char* error;
  } cases[] = {
      {"foods.csv", "Rice,1 lb.,7.5", "Rice,1 lb.,cheap",
       "foods.csv:8: price_cents is \"cheap\", a number is wanted"},
      {"foods.csv", "Rice,1 lb.,7.5", "Rice,1 lb.,", "foods.csv:8: price_cents is \"\""},
      {"foods.csv", "Rice,1 lb.,7.5,21.2", "Rice,1 lb.,7.5,nan",
       "foods.csv:8: calories is \"nan\""},
      {"foods.csv", "Rice,1 lb.,7.5,21.2", "Rice,1 lb.,7.5,1e999", "a number is wanted"},
      {"foods.csv", "Rice,1 lb.,7.5", "Rice,1 lb.,-7.5",
       "foods.csv:8: price_cents is -7.5, it must"},
      {"foods.csv", "Rice,1 lb.,7.5", "Rice,1 lb.",
       "foods.csv:8: 11 fields where the heading has 12"},
      {"foods.csv", "Rice,", "Macaroni,",
       "foods.csv:8: Record (\"Macaroni\") exists already for symbol food"},
      {"foods.csv", "\"Ham, smoked\"", "\"Ham, smoked", "foods.csv:37: a quote stands inside"},
      {"foods.csv", "\"Navy Beans, Dried\"", "\"Navy Beans, Dried", "foods.csv:70: a quote stands"},
      {"foods.csv", "Rice,", std::string("Ri\0ce,", 6), "foods.csv:8: a zero byte"},
      {"foods.csv", "Rice,", std::string(5000, 'x') + ',', "foods.csv:8: the row is longer than"},
      {"foods.csv", "Rice,", std::string(64, 'x') + ',', "foods.csv:8: "},
      {"foods.csv", "Rice,", "Ri'c\"e,", "foods.csv:8: "},
      {"foods.csv", "food,unit", "dish,unit",
       "foods.csv:1: column 1 of the heading must be \"food\""},
      {"foods.csv", "niacin", "iodine",
       "foods.csv:1: no daily need is known for the nutrient \"iodine\""},
      {"needs.csv", "iron,mg,12", "iron,mg,12,13", "needs.csv:5: 4 fields"},
      {"needs.csv", "nutrient,unit,per_day", "nutrient,unit",
       "needs.csv:1: column 3 of the heading"},
  };
  for (const auto& c : cases) {
    const TemporaryFolder data;
    std::filesystem::copy(DIET_DATA, data.path(), std::filesystem::copy_options::recursive);
    std::string content = readFile(data.path(c.file));
    const std::size_t at = content.find(c.from);
    ASSERT_NE(at, std::string::npos) << c.from;
    writeFile(data.path(c.file), content.replace(at, c.from.size(), c.to));
    const Outcome outcome = demo(data.path());
    EXPECT_EQ(outcome.exitCode, 1) << c.error;
    EXPECT_THAT(outcome.err, HasSubstr(c.error));
    EXPECT_FALSE(std::filesystem::exists(folder_.path("diet.zxf"))) << c.error;
  }
}

TEST_F(DietDemo, UnusableFolders_AreNamed) {
  const Outcome noData = demo(folder_.path("none"));
  EXPECT_EQ(noData.exitCode, 1);
  EXPECT_THAT(noData.err, HasSubstr("cannot open " + folder_.path("none/needs.csv")));
  const Outcome noOutput = run(DIET_PROGRAM, {DIET_DATA, folder_.path("none")});
  EXPECT_EQ(noOutput.exitCode, 1);
  EXPECT_THAT(noOutput.err, HasSubstr(folder_.path("none/diet.zxf")));
  EXPECT_EQ(run(DIET_PROGRAM, {}).exitCode, 2);
}

}  // namespace
}  // namespace tools_test
