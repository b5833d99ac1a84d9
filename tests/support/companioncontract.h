// What every companion answers to a loader that asks for its version and for its signatures.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

namespace zdb::test {

// Type codes by function. Including a list of functions with ZDB_FUNCTION as ZDB_SIGNATURE between
// the braces of one fills it.
using Signatures = std::map<std::string, std::vector<int>>;
#define ZDB_UNPACK_CODES(...) __VA_ARGS__
#define ZDB_SIGNATURE(name, result, parameters, codes) {#name, {ZDB_UNPACK_CODES codes}},

struct Contract {
  std::string library;  // as its messages call it
  int version;
  int oldestVersion;  // with the same calls and meanings
  int (*apiVersion)(int client, char* message, int* status);
  int (*check)(const char* function, int argumentCount, const int* codes, char* message);
};

inline void expectVersions(const Contract& own) {
  const std::string texts[] = {"The API is too old for the used library, API version: " +
                                   std::to_string(own.oldestVersion - 1) +
                                   ", library version: " + std::to_string(own.version),
                               "Client version and DLL version are the same.",
                               "Client version is compatible to this version of the DLL.",
                               "Client version is newer than this DLL."};
  for (int client = own.oldestVersion - 1; client <= own.version + 1; ++client) {
    const int expected = client < own.oldestVersion ? 0
                         : client == own.version    ? 1
                         : client < own.version     ? 2
                                                    : 3;
    char message[256];
    int status = -1;
    EXPECT_EQ(own.apiVersion(client, message, &status), expected == 0 ? 0 : 1);
    EXPECT_EQ(status, expected);
    EXPECT_EQ(message, own.library + ": " + texts[expected]);
    EXPECT_EQ(own.apiVersion(client, nullptr, nullptr), expected == 0 ? 0 : 1);
  }
}

// Every function is there with its own codes and with no others, and nothing else is.
inline void expectSignatures(const Contract& own, const Signatures& functions) {
  const auto expect = [&](const char* name, const std::vector<int>& codes, const char* refusal) {
    const int count = static_cast<int>(codes.size()) - 1;
    const std::string shown = name == nullptr ? "" : std::string(name).substr(0, 200);
    char message[256];
    EXPECT_EQ(own.check(name, count, codes.data(), message), *refusal == '\0' ? 1 : 0) << shown;
    EXPECT_EQ(message, *refusal == '\0' ? "" : own.library + ": " + shown + refusal);
    EXPECT_EQ(own.check(name, count, codes.data(), nullptr), *refusal == '\0' ? 1 : 0) << shown;
  };
  for (const auto& [name, ownCodes] : functions) {
    const int count = static_cast<int>(ownCodes.size()) - 1;
    std::vector<int> codes = ownCodes;
    expect(name.c_str(), codes, "");
    EXPECT_EQ(own.check(name.c_str(), count, nullptr, nullptr), 0);
    EXPECT_EQ(own.check(name.c_str(), -1, codes.data(), nullptr), 0);
    codes.back() += 1;
    expect(name.c_str(), codes, " has wrong argument types.");
    codes.push_back(3);
    expect(name.c_str(), codes, " has wrong number of arguments.");
  }
  const std::string wrongCase = "Z" + functions.begin()->first.substr(1);
  const std::string longName(5000, 'f');
  for (const char* name :
       {wrongCase.c_str(), "XCheck", "", longName.c_str(), static_cast<const char*>(nullptr)}) {
    expect(name, {3}, " cannot be found in library.");
  }
}

}  // namespace zdb::test
