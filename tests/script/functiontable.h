// Exported functions as data: what each takes and gives, and how to call it without glue. A host of
// scripts makes its table from the same .def file that the library makes its exports from.
#pragma once

#include <bit>
#include <functional>
#include <map>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace zdb::script {

/// An argument or a result on its way to or from a function.
union Slot {
  void* pointer = nullptr;
  int integer;
  double real;
};

enum class Shape { None, Int, Double, Handle, Callback, Text };

struct Parameter {
  Shape shape;       ///< of the value, or of each value of an array
  bool isArray;      ///< passed as an address; a text is a value
  bool isOutput;     ///< the function may write there
  const char* kind;  ///< of handles, by kKind
};

/// The kind of a handle type, by which a host tells how to describe and release it; specialise it
/// for each handle type before a table is made. Objects, which @name gives, are of kind "object".
template <typename T>
inline constexpr const char* kKind = "pointer";

/// What a parameter is to a script, by its C type.
template <typename T>
constexpr Parameter parameterOf() {
  using Target = std::remove_pointer_t<T>;
  using Element = std::remove_cv_t<Target>;
  constexpr bool isNumber = std::is_same_v<Element, int> || std::is_same_v<Element, double>;
  constexpr bool isArray = std::is_pointer_v<T> && (isNumber || std::is_pointer_v<Element>);
  using Value = std::conditional_t<isArray, Element, T>;
  using Pointee = std::remove_pointer_t<Value>;
  constexpr Shape shape = std::is_void_v<Value>                             ? Shape::None
                          : std::is_same_v<Value, int>                      ? Shape::Int
                          : std::is_same_v<Value, double>                   ? Shape::Double
                          : std::is_function_v<Pointee>                     ? Shape::Callback
                          : std::is_same_v<std::remove_cv_t<Pointee>, char> ? Shape::Text
                                                                            : Shape::Handle;
  static_assert(shape != Shape::Handle || std::is_pointer_v<Value>, "a type that scripts lack");
  constexpr bool isOutput =
      shape == Shape::Text ? !std::is_const_v<Pointee> : isArray && !std::is_const_v<Target>;
  return {shape, isArray, isOutput, kKind<Value>};
}

/// One calling form of a function; empty if it has none such.
using Form = std::function<Slot(const Slot* arguments)>;

template <typename T>
T taken(const Slot& slot) {
  if constexpr (std::is_same_v<T, int>) {
    return slot.integer;
  } else {
    return std::bit_cast<T>(slot);
  }
}

template <typename Result, typename... Arguments>
Form formOf(Result (*typed)(Arguments...)) {
  return [typed]([[maybe_unused]] const Slot* arguments) {
    return [&]<std::size_t... I>(std::index_sequence<I...>) {
      Slot slot;
      if constexpr (std::is_void_v<Result>) {
        typed(taken<Arguments>(arguments[I])...);
      } else if constexpr (std::is_same_v<Result, int>) {
        slot.integer = typed(taken<Arguments>(arguments[I])...);
      } else {
        slot = std::bit_cast<Slot>(typed(taken<Arguments>(arguments[I])...));
      }
      return slot;
    }
    (std::index_sequence_for<Arguments...>{});
  };
}

struct Function {
  std::string name;
  bool takesObject;  ///< the first argument is the statement's object, not written in scripts
  Parameter result;
  std::vector<Parameter> parameters;  ///< all but the object
  std::vector<std::string> names;     ///< of the parameters, if they are known
  Form plain;                         ///< texts are C strings
  Form shortStrings;  ///< texts are a length byte and characters, arrays of them a matrix
  Form flat;          ///< C strings, arrays of them a matrix

  /// `declared` is the parameter list as it is written, from which the names are taken.
  template <typename Result, typename... Arguments>
  static Function make(const char* name, Result (*typed)(Arguments...), bool takesObject,
                       const std::string& declared = "") {
    Function made{
        name, takesObject, parameterOf<Result>(), {parameterOf<Arguments>()...}, {}, formOf(typed),
        {},   {}};
    for (std::size_t end = 0; (end = declared.find_first_of(",)", end + 1)) != declared.npos;) {
      const std::size_t start = declared.find_last_of(" *", end) + 1;
      made.names.push_back(declared.substr(start, end - start));
    }
    if (takesObject) made.parameters.erase(made.parameters.begin());
    if (takesObject && !made.names.empty()) made.names.erase(made.names.begin());
    return made;
  }
};

using FunctionTable = std::map<std::string, Function, std::less<>>;

}  // namespace zdb::script
