// The type codes that describe the functions of a companion.
#pragma once

#include <cstddef>
#include <span>

namespace zdb::contract {

/// A function of a companion and its type codes: the result's first, then one per argument after
/// the handle.
struct Signature {
  const char* name;
  std::span<const int> codes;

  constexpr int argumentCount() const { return static_cast<int>(codes.size()) - 1; }
};

template <int... codes>
struct OneOf {
  static constexpr bool has(int code) { return ((code == codes) || ...); }
};

/// The type codes that may describe a C type. Arrays and single values share a type, so a type can
/// have several codes; a type that is missing here cannot occur in a companion's interface.
template <typename T>
struct Codes;
template <>
struct Codes<void*> : OneOf<1> {};
template <>
struct Codes<int> : OneOf<3> {};
template <>
struct Codes<int*> : OneOf<4, 52> {};
template <>
struct Codes<const int*> : OneOf<51> {};
template <>
struct Codes<double> : OneOf<13> {};
template <>
struct Codes<double*> : OneOf<14, 54, 58> {};
template <>
struct Codes<const double*> : OneOf<53, 57> {};
template <>
struct Codes<char*> : OneOf<12> {};
template <>
struct Codes<const char*> : OneOf<11> {};
template <>
struct Codes<char**> : OneOf<56> {};
template <>
struct Codes<const char**> : OneOf<55> {};

/// Whether the codes describe the function type, whose first parameter is the handle.
template <typename Result, typename Handle, typename... Arguments>
constexpr bool codesFit(Result (*)(Handle, Arguments...), std::span<const int> codes) {
  if (codes.size() != sizeof...(Arguments) + 1 || !Codes<Result>::has(codes[0])) return false;
  std::size_t i = 0;
  return (Codes<Arguments>::has(codes[++i]) && ...);
}

}  // namespace zdb::contract
