#include "zxf_testing.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace zxftest {

namespace {

void requireRead(void* zxf, int result) {
  if (result != 0) return;
  const int number = C__zxfGetLastError(zxf);
  char text[256];
  C__zxfErrorStr(zxf, number, text);
  throw ReadError{number, text};
}

std::vector<const char*> pointers(const std::vector<std::string>& texts) {
  std::vector<const char*> result;
  result.reserve(texts.size() + 1);
  for (const std::string& text : texts) result.push_back(text.c_str());
  result.resize(std::max<std::size_t>(result.size(), 1));
  return result;
}

void writeSymbol(void* zxf, const Content& content, int number) {
  const Symbol& symbol = content.symbols[number - 1];
  if (symbol.type == 4) {
    const std::string set = symbol.userInfo == 0 ? "*" : content.symbols[symbol.userInfo - 1].name;
    EXPECT_EQ(C__zxfAddAlias(zxf, symbol.name.c_str(), set.c_str()), 1);
    return;
  }
  std::vector<const char*> domains = pointers(symbol.domains);
  EXPECT_EQ(C__zxfDataWriteRawStart(zxf, symbol.name.c_str(), symbol.text.c_str(), symbol.dim,
                                    symbol.type, symbol.userInfo),
            1);
  if (symbol.domain == Domain::Strict) {
    EXPECT_EQ(C__zxfSymbolSetDomain(zxf, domains.data()), 1);
  }
  for (const Record& record : symbol.records) {
    const int* key = record.key.empty() ? nullptr : record.key.data();
    ASSERT_EQ(C__zxfDataWriteRaw(zxf, key, record.values.data()), 1);
  }
  EXPECT_EQ(C__zxfDataWriteDone(zxf), 1);
  if (symbol.domain == Domain::Relaxed) {
    EXPECT_EQ(C__zxfSymbolSetDomainX(zxf, number, domains.data()), 1);
  }
}

// Position from 1 at which two keys first differ; 1 for the first key, 0 without dimensions.
int firstDifference(const std::vector<int>& before, const std::vector<int>& key) {
  if (key.empty() || before.empty()) return key.empty() ? 0 : 1;
  const auto [was, is] = std::mismatch(before.begin(), before.end(), key.begin());
  return static_cast<int>(is - key.begin()) + 1;
}

std::vector<Record> readRecords(void* zxf, int number, int dim, int width) {
  int count = 0;
  requireRead(zxf, C__zxfDataReadRawStart(zxf, number, &count));
  std::vector<Record> records;
  std::vector<int> before;
  for (int i = 0; i < count; ++i) {
    Record record{std::vector<int>(dim), std::vector<double>(5)};
    int changed = -1;
    int* key = dim == 0 ? nullptr : record.key.data();
    requireRead(zxf, C__zxfDataReadRaw(zxf, key, record.values.data(), &changed));
    EXPECT_EQ(changed, firstDifference(before, record.key)) << "record " << i;
    record.values.resize(width);
    before = record.key;
    records.push_back(std::move(record));
  }
  int key[20];
  double values[5];
  int changed = 0;
  EXPECT_EQ(C__zxfDataReadRaw(zxf, key, values, &changed), 0);
  requireRead(zxf, C__zxfDataReadDone(zxf));
  return records;
}

Symbol readSymbol(void* zxf, int number) {
  Symbol symbol;
  char name[256];
  char text[256];
  int records = 0;
  requireRead(zxf, C__zxfSymbolInfo(zxf, number, name, &symbol.dim, &symbol.type));
  requireRead(zxf, C__zxfSymbolInfoX(zxf, number, &records, &symbol.userInfo, text));
  symbol.name = name;
  symbol.text = text;
  std::vector<std::array<char, 256>> buffers(20);
  char* names[20];
  for (int d = 0; d < 20; ++d) names[d] = buffers[d].data();
  symbol.domain = static_cast<Domain>(C__zxfSymbolGetDomainX(zxf, number, names));
  for (int d = 0; symbol.domain != Domain::None && d < symbol.dim; ++d) {
    symbol.domains.emplace_back(names[d]);
  }
  if (symbol.type == 4) return symbol;
  const int width = symbol.type == 2 || symbol.type == 3 ? 5 : 1;
  symbol.records = readRecords(zxf, number, symbol.dim, width);
  EXPECT_EQ(static_cast<std::size_t>(records), symbol.records.size());
  return symbol;
}

}  // namespace

int Zxf::openRead(const std::string& path) const {
  int error = -1;
  const int result = C__zxfOpenRead(handle_, path.c_str(), &error);
  EXPECT_EQ(result != 0, error == 0);
  return error;
}

int Zxf::openWrite(const std::string& path) const {
  int error = -1;
  const int result = C__zxfOpenWrite(handle_, path.c_str(), "", &error);
  EXPECT_EQ(result != 0, error == 0);
  return error;
}

std::string Zxf::errorText(int number) const {
  char text[256];
  C__zxfErrorStr(handle_, number, text);
  return text;
}

std::vector<int> Zxf::takeErrors() const {
  std::vector<int> numbers;
  while (const int number = C__zxfGetLastError(handle_)) numbers.push_back(number);
  return numbers;
}

