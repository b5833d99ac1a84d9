// Header, library and signature table against the table of the exported surface.

#include <cstdio>
#include <memory>
#include <set>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

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
  const auto close = [](std::FILE* pipe) { pclose(pipe); };
  const std::unique_ptr<std::FILE, decltype(close)> pipe(
      popen(ZDB_NM " -D --defined-only --format=posix " ZDB_LIBRARY, "r"), close);
  std::set<std::string> names;
  char name[512];
  while (pipe && std::fscanf(pipe.get(), "%511s%*[^\n]", name) == 1) names.insert(name);
  // Of the bulk interface, what its header declares is visible and nothing else.
  std::erase_if(names, [](const std::string& one) { return one.starts_with("zdbx_"); });
  return names;
}

TEST(Exports, Library_HasTheDeclaredNamesAndNoOthers) {
  EXPECT_EQ(exportedNames(), declaredNames());
  EXPECT_EQ(declaredNames().size(), 20U + 109U + 37U);
}

}  // namespace
