// A spy between the database and the model kit.
#pragma once

#include <cstring>
#include <map>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "loaders/zlx.h"
#include "loaders/zmi.h"
#include "loaders/zrt.h"
#include "loaders/zst.h"

/// Every function pointer of the loaders zmi, zrt, zlx and zst leads through the spy, which keeps a
/// list of the calls, passes them on to the kit, and answers in its place when told to. There may
/// be one at a time.
class Spy {
 public:
  struct Answer {
    double result = 0;                ///< of a function that gives a pointer: null
    std::optional<std::string> text;  ///< for the last text output of the function
  };

  std::map<std::string, Answer> answers;  ///< by function
  std::vector<std::string> calls;         ///< with texts and numbers, and "null"
  std::map<std::string, int> counts;      ///< of calls, by function

  Spy() {
    comeBetween();
    present = this;
  }
  ~Spy() { present = nullptr; }
  Spy(const Spy&) = delete;
  Spy& operator=(const Spy&) = delete;

  /// Loads the kit's libraries, unless they are loaded, and comes between.
  static void comeBetween() {
    using namespace zdb::loaders;
    char message[256];
    for (const auto getReady : {zmiGetReady, zlxGetReady, zrtGetReady, zstGetReady}) {
      if (getReady(message, sizeof message) != 1) throw std::runtime_error(message);
    }
#define ZDB_KIT_FUNCTION(name, result, parameters, codes) wrap<&name>(#name);
#include "contract/kitfunctions.def"
  }
  /// The calls so far of functions whose names begin with one of the words; all are forgotten.
  std::string taken(const std::string& words) {
    std::string joined;
    for (const std::string& call : std::exchange(calls, {})) {
      std::istringstream beginnings(words);
      bool isWanted = false;
      for (std::string one; beginnings >> one;) isWanted |= call.starts_with(one);
      if (isWanted) joined += (joined.empty() ? "" : " ") + call;
    }
    return joined.empty() ? "none" : joined;
  }
  /// Whether every walk was closed and every stored view restored.
  bool isBalanced() {
    return counts["zlxFindFirstRowCol"] == counts["zlxFindClose"] &&
           counts["zmiViewStore"] == counts["zmiViewRestore"];
  }

 private:
  static inline Spy* present = nullptr;

  template <typename T>
  static void show(std::ostream& out, T argument) {
    if constexpr (std::is_arithmetic_v<T> || std::is_same_v<T, const char*>) {
      out << "," << argument;
    } else if (argument == nullptr) {
      out << ",null";
    }
  }
  template <typename... Arguments>
  void note(const std::string& name, Arguments... arguments) {
    ++counts[name];
    std::ostringstream line;
    (show(line, arguments), ...);
    calls.push_back(name + "(" + line.str().erase(0, 1) + ")");
  }

  template <typename Result, typename... Arguments>
  static Result answer(const Answer& given, Arguments... arguments) {
    char* last = nullptr;
    [[maybe_unused]] const auto take = [&last](auto argument) {
      if constexpr (std::is_same_v<decltype(argument), char*>) last = argument;
    };
    (take(arguments), ...);
    if (last != nullptr && given.text) std::strcpy(last, given.text->c_str());
    if constexpr (std::is_pointer_v<Result>) {
      return nullptr;
    } else {
      return static_cast<Result>(given.result);
    }
  }

  /// What stands in for the function that a pointer of a loader leads to.
  template <auto* pointer, typename Function>
  struct Wrapper;
  template <auto* pointer, typename Result, typename Handle, typename... Arguments>
  struct Wrapper<pointer, Result (*)(Handle, Arguments...)> {
    static inline const char* name;
    static inline Result (*kits)(Handle, Arguments...);

    static Result call(Handle handle, Arguments... arguments) {
      if (present == nullptr) return kits(handle, arguments...);
      present->note(name, arguments...);
      const auto given = present->answers.find(name);
      if (given == present->answers.end()) return kits(handle, arguments...);
      return answer<Result>(given->second, arguments...);
    }
  };
  template <auto* pointer>
  static void wrap(const char* name) {
    using Wrapped = Wrapper<pointer, std::remove_pointer_t<decltype(pointer)>>;
    if (*pointer == Wrapped::call) return;
    Wrapped::name = name;
    Wrapped::kits = std::exchange(*pointer, Wrapped::call);
  }
};
