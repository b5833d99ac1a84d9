#include "texts.h"

#include "errors.h"

namespace py = pybind11;

namespace zdbpy {

std::string textOf(const py::str& text) {
  const auto bytes = py::reinterpret_steal<py::bytes>(
      PyUnicode_AsEncodedString(text.ptr(), "utf-8", "surrogateescape"));
  if (!bytes) {
    PyErr_Clear();  // it has surrogates, of which half a pair is no character
    const auto shown = py::reinterpret_steal<py::str>(PyObject_ASCII(text.ptr()));
    if (!shown) throw py::error_already_set();
    raise({ZDBX_LABEL,
           "the text " + static_cast<std::string>(shown) +
               " cannot be written in UTF-8; leave its surrogates out",
           {},
           -1,
           -1});
  }
  std::string result = bytes;
  if (result.find('\0') != std::string::npos) {
    raise(Failure::argument("a text has the character NUL in it: \"" +
                            result.substr(0, result.find('\0')) + "\\0...\""));
  }
  return result;
}

py::str strOf(const char* bytes, std::size_t size) {
  return py::reinterpret_steal<py::str>(
      PyUnicode_DecodeUTF8(bytes, static_cast<Py_ssize_t>(size), "surrogateescape"));
}

}  // namespace zdbpy
