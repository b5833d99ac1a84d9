#pragma once

#include <pybind11/numpy.h>

#include <cstdint>

namespace zdbpy {

using Numbers = pybind11::array_t<std::int32_t, pybind11::array::c_style>;
using Doubles = pybind11::array_t<double, pybind11::array::c_style>;

/// An array to be filled. Made from its shape: with a count alone, pybind11 before 2.12 reads the
/// distance of items where numpy 2 has something else, so that all items are one.
template <typename Array>
Array made(std::int64_t count) {
  return Array(pybind11::array::ShapeContainer{static_cast<pybind11::ssize_t>(count)});
}

}  // namespace zdbpy
