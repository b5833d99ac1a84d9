// Texts in and out: labels of the database, and element texts.
#include "labels.h"

#include <cstring>

#include "arrays.h"

namespace py = pybind11;

namespace zdbpy {

Texts::Texts(const py::sequence& texts, const char* what) {
  const auto fast = py::reinterpret_steal<py::object>(PySequence_Tuple(texts.ptr()));
  if (!fast) throw py::error_already_set();
  const Py_ssize_t size = PyTuple_GET_SIZE(fast.ptr());
  owner_ = fast;
  pointers_.reserve(static_cast<std::size_t>(size));
  for (Py_ssize_t i = 0; i < size; ++i) add(PyTuple_GET_ITEM(fast.ptr(), i), i, what);
}

void Texts::add(PyObject* item, std::int64_t row, const char* what) {
  if (PyUnicode_Check(item) == 0) {
    const auto shown = py::reinterpret_steal<py::str>(PyObject_Repr(item));
    if (!shown) throw py::error_already_set();
    std::string text = shown;
    if (text.size() > 40) text = text.substr(0, 37) + "...";
    raise({ZDBX_LABEL,
           std::string(what) + " " + std::to_string(row) + " is " + text + " (" +
               Py_TYPE(item)->tp_name + "), not a str; convert it or leave the row out",
           {},
           row,
           -1});
  }
  Py_ssize_t size = 0;
  const char* bytes = PyUnicode_AsUTF8AndSize(item, &size);  // kept in the str
  if (bytes == nullptr) {
    PyErr_Clear();  // it has bytes that are not UTF-8
    bytes = kept_.emplace_back(textOf(py::reinterpret_borrow<py::str>(item))).c_str();
  } else if (static_cast<Py_ssize_t>(std::strlen(bytes)) != size) {
    raise({ZDBX_LABEL,
           std::string(what) + " " + std::to_string(row) + " has the character NUL in it",
           {},
           row,
           -1});
  }
  pointers_.push_back(bytes);
}

namespace {

Numbers addLabels(Database& self, const py::sequence& labels) {
  const Texts texts(labels, "label");
  auto numbers = made<Numbers>(texts.count());
  std::int32_t* out = numbers.mutable_data();
  self.call([&](zdbHandle_t db) -> std::optional<Failure> {
    zdbx_result result = {};
    result.size = sizeof result;
    const zdbx_texts list = texts.list();
    if (zdbx_add_labels(db, &list, texts.count(), out, ZDBX_UNDO, &result) != 0) return {};
    return Failure::of(db, result);
  });
  return numbers;
}

Numbers findLabels(Database& self, const py::sequence& labels) {
  const Texts texts(labels, "label");
  auto numbers = made<Numbers>(texts.count());
  std::int32_t* out = numbers.mutable_data();
  self.call([&](zdbHandle_t db) {
    const zdbx_texts list = texts.list();
    return check(db, zdbx_find_labels(db, &list, texts.count(), out, nullptr));
  });
  return numbers;
}

int labelCount(Database& self) {
  int count = 0;
  self.call([&](zdbHandle_t db) {
    return check(db, c__zdbinfo(db, ZDB_INFO_LABELS, &count, nullptr, nullptr));
  });
  return count;
}

/// The labels with numbers from `first` on.
py::list labelsFrom(Database& self, std::int32_t first, std::int64_t count) {
  std::vector<std::int64_t> offsets(static_cast<std::size_t>(count) + 1);
  std::string bytes;
  self.call([&](zdbHandle_t db) {
    std::int64_t needed = 0;
    if (zdbx_get_labels(db, first, count, nullptr, 0, nullptr, &needed) == 0) return check(db, 0);
    bytes.resize(static_cast<std::size_t>(needed));
    return check(db,
                 zdbx_get_labels(db, first, count, bytes.data(), needed, offsets.data(), &needed));
  });
  py::list result(static_cast<std::size_t>(count));
  for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
    result[i] =
        strOf(bytes.data() + offsets[i], static_cast<std::size_t>(offsets[i + 1] - offsets[i]));
  }
  return result;
}

}  // namespace

void bindLabels(py::module_& module) {
  auto database = py::reinterpret_borrow<py::class_<Database, std::shared_ptr<Database>>>(
      module.attr("Database"));
  database.def("add_labels", &addLabels, py::arg("labels"))
      .def("find_labels", &findLabels, py::arg("labels"))
      .def("label_count", &labelCount)
      .def("labels", &labelsFrom, py::arg("first"), py::arg("count"));
}

}  // namespace zdbpy
