#pragma once

#include <pybind11/pybind11.h>

#include <cstddef>
#include <string>

namespace zdbpy {

/// A str as bytes: UTF-8, and bytes that came from the library and are not. Raises for a NUL.
std::string textOf(const pybind11::str& text);
/// The inverse.
pybind11::str strOf(const char* bytes, std::size_t size);
inline pybind11::str strOf(const std::string& text) {
  return strOf(text.data(), text.size());
}

}  // namespace zdbpy
