// What must not change: the bytes of the format, the error numbers, the interface; and that the
// documentation shows them as they are.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "contract/extras.h"
#include "support/zxffunctions.h"
#include "zxf/fields.h"
#include "zxf_testing.h"

namespace {

using namespace zdb::test::zxf;

// Files that were written once. The small one is that of the documentation.
const std::string kTiny = ZXF_SOURCE_DIR "/tests/companions/data/zxf_version1_tiny.bin";
const std::string kPacked = ZXF_SOURCE_DIR "/tests/companions/data/zxf_version1_packed.bin";

std::vector<std::string> documentLines() {
  std::ifstream in(ZXF_SOURCE_DIR "/doc/reference/exchange-file.md");
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

// The cells of a table row, without the blanks around them; none for other lines.
std::vector<std::string> cells(const std::string& line) {
  std::vector<std::string> result;
  std::istringstream row(line);
  if (row.get() != '|') return result;
  for (std::string cell; std::getline(row, cell, '|');) {
    const std::size_t first = std::min(cell.find_first_not_of(' '), cell.size());
    result.push_back(cell.substr(first, cell.find_last_not_of(' ') + 1 - first));
  }
  return result;
}

TEST(ZxfFormat, FileOfVersion1_IsReadAndStillWrittenTheSame) {
  const Content tiny = {{"a", "b"},
                        {"first"},
                        {{"i", 1, 0, 0, "items", {1, 2}, {1, 0}},
                         {"p", 1, 1, 0, "price", {1, 2}, {2.5, kInfinity}, Domain::Strict, {"i"}}}};
  EXPECT_EQ(readContent(kTiny), tiny);
  const TemporaryFolder folder;
  writeContent(folder.path("a"), tiny);
  EXPECT_EQ(readBytes(folder.path("a")), readBytes(kTiny));
}

// Two blocks, columns of each kind, values beside them; how well all is packed may change.
TEST(ZxfFormat, PackedFileOfVersion1_IsRead) {
  Content packed{makeLabels(150), {}, {{"blocks", 2, 0}, {"decimals", 1}, {"doubles", 1}}};
  for (int i = 1; i <= 150; ++i) {
    packed.symbols[1].keys.push_back(i);
    packed.symbols[1].values.push_back(i == 7 ? 1.0 / 3 : i == 9 ? kInfinity : i * i * i * 0.01);
    packed.symbols[2].keys.push_back(i);
    packed.symbols[2].values.push_back(std::sqrt(i));
    for (int j = 1; j <= 150; ++j)
      packed.symbols[0].keys.insert(packed.symbols[0].keys.end(), {i, j});
  }
  packed.symbols[0].values.resize(150 * 150);
  EXPECT_EQ(readContent(kPacked), packed);
}

TEST(ZxfFormat, HexInTheDocumentation_IsThatFile) {
  std::string hex;
  for (const std::string& line : documentLines()) {
    // Four blanks, four digits of the offset, two blanks, bytes, two blanks, a comment.
    if (line.size() < 12 || line.compare(0, 4, "    ") != 0 || line[4] == ' ') continue;
    EXPECT_EQ(std::stoul(line.substr(4, 4), nullptr, 16), fromHex(hex).size());
    hex += line.substr(10, line.find("  ", 10) - 10) + ' ';
  }
  EXPECT_EQ(fromHex(hex), readBytes(kTiny));
}

// Writes the table of the documentation for a structure: offset, width and name of each field.
class FieldLister {
 public:
  template <typename Int>
  void number(const char* name, Int) {
    add(sizeof(Int), std::to_string(sizeof(Int)), name);
  }
  template <typename Enum>
  void choice(const char* name, Enum, Enum) {
    add(1, "1", name);
  }
  void varint(const char* name, std::uint64_t) { add(kVariable, "varint", name); }
  void text(const char* name, const std::string&) { add(kVariable, "text", name); }
  void texts(const char* name, const std::string&, int) { add(kVariable, "texts", name); }

  std::string rows = "\n";

 private:
  static constexpr std::size_t kVariable = 1 << 20;  // a field after one of these has no offset

  void add(std::size_t size, const std::string& width, const char* name) {
    rows += (offset_ < kVariable ? std::to_string(offset_) : "-") + '|' + width + '|' + name + '\n';
    offset_ += size;
  }

  std::size_t offset_ = 0;
};

template <typename Structure>
void expectDocumented(Structure structure) {
  FieldLister lister;
  visit(lister, structure);
  std::string document;
  for (const std::string& line : documentLines()) {
    // Offset, width, field; the document adds the meaning.
    const std::vector<std::string> row = cells(line);
    if (row.size() == 4) document += row[0] + '|' + row[1] + '|' + row[2];
    document += '\n';
  }
  EXPECT_NE(document.find(lister.rows), std::string::npos) << lister.rows;
}

TEST(ZxfFormat, FieldTablesInTheDocumentation_AreTheFieldLists) {
  expectDocumented(zdb::zxfile::FileHeader{});
  expectDocumented(zdb::zxfile::BlockHeader{});
  expectDocumented(zdb::zxfile::StreamHeader{});
  zdb::zxfile::SymbolEntry entry;
  entry.domainKind = zdb::zxfile::DomainKind::Relaxed;
  expectDocumented(entry);
  zdb::zxfile::ColumnHeader column;
  expectDocumented(column);
  column.kind = zdb::zxfile::ColumnKind::Decimal;
  expectDocumented(column);
}

TEST(ZxfErrors, TableInTheDocumentation_HasEveryNumberAndText) {
  std::map<int, std::string> documented;
  for (const std::string& line : documentLines()) {
    const std::vector<std::string> row = cells(line);
    if (row.size() == 2 && std::isdigit(row[0][0])) documented[std::stoi(row[0])] = row[1];
  }
  EXPECT_GT(documented.size(), 40U);
  for (int number = -1; number <= 200; ++number) {
    char text[256];
    const bool known = C__zxfErrorStr(nullptr, number, text) == 1;
    EXPECT_EQ(known, documented.contains(number)) << number;
    EXPECT_EQ(text, known ? documented[number] : "Unknown error number " + std::to_string(number));
  }
}

TEST(ZxfInterface, BuiltLibrary_ExportsTheInterfaceAndNothingElse) {
  std::set<std::string> expected = {"XCreate",
                                    "XCreateD",
                                    "XFree",
                                    "C__XCheck",
                                    "C__XAPIVersion",
                                    "C__zxfSetLoadPath",
                                    "C__zxfGetLoadPath",
                                    zdb::contract::kReadColumns};
  for (const auto& [name, function] : functionTable()) expected.insert("C__" + name);
  std::set<std::string> exported;
  std::FILE* nm = popen("nm -D --defined-only --format=posix '" ZXF_LIBRARY "'", "r");
  ASSERT_NE(nm, nullptr);
  char name[256];
  while (std::fscanf(nm, "%255s%*[^\n]", name) == 1) exported.insert(name);
  EXPECT_EQ(pclose(nm), 0);
  EXPECT_EQ(exported, expected);
}

}  // namespace
