// Exported functions as data: what each takes and gives, and how to call it without glue. A host of
// scripts makes its table from the same .def file that the library makes its exports from.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace zdb::script {

/// An argument or a result on its way to or from a function.
union Slot {
  void* pointer;
  int integer;
  double real;
};

enum class Shape { None, Int, Double, Handle, Callback, Text, Texts, Ints, Doubles, Handles };

struct Parameter {
  Shape shape;
  bool isOutput;     ///< the function may write there
  const char* kind;  ///< of handles, by kKind
};

/// The kind of a handle type, by which a host tells how to describe and release it; specialise it
/// for each handle type before a table is made. Handles of kind "object" are those that @name
/// gives.
template <typename T>
inline constexpr const char* kKind = "pointer";

/// What a parameter is to a script, by its C type.
template <typename T>
constexpr Parameter parameterOf() {
  using Target = std::remove_pointer_t<T>;
  using Plain = std::remove_cv_t<Target>;
  constexpr bool isOutput = !std::is_const_v<Target>;
  if constexpr (std::is_void_v<T>) {
    return {Shape::None, false, ""};
  } else if constexpr (std::is_same_v<T, int>) {
    return {Shape::Int, false, ""};
  } else if constexpr (std::is_same_v<T, double>) {
    return {Shape::Double, false, ""};
  } else if constexpr (std::is_function_v<Target>) {
    return {Shape::Callback, false, ""};
  } else if constexpr (std::is_same_v<Plain, char>) {
    return {Shape::Text, isOutput, ""};
  } else if constexpr (std::is_same_v<Plain, int>) {
    return {Shape::Ints, isOutput, ""};
  } else if constexpr (std::is_same_v<Plain, double>) {
    return {Shape::Doubles, isOutput, ""};
  } else if constexpr (std::is_same_v<Plain, char*> || std::is_same_v<Plain, const char*>) {
    return {Shape::Texts, std::is_same_v<Plain, char*>, ""};
  } else if constexpr (std::is_pointer_v<Plain>) {
    return {Shape::Handles, isOutput, kKind<Plain>};
  } else {
    static_assert(std::is_pointer_v<T>, "scripts have no value of this type");
    return {Shape::Handle, false, kKind<T>};
  }
}

using AnyFunction = void (*)();

template <typename T>
T taken(const Slot& slot) {
  if constexpr (std::is_same_v<T, int>) {
    return slot.integer;
  } else if constexpr (std::is_same_v<T, double>) {
    return slot.real;
  } else {
    return reinterpret_cast<T>(slot.pointer);
  }
}

template <typename Result>
Slot given(Result result) {
  Slot slot{};
  if constexpr (std::is_same_v<Result, int>) {
    slot.integer = result;
  } else if constexpr (std::is_same_v<Result, double>) {
    slot.real = result;
  } else {
    slot.pointer = const_cast<void*>(static_cast<const void*>(result));
  }
  return slot;
}

/// One calling form of a function, made from a typed pointer.
struct Form {
  AnyFunction function = nullptr;
  Slot (*call)(AnyFunction function, const Slot* arguments) = nullptr;

  Form() = default;
  template <typename Result, typename... Arguments>
  explicit Form(Result (*typed)(Arguments...))
      : function(reinterpret_cast<AnyFunction>(typed)),
        call([](AnyFunction any, const Slot* arguments) {
          return callTyped(reinterpret_cast<Result (*)(Arguments...)>(any), arguments,
                           std::index_sequence_for<Arguments...>{});
        }) {}

 private:
  template <typename Result, typename... Arguments, std::size_t... I>
  static Slot callTyped(Result (*typed)(Arguments...), const Slot* arguments,
                        std::index_sequence<I...>) {
    static_cast<void>(arguments);
    if constexpr (std::is_void_v<Result>) {
      typed(taken<Arguments>(arguments[I])...);
      return {};
    } else {
      return given(typed(taken<Arguments>(arguments[I])...));
    }
  }
};

struct Function {
  std::string name;
  Parameter result;
  std::vector<Parameter> parameters;  ///< all but the object
  bool takesObject;                   ///< the first argument is the statement's object
  std::vector<int> codes;             ///< as the .def file has them
  Form plain;                         ///< texts are C strings
  Form shortStrings;  ///< texts are a length byte and characters, lists of them a matrix
  Form flat;          ///< C strings, lists of them a matrix

  /// A function whose first parameter, if takesObject, is the object and not written in scripts.
  template <typename Result, typename... Arguments>
  static Function make(const char* name, Result (*typed)(Arguments...), bool takesObject,
                       std::vector<int> codes = {}) {
    std::vector<Parameter> parameters = {parameterOf<Arguments>()...};
    if (takesObject) parameters.erase(parameters.begin());
    return {name,
            parameterOf<Result>(),
            std::move(parameters),
            takesObject,
            std::move(codes),
            Form(typed),
            Form(),
            Form()};
  }
};

using FunctionTable = std::map<std::string, Function, std::less<>>;

}  // namespace zdb::script