bool Record::operator==(const Record& other) const {
  return key == other.key &&
         std::equal(values.begin(), values.end(), other.values.begin(), other.values.end(),
                    [](double a, double b) {
                      return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
                    });
}

std::string numbered(const char* prefix, int number) {
  std::string text = prefix;
  text += std::to_string(number);
  return text;
}

std::vector<std::string> makeLabels(int count) {
  std::vector<std::string> labels;
  for (int i = 1; i <= count; ++i) labels.push_back(numbered("l", i));
  return labels;
}

void writeContent(const std::string& path, const Content& content) {
  const Zxf zxf;
  ASSERT_EQ(zxf.openWrite(path), 0);
  EXPECT_EQ(C__zxfStoreDomainSetsSet(zxf, 0), 1);
  EXPECT_EQ(C__zxfUELRegisterRawStart(zxf), 1);
  for (const std::string& label : content.labels) {
    EXPECT_EQ(C__zxfUELRegisterRaw(zxf, label.c_str()), 1) << label;
  }
  EXPECT_EQ(C__zxfUELRegisterDone(zxf), 1);
  for (std::size_t s = 1; s <= content.symbols.size(); ++s) {
    writeSymbol(zxf, content, static_cast<int>(s));
  }
  int expected = 0;
  for (const std::string& text : content.texts) {
    int number = 0;
    EXPECT_EQ(C__zxfAddSetText(zxf, text.c_str(), &number), 1);
    EXPECT_EQ(number, ++expected);
  }
  EXPECT_EQ(C__zxfErrorCount(zxf), 0);
  EXPECT_EQ(C__zxfClose(zxf), 1) << zxf.errorText(C__zxfGetLastError(zxf));
}

Content readContent(const std::string& path) {
  const Zxf zxf;
  int error = 0;
  requireRead(zxf, C__zxfOpenRead(zxf, path.c_str(), &error));
  Content content;
  int symbols = 0;
  int labels = 0;
  int highest = 0;
  char text[256];
  requireRead(zxf, C__zxfSystemInfo(zxf, &symbols, &labels));
  for (int i = 1; i <= labels; ++i) {
    int mapped = 0;
    requireRead(zxf, C__zxfUMUelGet(zxf, i, text, &mapped));
    content.labels.emplace_back(text);
  }
  requireRead(zxf, C__zxfUMUelInfo(zxf, &labels, &highest));
  EXPECT_EQ(static_cast<std::size_t>(labels), content.labels.size());
  int node = -1;
  for (int i = 1; C__zxfGetElemText(zxf, i, text, &node) != 0; ++i)
    content.texts.emplace_back(text);
  EXPECT_EQ(node, 0);
  for (int s = 1; s <= symbols; ++s) content.symbols.push_back(readSymbol(zxf, s));
  EXPECT_EQ(C__zxfErrorCount(zxf), 0);
  EXPECT_EQ(C__zxfClose(zxf), 1);
  return content;
}

Content smallContent() {
  const std::vector<double> row = {1.5, 0.0, -1.0 / 0.0, 1.0 / 0.0, 1.0};
  Content content;
  content.labels = {"seattle", "san-diego", "new york", "topeka"};
  content.texts = {"first text", "", "first text"};
  content.symbols = {
      {"i", 1, 0, 0, "plants", {{{1}, {1}}, {{2}, {0}}}, Domain::None, {}},
      {"j", 1, 0, 0, "", {{{2}, {0}}, {{3}, {3}}, {{4}, {0}}}, Domain::None, {}},
      {"ii", 1, 4, 1, "", {}, Domain::None, {}},
      {"any", 1, 4, 0, "", {}, Domain::None, {}},
      {"d",
       2,
       1,
       0,
       "distance",
       {{{1, 2}, {2.5}}, {{2, 2}, {0.1}}, {{2, 4}, {1.0 / 3}}},
       Domain::Strict,
       {"ii", "j"}},
      {"f", 0, 1, 0, "freight", {{{}, {90}}}, Domain::None, {}},
      {"x", 2, 2, 3, "shipped", {{{1, 3}, row}, {{1, 4}, row}}, Domain::Relaxed, {"i", "gone"}},
      {"cost", 0, 3, 53, "", {{{}, row}}, Domain::None, {}},
      {"empty", 3, 1, 0, "no records", {}, Domain::Relaxed, {"*", "i", ""}},
  };
  return content;
}

ScratchFolder::ScratchFolder() {
  std::string pattern = (std::filesystem::temp_directory_path() / "zxf_test_XXXXXX").string();
  folder_ = mkdtemp(pattern.data());
}

ScratchFolder::~ScratchFolder() {
  std::filesystem::remove_all(folder_);
}

std::vector<std::string> ScratchFolder::names() const {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder_)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::vector<std::uint8_t> readBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void writeBytes(const std::string& path, const std::vector<std::uint8_t>& bytes) {
  std::ofstream out(path, std::ios::binary);
  out.write(reinterpret_cast<const char*>(bytes.data()),
            static_cast<std::streamsize>(bytes.size()));
}

double fromBits(std::uint64_t bits) {
  return std::bit_cast<double>(bits);
}

}  // namespace zxftest
