#include "program.h"

namespace tools_test {
namespace {

using testing::StartsWith;

// sample.zxf has a symbol of every kind: sets with and without texts, aliases, relaxed domains,
// dimensions 0 to 4, special values, labels and texts that CSV has to quote. An earlier release
// wrote it.
class ZdbTool : public Programs {
 protected:
  ZdbTool() { run("cp " GOLDEN "/*.zxf ."); }
};

TEST_F(ZdbTool, Info_ListsEverySymbol) {
  expectGolden("zdb info sample.zxf", "info.txt");
  expectGolden("zdb info --no-counts sample.zxf", "info_no_counts.txt");
  expect("zdb info empty.zxf", 0, "empty.zxf: 0 labels, 0 symbols\n");
}

TEST_F(ZdbTool, Dump_PutsEachSymbolUnderItsName) {
  expectGolden("zdb dump sample.zxf", "dump.csv");
  EXPECT_EQ(run("zdb dump empty.zxf").out, "");
}

TEST_F(ZdbTool, DumpOfOneSymbol_IsItsPartOfTheWhole) {
  const std::string all = readFile(GOLDEN "/dump.csv") + "\n";
  for (const char* name :
       {"city", "road", "distance", "limit", "odd", "nothing", "flow", "x", "supply"}) {
    const std::size_t begin = all.find('\n', all.find(std::string(" ") + name)) + 1;
    const std::string part = all.substr(begin, all.find("\n\n", begin) + 1 - begin);
    EXPECT_EQ(run(std::string("zdb dump sample.zxf ") + name).out, part);
  }
  EXPECT_EQ(run("zdb dump sample.zxf TOWN").out, run("zdb dump sample.zxf city").out);
  expectGolden("zdb dump sample.zxf '*'", "labels.csv");
  expectGolden("zdb dump sample.zxf any", "labels.csv");
}

TEST_F(ZdbTool, Failure_IsSaidOnStandardErrorAlone) {
  folder_.write("foreign.zxf", "food,unit\nMacaroni,1 lb.\n");
  run("head -c 500 sample.zxf >cut.zxf");
  const struct {
    const char* command;
    int exitCode;
    const char* text;
  } cases[] = {
      {"zdb info none.zxf", 1, "none.zxf"},
      {"zdb dump /", 1, "zdb: cannot read /: "},
      {"zdb info foreign.zxf", 1, "foreign.zxf: Error opening ZXF file: "},
      {"zdb info cut.zxf", 1, "cut.zxf: Error opening ZXF file: "},
      {"zdb dump sample.zxf nobody", 1, "zdb: Cannot find symbol nobody, see zdb info sample.zxf"},
      {"zdb dump sample.zxf >/dev/full", 1, "cannot write to standard output: No space left on"},
      {"zdb", 2, "subcommand is required"},
      {"zdb info", 2, "FILE is required"},
      {"zdb frobnicate sample.zxf", 2, "--help"},
      {"zdb dump sample.zxf city town", 2, "town"},
      {"zdb --version", 0, "zdb 1."},
      {"zdb dump --help", 0, "SYMBOL"},
  };
  for (const auto& c : cases) {
    expect(c.command, c.exitCode, c.text);
    EXPECT_EQ(c.exitCode == 0 ? run(c.command).err : run(c.command).out, "") << c.command;
  }
}

TEST_F(ZdbTool, EveryFlippedByte_IsAnErrorAndNothingWorse) {
  const std::string content = readFile(GOLDEN "/sample.zxf");
  for (std::size_t at = 0; at < content.size(); at += 19) {
    std::string damaged = content;
    damaged[at] = static_cast<char>(damaged[at] ^ 0x10);
    folder_.write("damaged.zxf", damaged);
    for (const char* command : {"zdb dump damaged.zxf", "zdb info damaged.zxf"}) {
      const Outcome outcome = run(command);
      EXPECT_EQ(outcome.exitCode, 1) << command << " with byte " << at << " flipped";
      EXPECT_THAT(outcome.err, StartsWith("zdb: ")) << command << " with byte " << at << " flipped";
    }
  }
}

}  // namespace
}  // namespace tools_test
