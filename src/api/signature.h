// The type codes of each exported function, with which clients can check their own declarations,
// and compile-time checks that the codes match the functions.
#pragma once

#include <algorithm>
#include <string_view>
#include <type_traits>

#include "zdbcclib.h"

namespace zdb {

/// One row of the exported surface.
struct Signature {
  const char* name;
  int arguments;     ///< without the database handle
  const int* codes;  ///< ZDB_CODE_...: the result's, then one per argument
};

/// The functions of the c__ family in the order of exports.def.
extern const Signature kSignatures[];
extern const int kSignatureCount;

/// Compares a client's declaration of a function with the row; writes the difference to `message`
/// (256 bytes), or empties it.
bool CheckSign(const Signature& row, const char* name, int count, const int* codes, char* message);

template <int... Codes>
struct CodeList {
  static constexpr int values[] = {Codes...};
  static constexpr int argumentCount = static_cast<int>(sizeof...(Codes)) - 1;

  static constexpr bool contains(int code) { return ((Codes == code) || ...); }
  static constexpr bool hasTexts() { return (isText(Codes) || ...); }

 private:
  static constexpr bool isText(int code) {
    return code == ZDB_CODE_TEXT_IN || code == ZDB_CODE_TEXT_OUT || code == ZDB_CODE_TEXTS_IN ||
           code == ZDB_CODE_TEXTS_OUT;
  }
};

/// Whether a parameter (or result) of type T may have this code.
template <typename T>
constexpr bool codeFits(int code) {
  using Target = std::remove_pointer_t<T>;
  constexpr bool toObject = std::is_pointer_v<T> && !std::is_function_v<Target>;
  switch (code) {
    case ZDB_CODE_POINTER:
      return toObject;
    case ZDB_CODE_POINTER_OUT:
      return toObject && std::is_pointer_v<Target>;
    case ZDB_CODE_INT:
    case ZDB_CODE_BOOL:
      return std::is_same_v<T, int>;
    case ZDB_CODE_INT_OUT:
    case ZDB_CODE_STATUS:
    case ZDB_CODE_INT_REF:
    case ZDB_CODE_INTS_OUT:
      return std::is_same_v<T, int*>;
    case ZDB_CODE_INT_ARRAY:
      return std::is_same_v<T, int*> || std::is_same_v<T, const int*>;
    case ZDB_CODE_INTS_IN:
      return std::is_same_v<T, const int*>;
    case ZDB_CODE_TEXT_IN:
      return std::is_same_v<T, const char*>;
    case ZDB_CODE_TEXT_OUT:
      return std::is_same_v<T, char*>;
    case ZDB_CODE_DOUBLE:
      return std::is_same_v<T, double>;
    case ZDB_CODE_DOUBLE_OUT:
    case ZDB_CODE_DOUBLES_OUT:
    case ZDB_CODE_SPECIALS_OUT:
      return std::is_same_v<T, double*>;
    case ZDB_CODE_DOUBLES_IN:
    case ZDB_CODE_SPECIALS_IN:
      return std::is_same_v<T, const double*>;
    case ZDB_CODE_TEXTS_IN:
      return std::is_same_v<T, const char* const*>;
    case ZDB_CODE_TEXTS_OUT:
      return std::is_same_v<T, char* const*>;
    case ZDB_CODE_CALLBACK:
      return std::is_pointer_v<T> && std::is_function_v<Target>;
    default:
      return false;
  }
}

template <int... Codes, typename Result, typename... Arguments>
constexpr bool codesFit(CodeList<Codes...>, Result (*)(::zdbHandle_t, Arguments...)) {
  if (sizeof...(Codes) != sizeof...(Arguments) + 1) return false;
  const int* code = CodeList<Codes...>::values;
  return codeFits<Result>(*code) && (codeFits<Arguments>(*++code) && ...);
}

/// Whether `lower` is `name` with its capitals folded.
constexpr bool isLowerCaseOf(std::string_view lower, std::string_view name) {
  return std::equal(lower.begin(), lower.end(), name.begin(), name.end(), [](char l, char n) {
    return l == (n >= 'A' && n <= 'Z' ? static_cast<char>(n + ('a' - 'A')) : n);
  });
}

}  // namespace zdb
