#include "spy.h"

#include <cstring>
#include <sstream>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include "loaders/zlx.h"
#include "loaders/zmi.h"
#include "loaders/zrt.h"
#include "loaders/zst.h"

using namespace zdb::loaders;

namespace {

Spy* spy = nullptr;

template <typename T>
void show(std::ostream& out, T argument) {
  constexpr bool isShown = std::is_arithmetic_v<T> || std::is_same_v<T, const char*>;
  if constexpr (isShown) {
    out << argument << ",";
  } else if (argument == nullptr) {
    out << "null,";
  }
}

template <typename... Arguments>
void note(const char* name, Arguments... arguments) {
  ++spy->counts[name];
  std::ostringstream line;
  line << name << "(";
  (show(line, arguments), ...);
  std::string text = line.str();
  if (text.back() == ',') text.pop_back();
  spy->calls.push_back(text + ")");
}

template <typename Result, typename... Arguments>
Result answer(const Spy::Answer& given, Arguments... arguments) {
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

// What stands in for the function that a pointer of a loader leads to.
template <auto* pointer, typename Function>
struct Wrapper;
template <auto* pointer, typename Result, typename Handle, typename... Arguments>
struct Wrapper<pointer, Result (*)(Handle, Arguments...)> {
  static inline const char* name;
  static inline Result (*kits)(Handle, Arguments...);

  static Result call(Handle handle, Arguments... arguments) {
    if (spy == nullptr) return kits(handle, arguments...);
    note(name, arguments...);
    const auto given = spy->answers.find(name);
    if (given == spy->answers.end()) return kits(handle, arguments...);
    return answer<Result>(given->second, arguments...);
  }
};

template <auto* pointer>
void wrap(const char* name) {
  using Wrapped = Wrapper<pointer, std::remove_pointer_t<decltype(pointer)>>;
  if (*pointer == Wrapped::call) return;
  Wrapped::name = name;
  Wrapped::kits = std::exchange(*pointer, Wrapped::call);
}

}  // namespace

void Spy::comeBetween() {
  char message[256];
  for (const auto getReady : {zmiGetReady, zlxGetReady, zrtGetReady, zstGetReady}) {
    if (getReady(message, sizeof message) != 1) throw std::runtime_error(message);
  }
#define ZDB_FUNCTION(name, result, parameters, codes) wrap<&name>(#name);
#include "contract/zlxfunctions.def"
#define ZDB_FUNCTION(name, result, parameters, codes) wrap<&name>(#name);
#include "contract/zmifunctions.def"
#define ZDB_FUNCTION(name, result, parameters, codes) wrap<&name>(#name);
#include "contract/zrtfunctions.def"
#define ZDB_FUNCTION(name, result, parameters, codes) wrap<&name>(#name);
#include "contract/zstfunctions.def"
}

Spy::Spy() {
  comeBetween();
  spy = this;
}

Spy::~Spy() {
  spy = nullptr;
}

std::string Spy::taken(const std::string& words) {
  std::string joined;
  for (const std::string& call : std::exchange(calls, {})) {
    std::istringstream beginnings(words);
    bool isWanted = false;
    for (std::string one; beginnings >> one;) isWanted |= call.starts_with(one);
    if (isWanted) joined += (joined.empty() ? "" : " ") + call;
  }
  return joined.empty() ? "none" : joined;
}

bool Spy::isBalanced() {
  return counts["zlxFindFirstRowCol"] == counts["zlxFindClose"] &&
         counts["zmiViewStore"] == counts["zmiViewRestore"];
}
