#include "errors.h"

namespace py = pybind11;

namespace zdbpy {

Failure Failure::of(zdbHandle_t db) {
  if (db == nullptr) return argument("there is no database");
  // Labels with control characters are refused without a message.
  if (zdbx_error_kind(db) == ZDBX_NONE) {
    return {ZDBX_LABEL, "a label is not valid: it has control characters", {}, -1, -1};
  }
  return {zdbx_error_kind(db), zdbx_error_text(db), zdbx_error_reason(db), -1, -1};
}

Failure Failure::of(zdbHandle_t db, const zdbx_result& result) {
  Failure failure = of(db);
  failure.row = result.row;
  failure.position = result.position;
  return failure;
}

py::object decoded(const std::string& text) {
  return py::reinterpret_steal<py::object>(
      PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "backslashreplace"));
}

void raise(const Failure& failure) {
  const py::object error =
      py::module_::import("zdbcc._errors")
          .attr("make")(failure.kind, decoded(failure.text), decoded(failure.reason), failure.row,
                        failure.position);
  PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(error.ptr())), error.ptr());
  throw py::error_already_set();
}

}  // namespace zdbpy
