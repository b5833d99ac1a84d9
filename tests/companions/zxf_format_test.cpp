// What must not change: the bytes of the format, the error numbers, the interface; and that the
// documentation shows them as they are.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "zxf/fields.h"
#include "zxf/offered.h"
#include "zxf_testing.h"

namespace {

using namespace zxftest;

const std::string kSource = ZXF_SOURCE_DIR;

// The file of the documentation: two labels, a set with a text, a parameter over it.
Content tinyContent() {
  Content content{{"a", "b"}, {"first"}, {}};
  content.symbols = {
      {"i", 1, 0, 0, "items", {{{1}, {1}}, {{2}, {0}}}, Domain::None, {}},
      {"p", 1, 1, 0, "price", {{{1}, {2.5}}, {{2}, {1.0 / 0.0}}}, Domain::Strict, {"i"}}};
  return content;
}

std::vector<std::string> documentLines() {
  std::ifstream in(kSource + "/doc/exchange-file.md");
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

// The cells of a table row, without the blanks around them; none for other lines.
std::vector<std::string> cells(const std::string& line) {
  std::vector<std::string> result;
  for (std::size_t at = 0; !line.empty() && line.front() == '|' && at + 1 < line.size();) {
    const std::size_t end = line.find('|', at + 1);
    const std::string cell = line.substr(at + 1, end - at - 1);
    const std::size_t first = cell.find_first_not_of(' ');
    result.push_back(
        first == cell.npos ? "" : cell.substr(first, cell.find_last_not_of(' ') + 1 - first));
    at = end;
  }
  return result;
}

TEST(ZxfFormat, FileOfVersion1_IsReadAndStillWrittenTheSame) {
  const std::string kept = kSource + "/tests/companions/data/zxf_version1_tiny.bin";
  EXPECT_TRUE(readContent(kept) == tinyContent());
  const ScratchFolder folder;
  writeContent(folder.path("a"), tinyContent());
  EXPECT_EQ(readBytes(folder.path("a")), readBytes(kept));
}

TEST(ZxfFormat, HexInTheDocumentation_IsThatFile) {
  std::vector<std::uint8_t> bytes;
  for (const std::string& line : documentLines()) {
    // Four blanks, four digits of the offset, two blanks, bytes, two blanks, a comment.
    if (line.size() < 12 || line.compare(0, 4, "    ") != 0 || line[4] == ' ') continue;
    EXPECT_EQ(std::stoul(line.substr(4, 4), nullptr, 16), bytes.size());
    std::istringstream hex(line.substr(10, line.find("  ", 10) - 10));
    for (std::string byte; hex >> byte;) {
      bytes.push_back(static_cast<std::uint8_t>(std::stoul(byte, nullptr, 16)));
    }
  }
  EXPECT_EQ(bytes, readBytes(kSource + "/tests/companions/data/zxf_version1_tiny.bin"));
}

// Writes the table of the documentation for a structure: offset, width and name of each field.
class FieldLister {
 public:
  template <typename Int>
  void number(const char* name, Int) {
    add(std::to_string(sizeof(Int)), name);
    offset_ += sizeof(Int);
  }
  template <typename Enum>
  void choice(const char* name, Enum, Enum) {
    add("1", name);
    ++offset_;
  }
  void varint(const char* name, std::uint64_t) { variable("varint", name); }
  void text(const char* name, const std::string&) { variable("text", name); }
  void texts(const char* name, const std::string&, int) { variable("texts", name); }
  const std::vector<std::string>& rows() const { return rows_; }

 private:
  void variable(const char* width, const char* name) {
    add(width, name);
    fixed_ = false;
  }
  void add(const std::string& width, const char* name) {
    rows_.push_back((fixed_ ? std::to_string(offset_) : std::string("-")) + '|' + width + '|' +
                    name);
  }
  std::vector<std::string> rows_;
  std::size_t offset_ = 0;
  bool fixed_ = true;
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
  std::string expected;
  for (const std::string& row : lister.rows()) expected += row + '\n';
  EXPECT_NE(document.find('\n' + expected), std::string::npos) << expected;
}

TEST(ZxfFormat, FieldTablesInTheDocumentation_AreTheFieldLists) {
  expectDocumented(zxfile::FileHeader{});
  zxfile::SymbolEntry entry;
  entry.domainKind = zxfile::DomainKind::Relaxed;
  expectDocumented(entry);
  expectDocumented(zxfile::BlockHeader{});
  expectDocumented(zxfile::StreamHeader{});
  for (const auto kind : {zxfile::ColumnKind::Constant, zxfile::ColumnKind::Decimal}) {
    zxfile::ColumnHeader column;
    column.kind = kind;
    expectDocumented(column);
  }
}

TEST(ZxfErrors, TableInTheDocumentation_HasEveryNumberAndText) {
  std::map<int, std::string> documented;
  for (const std::string& line : documentLines()) {
    const std::vector<std::string> row = cells(line);
    const bool isNumber = row.size() == 2 && row[0].find_first_not_of("0123456789") == row[0].npos;
    if (isNumber) documented[std::stoi(row[0])] = row[1];
  }
  EXPECT_GT(documented.size(), 40U);
  for (int number = -1; number <= 200; ++number) {
    char text[256];
    const bool known = C__zxfErrorStr(nullptr, number, text) != 0;
    EXPECT_EQ(known, documented.contains(number)) << number;
    if (known) {
      EXPECT_EQ(documented[number], text) << number;
    }
    EXPECT_STRNE(text, "");
  }
}

TEST(ZxfInterface, Versions) {
  const struct {
    int client;
    int status;
    int result;
    const char* message;
  } kCases[] = {
      {9, 1, 1, "zxfcclib: Client version and DLL version are the same."},
      {8, 2, 1, "zxfcclib: Client version is compatible to this version of the DLL."},
      {7, 2, 1, "zxfcclib: Client version is compatible to this version of the DLL."},
      {10, 3, 1, "zxfcclib: Client version is newer than this DLL."},
      {6, 0, 0,
       "zxfcclib: The API is too old for the used library, API version: 6, library version: 9"},
  };
  for (const auto& c : kCases) {
    char message[256];
    int status = -1;
    EXPECT_EQ(C__XAPIVersion(c.client, message, &status), c.result);
    EXPECT_EQ(status, c.status);
    EXPECT_STREQ(message, c.message);
  }
}

TEST(ZxfInterface, SignatureCheck) {
  const struct {
    const char* name;
    std::vector<int> codes;
    int result;
    const char* message;
  } kCases[] = {
      {"zxfOpenRead", {3, 11, 4}, 1, ""},
      {"zxfDataReadRaw", {3, 52, 54, 4}, 1, ""},
      {"zxfErrorCount", {3}, 1, ""},
      {"zxfOpenRead", {3, 11}, 0, "zxfcclib: zxfOpenRead has wrong number of arguments."},
      {"zxfOpenRead", {3, 11, 3}, 0, "zxfcclib: zxfOpenRead has wrong argument types."},
      {"zxfOpenRead", {15, 11, 4}, 0, "zxfcclib: zxfOpenRead has wrong argument types."},
      {"zxfopenread", {3, 11, 4}, 0, "zxfcclib: zxfopenread cannot be found in library."},
      {"zxfAcronymAdd", {3, 11, 11, 3}, 0, "zxfcclib: zxfAcronymAdd cannot be found in library."},
      {nullptr, {3}, 0, "zxfcclib:  cannot be found in library."},
  };
  for (const auto& c : kCases) {
    char message[256] = "left alone";
    const int count = static_cast<int>(c.codes.size()) - 1;
    EXPECT_EQ(C__XCheck(c.name, count, c.codes.data(), message), c.result) << c.message;
    EXPECT_STREQ(message, c.message);
  }
  const int code = 3;
  EXPECT_EQ(C__XCheck("zxfClose", -1, &code, nullptr), 0);
  EXPECT_EQ(C__XCheck("zxfClose", 0, nullptr, nullptr), 0);
}

std::set<std::string> exportedNames() {
  std::set<std::string> names;
  std::FILE* nm = popen("nm -D --defined-only --format=posix '" ZXF_LIBRARY "'", "r");
  char name[256];
  while (nm != nullptr && std::fscanf(nm, "%255s%*[^\n]", name) == 1) names.insert(name);
  EXPECT_TRUE(nm != nullptr && pclose(nm) == 0);
  return names;
}

TEST(ZxfInterface, BuiltLibrary_ExportsTheInterfaceAndNothingElse) {
  std::set<std::string> expected = {"XCreate",          "XCreateD",       "XFree",
                                    "C__XCheck",        "C__XAPIVersion", "C__zxfSetLoadPath",
                                    "C__zxfGetLoadPath"};
  for (const auto& signature : zdb::contract::kZxf.functions) {
    if (!zxfile::isOffered(signature.name)) continue;
    expected.insert("C__" + std::string(signature.name));
    EXPECT_EQ(
        C__XCheck(std::string(signature.name).c_str(), static_cast<int>(signature.codes.size()) - 1,
                  signature.codes.data(), nullptr),
        1);
  }
  EXPECT_EQ(exportedNames(), expected);
  void* library = dlopen(ZXF_LIBRARY, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << dlerror();
  dlclose(library);
}

TEST(ZxfInterface, LoadPath_IsKeptAndCut) {
  char dir[256];
  void* handle = nullptr;
  XCreateD(&handle, "/some/folder");
  EXPECT_NE(handle, nullptr);
  C__zxfGetLoadPath(dir);
  EXPECT_STREQ(dir, "/some/folder");
  C__zxfSetLoadPath(std::string(300, 'd').c_str());
  C__zxfGetLoadPath(dir);
  EXPECT_EQ(std::string(dir), std::string(255, 'd'));
  C__zxfSetLoadPath(nullptr);
  C__zxfGetLoadPath(dir);
  EXPECT_STREQ(dir, "");
  XFree(&handle);
  EXPECT_EQ(handle, nullptr);
}

}  // namespace
