// What every companion answers to a loader that asks for its version and for its signatures.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "script/functiontable.h"

namespace zdb::test {

struct Contract {
  std::string library;  // as its messages call it
  int version;
  int oldestVersion;  // with the same calls and meanings
  int (*apiVersion)(int client, char* message, int* status);
  int (*check)(const char* function, int argumentCount, const int* codes, char* message);
};

inline void expectVersions(const Contract& own) {
  char message[256];
  int status = -1;
  for (int client = own.oldestVersion - 1; client <= own.version + 1; ++client) {
    const int expected = client < own.oldestVersion ? 0
                         : client == own.version    ? 1
                         : client < own.version     ? 2
                                                    : 3;
    const std::string texts[] = {
        "The API is too old for the used library, API version: " + std::to_string(client) +
            ", library version: " + std::to_string(own.version),
        "Client version and DLL version are the same.",
        "Client version is compatible to this version of the DLL.",
        "Client version is newer than this DLL."};
    EXPECT_EQ(own.apiVersion(client, message, &status), expected == 0 ? 0 : 1);
    EXPECT_EQ(status, expected);
    EXPECT_EQ(message, own.library + ": " + texts[expected]);
    EXPECT_EQ(own.apiVersion(client, nullptr, nullptr), expected == 0 ? 0 : 1);
  }
}

// Every function is there with its own codes and with no others, and nothing else is.
inline void expectSignatures(const Contract& own, const script::FunctionTable& functions) {
  char message[256];
  const auto answer = [&](const char* function, const std::vector<int>& codes) {
    const int count = static_cast<int>(codes.size()) - 1;
    const int known = own.check(function, count, codes.data(), message);
    EXPECT_EQ(own.check(function, count, codes.data(), nullptr), known);
    return std::to_string(known) + message;
  };
  for (const auto& [name, function] : functions) {
    const std::string refusal = "0" + own.library + ": " + name;
    std::vector<int> codes = function.codes;
    EXPECT_EQ(answer(name.c_str(), codes), "1") << name;
    codes.back() += 1;
    EXPECT_EQ(answer(name.c_str(), codes), refusal + " has wrong argument types.");
    codes = function.codes;
    codes.push_back(3);
    EXPECT_EQ(answer(name.c_str(), codes), refusal + " has wrong number of arguments.");
    EXPECT_EQ(own.check(name.c_str(), -1, codes.data(), nullptr), 0);
    EXPECT_EQ(own.check(name.c_str(), static_cast<int>(codes.size()) - 2, nullptr, nullptr), 0);
  }
  const std::string wrongCase = "Z" + functions.begin()->first.substr(1);
  const std::string longName(5000, 'f');
  for (const char* name : {wrongCase.c_str(), "XCheck", "", longName.c_str()}) {
    EXPECT_EQ(answer(name, {3}), "0" + own.library + ": " + std::string(name).substr(0, 200) +
                                     " cannot be found in library.");
  }
  EXPECT_EQ(answer(nullptr, {3}), "0" + own.library + ":  cannot be found in library.");
}

}  // namespace zdb::test
