// The twins of the functions that return a handle through a parameter, for bindings that need it as
// the result. They are made from the rows of exports.def; each calls its plain function.
#include <algorithm>
#include <cstddef>
#include <tuple>
#include <type_traits>
#include <utility>

#include "api/guard.h"
#include "api/zdbcoorg.h"

namespace zdb {

namespace {

template <typename Parameter>
inline constexpr bool kIsHandleOut =
    std::is_same_v<Parameter, zdbSymbol_t*> || std::is_same_v<Parameter, zdbRecord_t*> ||
    std::is_same_v<Parameter, zdbDV_t*>;

/// The twin of a plain function: it has the same parameters and the status at the end. It has the
/// handle, by value, only if the plain function takes one in its place.
template <typename Plain>
struct Twin;

template <typename... Parameters>
struct Twin<int (*)(Parameters...)> {
  static constexpr bool kIsOut[] = {kIsHandleOut<Parameters>...};
  static constexpr std::size_t kPlace = std::ranges::find(kIsOut, true) - std::begin(kIsOut);
  static_assert(kPlace < sizeof...(Parameters), "the plain function gives no handle out");
  using Out = std::tuple_element_t<kPlace, std::tuple<Parameters...>>;
  using Handle = std::remove_pointer_t<Out>;

  const char* function;
  int (*plain)(Parameters...);

  template <typename... Arguments>
  Handle operator()(ZDB* db, Arguments... arguments) const {
    constexpr bool kTakesHandle = sizeof...(Arguments) == sizeof...(Parameters);
    const auto given = std::make_tuple(db, arguments...);
    int* status = std::get<sizeof...(Arguments)>(given);
    return pyTwin<std::remove_pointer_t<Handle>>(function, db, status, [&](Out out) {
      if constexpr (kTakesHandle) *out = std::get<kPlace>(given);
      return call<kTakesHandle>(given, out, std::index_sequence_for<Parameters...>());
    });
  }

 private:
  template <bool TakesHandle, typename Given, std::size_t... I>
  int call(const Given& given, Out out, std::index_sequence<I...> /*positions*/) const {
    return plain(pick<I, TakesHandle>(given, out)...);
  }

  template <std::size_t I, bool TakesHandle, typename Given>
  static auto pick(const Given& given, Out out) {
    if constexpr (I == kPlace) {
      return out;
    } else {
      return std::get<(I < kPlace || TakesHandle ? I : I - 1)>(given);
    }
  }
};

}  // namespace

#define ZDB_TWIN(plain, row, name, lower, result, parameters, arguments, ...) \
  result name parameters {                                                    \
    return Twin<decltype(&plain)>{#name, &plain} arguments;                   \
  }
#include "api/exports.def"

}  // namespace zdb
