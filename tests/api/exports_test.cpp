// Header, library and signature table against the table of the exported surface.

#include <dlfcn.h>

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

std::set<std::string> unprefixedNames() {
  std::set<std::string> names;
#define ZDB_UNPREFIXED(name, ...) names.insert(#name);
#include "api/exports.def"
  return names;
}

std::set<std::string> declaredNames() {
  std::set<std::string> names;
#define ZDB_UNPREFIXED(...)
#define ZDB_ENTRY(name, ...) names.insert(#name);
#define ZDB_PLAIN(name, lower, ...) names.insert("c__" #lower);
#define ZDB_TEXT(name, lower, ...) names.insert("c__" #lower), names.insert("d__" #lower);
#include "api/exports.def"
  return names;
}

// Without the names of versions, which have no address.
std::set<std::string> exportedNames(const std::string& library) {
  const std::string command =
      ZDB_NM " -D --defined-only --without-symbol-versions --format=posix " + library;
  std::FILE* nm = popen(command.c_str(), "r");
  std::set<std::string> names;
  char name[512];
  char type = 0;
  while (std::fscanf(nm, "%511s %c%*[^\n]", name, &type) == 2) {
    if (type != 'A') names.insert(name);
  }
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

// The names that any program may have are in the library for hosts at run time only.
TEST(Exports, Libraries_HaveTheDeclaredNamesAndNoOthers) {
  std::set<std::string> declared = declaredNames();
  EXPECT_EQ(declared.size(), 17U + 109U + 37U);
  declared.merge(namesInHeader());
  EXPECT_EQ(declared.size(), 17U + 109U + 37U + 28U);
  EXPECT_EQ(exportedNames(ZDB_LIBRARY), declared);
  EXPECT_EQ(exportedNames(ZDB_HOST_LIBRARY), unprefixedNames());
  EXPECT_EQ(unprefixedNames().size(), 3U);
}

// Both in one process are one library: what is set in the one counts in the other.
TEST(Exports, LibraryOfHosts_HasTheNamesAndTheStateOfTheOther) {
  void* host = dlopen(ZDB_HOST_LIBRARY, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(host, nullptr) << dlerror();
  EXPECT_NE(dlsym(host, "xcreate"), nullptr);
  EXPECT_EQ(dlsym(host, "c__zdbaddsymbol"), reinterpret_cast<void*>(&c__zdbaddsymbol));
  dlclose(host);
}

}  // namespace
