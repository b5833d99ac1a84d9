#pragma once

#include <pybind11/pybind11.h>

#include <cstdint>
#include <string>

#include "zdbx.h"

namespace zdbpy {

/// Why a call of the library failed.
struct Failure {
  int kind = ZDBX_OTHER;  ///< ZDBX_...
  std::string text;
  std::string reason;          ///< the words of the system or a companion; may be empty
  std::int64_t row = -1;       ///< of the arguments, from 0; -1: none
  std::int32_t position = -1;  ///< the column at fault, from 0; -1: none

  static Failure argument(std::string text) { return {ZDBX_ARGUMENT, std::move(text), {}, -1, -1}; }
  /// The last error of a database. Needs no GIL.
  static Failure of(zdbHandle_t db);
  /// The same with the place that a bulk call has told.
  static Failure of(zdbHandle_t db, const zdbx_result& result);
};

/// A message as a str; it may repeat labels that are not UTF-8.
pybind11::object decoded(const std::string& text);

/// Raises the exception class of the failure's kind, which zdbcc._errors chooses.
[[noreturn]] void raise(const Failure& failure);

}  // namespace zdbpy
