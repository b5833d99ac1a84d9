#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "program.h"
#include "samplefile.h"

namespace tools_test {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

class ZdbTool : public ::testing::Test {
 protected:
  static Outcome zdb(const std::vector<std::string>& arguments) {
    return run(ZDB_PROGRAM, arguments);
  }

  std::string sampleFile() const {
    std::string file = folder_.path("sample.zxf");
    writeSampleFile(file);
    return file;
  }

  TemporaryFolder folder_;
};

TEST_F(ZdbTool, Info_ListsEverySymbol) {
  const std::string file = sampleFile();
  const Outcome outcome = zdb({"info", file});
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(outcome.out, file + R"(: 9 labels, 9 symbols

symbol    type       dim  domains        records  text
--------  ---------  ---  -------------  -------  --------------
city      set          1  *                    3  cities
town      alias        1  alias of city
road      set          2  city, town           1
distance  parameter    2  city, city           2  in km
limit     parameter    0                       1
odd       parameter    1  'case'               5  special values
nothing   parameter    1  *                    0  no records
flow      variable     2  city, *              1  tons
supply    equation     0                       1

A domain in quotes is a name only: no such set is in the file.
)");
}

TEST_F(ZdbTool, InfoWithoutCounts_LeavesTheColumnOut) {
  const Outcome outcome = zdb({"info", "--no-counts", sampleFile()});
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_THAT(outcome.out, HasSubstr("dim  domains        text\n"));
  EXPECT_THAT(outcome.out, HasSubstr("distance  parameter    2  city, city     in km\n"));
}

TEST_F(ZdbTool, InfoOfAnEmptyFile_SaysSo) {
  const std::string file = folder_.path("empty.zxf");
  writeEmptyFile(file);
  EXPECT_EQ(zdb({"info", file}).out, file + ": 0 labels, 0 symbols\n");
  EXPECT_EQ(zdb({"dump", file}).out, "");
}

TEST_F(ZdbTool, Dump_WritesOneSymbolAsCsv) {
  const std::string file = sampleFile();
  const struct {
    const char* symbol;
    const char* csv;
  } cases[] = {
      {"city", "label,text\nBonn,on the Rhine\nKöln,\n\"Ulm, Donau\",\"says \"\"hello\"\"\"\n"},
      {"TOWN", "label,text\nBonn,on the Rhine\nKöln,\n\"Ulm, Donau\",\"says \"\"hello\"\"\"\n"},
      {"road", "city,town,text\nBonn,Köln,A 555\n"},
      {"distance", "city,city_2,value\nBonn,Köln,29.5\nBonn,\"Ulm, Donau\",0.3333333333333333\n"},
      {"limit", "value\n-1e-07\n"},
      {"odd", "case,value\nundef,Undef\nna,NA\n\"#plus\",+Inf\nminus,-Inf\neps,Eps\n"},
      {"nothing", "label,value\n"},
      {"flow", "city,label,level,marginal,lower,upper,scale\nBonn,coal,7,0,0,+Inf,1\n"},
      {"supply", "level,marginal,lower,upper,scale\n7,0,-Inf,0,1\n"},
      {"*", "label\nBonn\nKöln\n\"Ulm, Donau\"\nundef\nna\n\"#plus\"\nminus\neps\ncoal\n"},
  };
  for (const auto& c : cases) {
    const Outcome outcome = zdb({"dump", file, c.symbol});
    EXPECT_EQ(outcome.exitCode, 0) << c.symbol;
    EXPECT_EQ(outcome.out, c.csv) << c.symbol;
  }
}

TEST_F(ZdbTool, DumpOfAll_PutsEachSymbolUnderItsName) {
  const Outcome outcome = zdb({"dump", sampleFile()});
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_THAT(outcome.out, StartsWith("# set city(*): cities\nlabel,text\nBonn,on the Rhine\n"));
  EXPECT_THAT(outcome.out, HasSubstr("\n\n# alias town of city\n\n# set road(city, town)\n"));
  EXPECT_THAT(outcome.out, HasSubstr("\n\n# parameter odd('case'): special values\ncase,value\n"));
  EXPECT_THAT(outcome.out, HasSubstr("\n\n# equation supply\nlevel,"));
}

TEST_F(ZdbTool, Failure_NamesTheFileAndTheReason) {
  const std::string file = sampleFile();
  const std::string content = readFile(file);
  const std::string foreign = folder_.path("foreign.zxf");
  writeFile(foreign, "food,unit\nMacaroni,1 lb.\n");
  const std::string cut = folder_.path("cut.zxf");
  writeFile(cut, content.substr(0, content.size() / 2));
  const struct {
    std::vector<std::string> arguments;
    int exitCode;
    std::string error;
  } cases[] = {
      {{"info", folder_.path("none.zxf")}, 1, "none.zxf"},
      {{"dump", folder_.path()}, 1, folder_.path()},
      {{"info", foreign}, 1, "foreign.zxf: Error opening ZXF file: "},
      {{"info", cut}, 1, "cut.zxf: Error opening ZXF file: "},
      {{"dump", file, "nobody"}, 1, "zdb: Cannot find symbol nobody, see zdb info " + file},
      {{}, 2, "subcommand is required"},
      {{"info"}, 2, "FILE is required"},
      {{"frobnicate", file}, 2, "--help"},
      {{"dump", file, "city", "town"}, 2, "town"},
  };
  for (const auto& c : cases) {
    const Outcome outcome = zdb(c.arguments);
    EXPECT_EQ(outcome.exitCode, c.exitCode) << c.error;
    EXPECT_EQ(outcome.out, "") << c.error;
    EXPECT_THAT(outcome.err, HasSubstr(c.error));
  }
}

TEST_F(ZdbTool, EveryFlippedByte_IsAnErrorAndNothingWorse) {
  const std::string file = sampleFile();
  const std::string content = readFile(file);
  constexpr std::size_t kStep = 19;
  for (std::size_t at = 0; at < content.size(); at += kStep) {
    std::string damaged = content;
    damaged[at] = static_cast<char>(damaged[at] ^ 0x10);
    writeFile(file, damaged);
    const Outcome outcome = zdb({"dump", file});
    EXPECT_EQ(outcome.exitCode, 1) << "byte " << at << " of " << content.size();
    EXPECT_THAT(outcome.err, StartsWith("zdb: ")) << "byte " << at;
  }
}

TEST_F(ZdbTool, FullDisk_IsReported) {
  const Outcome outcome = run(ZDB_PROGRAM, {"dump", sampleFile()}, "/dev/full");
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_THAT(outcome.err, HasSubstr("cannot write to standard output: No space left on device"));
}

TEST_F(ZdbTool, VersionAndHelp_GoToStandardOutput) {
  const Outcome version = zdb({"--version"});
  EXPECT_EQ(version.exitCode, 0);
  EXPECT_THAT(version.out, StartsWith("zdb 1."));
  const Outcome help = zdb({"dump", "--help"});
  EXPECT_EQ(help.exitCode, 0);
  EXPECT_THAT(help.out, HasSubstr("SYMBOL"));
}

}  // namespace
}  // namespace tools_test
