// The d__ family: the functions that take or return texts, for clients with short strings. The type
// codes determine which arguments are converted, and how.
#include <algorithm>
#include <optional>
#include <tuple>
#include <type_traits>

#include "api/forward.h"
#include "api/shortstring.h"
#include "api/signature.h"

namespace zdb {

/// The short-string form of a function with these type codes.
template <typename Result, auto Function, typename Codes>
struct ShortForm;

template <typename Result, auto Function, int ResultCode, int... Codes>
struct ShortForm<Result, Function, CodeList<ResultCode, Codes...>> {
  using List = CodeList<Codes...>;

  template <typename... Arguments>
  static Result call(::zdbHandle_t db, Arguments... arguments) {
    const std::optional<int> rows = rowCount(db, arguments...);
    if (!rows) return failure(arguments...);
    return forward<Result, Function>(db,
                                     ShortArgument<Codes, Arguments>(arguments, *rows).get()...);
  }

 private:
  /// Number of rows of a text array: the argument for the dimension if there is one, else the
  /// dimension of the symbol, which is the first argument. None if there is no symbol.
  template <typename... Arguments>
  static std::optional<int> rowCount(::zdbHandle_t db, Arguments... arguments) {
    int rows = 0;
    if constexpr (!List::contains(ZDB_CODE_TEXTS_IN) && !List::contains(ZDB_CODE_TEXTS_OUT)) {
      return rows;
    } else if constexpr (List::contains(ZDB_CODE_INT)) {
      constexpr std::size_t position =
          std::ranges::find(List::values, int{ZDB_CODE_INT}) - std::ranges::begin(List::values);
      rows = std::get<position>(std::tie(arguments...));
    } else if (!zdbSymbolDim(inside(db), inside(std::get<0>(std::tie(arguments...))), &rows)) {
      return std::nullopt;
    }
    return std::clamp(rows, 0, int{ZDB_MAX_DIM});
  }

  /// Sets a handle output to null, as on failure.
  template <typename Argument>
  static void clearHandle(Argument argument) {
    if constexpr (std::is_same_v<Argument, ::zdbRecord_t*>) {
      if (argument != nullptr) *argument = nullptr;
    }
  }

  template <typename... Arguments>
  static Result failure(Arguments... arguments) {
    if constexpr (List::contains(ZDB_CODE_STATUS)) {
      int* status = std::get<sizeof...(Arguments) - 1>(std::tie(arguments...));
      if (status != nullptr) *status = 0;
    }
    (clearHandle(arguments), ...);
    return Result{};
  }
};

}  // namespace zdb

// NOLINTBEGIN(bugprone-reserved-identifier): the names are the interface.

#define ZDB_TEXTS_IN const char*
#define ZDB_TEXTS_OUT char*
#define ZDB_TEXT(name, lower, result, parameters, arguments, ...)                          \
  extern "C" result d__##lower parameters {                                                \
    return zdb::ShortForm<result, &zdb::name, zdb::CodeList<__VA_ARGS__>>::call arguments; \
  }
#include "api/exports.def"

// NOLINTEND(bugprone-reserved-identifier)
