// Header, library and signature table against the table of the exported surface.

#include <algorithm>
#include <cstdio>
#include <memory>
#include <set>
#include <string>
#include <type_traits>

#include "client.h"

namespace {

#define ZDB_ENTRY(name, result, parameters) \
  static_assert(std::is_same_v<decltype(&name), result(*) parameters>);
#define ZDB_PLAIN(name, lower, result, parameters, ...) \
  static_assert(std::is_same_v<decltype(&c__##lower), result(*) parameters>);
#define ZDB_TEXT ZDB_PLAIN
#include "api/exports.def"

#define ZDB_TEXTS_IN const char*
#define ZDB_TEXTS_OUT char*
#define ZDB_TEXT(name, lower, result, parameters, ...) \
  static_assert(std::is_same_v<decltype(&d__##lower), result(*) parameters>);
#include "api/exports.def"

std::set<std::string> declaredNames() {
  std::set<std::string> names;
#define ZDB_ENTRY(name, ...) names.insert(#name);
#define ZDB_PLAIN(name, lower, ...) names.insert("c__" #lower);
#define ZDB_TEXT(name, lower, ...) names.insert("c__" #lower), names.insert("d__" #lower);
#include "api/exports.def"
  return names;
}

std::set<std::string> exportedNames() {
  const auto close = [](std::FILE* pipe) { pclose(pipe); };
  const std::unique_ptr<std::FILE, decltype(close)> pipe(
      popen(ZDB_NM " -D --defined-only --format=posix " ZDB_LIBRARY, "r"), close);
  std::set<std::string> names;
  char name[512];
  while (pipe && std::fscanf(pipe.get(), "%511s%*[^\n]", name) == 1) names.insert(name);
  return names;
}

TEST(Exports, Library_HasTheDeclaredNamesAndNoOthers) {
  EXPECT_EQ(exportedNames(), declaredNames());
  EXPECT_EQ(declaredNames().size(), 20U + 109U + 37U);
}

TEST(Exports, HeaderVersion_IsTheProjects) {
  EXPECT_STREQ(ZDBCCLIB_VERSION, ZDB_PROJECT_VERSION);
  const std::string parts = std::to_string(ZDBCCLIB_VERSION_MAJOR) + "." +
                            std::to_string(ZDBCCLIB_VERSION_MINOR) + "." +
                            std::to_string(ZDBCCLIB_VERSION_PATCH);
  EXPECT_EQ(parts, ZDBCCLIB_VERSION);
}

struct Row {
  const char* name;
  std::vector<int> codes;
};

const std::vector<Row>& rows() {
  static const std::vector<Row> all = {
#define ZDB_PLAIN(name, lower, result, parameters, arguments, ...) {#name, {__VA_ARGS__}},
#define ZDB_TEXT ZDB_PLAIN
#include "api/exports.def"
  };
  return all;
}

/// The answer of the signature check: the message, or "ok".
std::string check(const std::string& name, int count, const std::vector<int>& codes) {
  char message[ZDB_TEXT_SIZE] = "untouched";
  const int agrees = c__xcheck(name.c_str(), count, codes.data(), message);
  EXPECT_EQ(agrees == 1, message[0] == '\0') << name;
  return agrees == 1 ? "ok" : message;
}

TEST(SignatureCheck, EachRow_AgreesAsItIsAndWithNothingElse) {
  EXPECT_EQ(rows().size(), 109U);
  for (const Row& row : rows()) {
    const int count = static_cast<int>(row.codes.size()) - 1;
    const std::string name = row.name;
    EXPECT_EQ(check(name, count, row.codes), "ok") << name;
    std::vector<int> longer = row.codes;
    longer.push_back(ZDB_CODE_INT);
    EXPECT_EQ(check(name, count + 1, longer),
              "zdbcclib: " + name + " has wrong number of arguments.");
    for (std::size_t i = 0; i < row.codes.size(); ++i) {
      std::vector<int> other = row.codes;
      ++other[i];
      EXPECT_EQ(check(name, count, other), "zdbcclib: " + name + " has wrong argument types.");
    }
  }
}

// A few rows from the clients' side, since the table above is the library's own.
TEST(SignatureCheck, KnownRows_AreAsClientsHaveThem) {
  EXPECT_EQ(check("zdbGetLastError", 1, {15, 12}), "ok");
  EXPECT_EQ(check("zdbDomainCheckDone", 0, {15}), "ok");
  EXPECT_EQ(check("zdbMergeRecordInt", 7, {15, 1, 51, 15, 15, 2, 15, 53}), "ok");
  EXPECT_EQ(check("zdbMergeRecordIntPy", 7, {1, 1, 51, 15, 15, 15, 53, 20}), "ok");
  EXPECT_EQ(check("zdbSelectRecordStorage", 2, {3, 2, 3}), "ok");
  EXPECT_EQ(check("zdbInitFromDMRF", 7, {15, 59, 59, 59, 59, 59, 59, 1}), "ok");
  EXPECT_EQ(check("zdbgetlasterror", 1, {15, 12}),
            "zdbcclib: zdbgetlasterror cannot be found in library.");
}

TEST(SignatureCheck, OddArguments_AreAnswered) {
  char message[ZDB_TEXT_SIZE];
  EXPECT_EQ(c__xcheck(nullptr, 1, nullptr, nullptr), 0);
  EXPECT_EQ(c__xcheck("zdbGetLastError", 1, nullptr, message), 0);
  EXPECT_STREQ(message, "zdbcclib: zdbGetLastError has wrong argument types.");
  EXPECT_EQ(c__xcheck(std::string(5000, 'x').c_str(), 1, nullptr, message), 0);
  EXPECT_EQ(std::string(message).size(), 255U);
}

}  // namespace
