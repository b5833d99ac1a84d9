// Header, library and signature table against the table of the exported surface.

#include <cstdio>
#include <set>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "support/files.h"
#include "zdbcclib.h"

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
  std::FILE* nm = popen(ZDB_NM " -D --defined-only --format=posix " ZDB_LIBRARY, "r");
  std::set<std::string> names;
  char name[512];
  while (std::fscanf(nm, "%511s%*[^\n]", name) == 1) names.insert(name);
  EXPECT_EQ(pclose(nm), 0);
  return names;
}

// Those of zdbx.h, which has no table.
std::set<std::string> namesInHeader() {
  const std::string mark = "ZDBCCLIB_API ";
  const std::string header = zdb::test::readFile(ZDBX_HEADER);
  std::set<std::string> names;
  for (std::size_t at = header.find(mark); at != std::string::npos;
       at = header.find(mark, at + 1)) {
    const std::size_t end = header.find('(', at);
    const std::size_t first = header.find_last_of(" *", end) + 1;
    names.insert(header.substr(first, end - first));
  }
  return names;
}

TEST(Exports, Library_HasTheDeclaredNamesAndNoOthers) {
  std::set<std::string> declared = declaredNames();
  EXPECT_EQ(declared.size(), 20U + 109U + 37U);
  declared.merge(namesInHeader());
  EXPECT_EQ(declared.size(), 20U + 109U + 37U + 28U);
  EXPECT_EQ(exportedNames(), declared);
}

}  // namespace
