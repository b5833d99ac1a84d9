#pragma once

#include <deque>
#include <vector>

#include "database.h"

namespace zdbpy {

/// Strings of a Python sequence as C strings, which are valid as long as this object.
class Texts {
 public:
  /// Raises for what is not a str, with its place and `what` it is: "label".
  Texts(const pybind11::sequence& texts, const char* what);

  std::int64_t count() const { return static_cast<std::int64_t>(pointers_.size()); }
  const std::vector<const char*>& pointers() const { return pointers_; }
  zdbx_texts list() const {
    static const char* const none = nullptr;  // the library takes no null, also for no texts
    zdbx_texts texts = {};
    texts.size = sizeof texts;
    texts.pointers = pointers_.empty() ? &none : pointers_.data();
    return texts;
  }

 private:
  void add(PyObject* item, std::int64_t row, const char* what);

  pybind11::object owner_;
  std::vector<const char*> pointers_;
  std::deque<std::string> kept_;  ///< bytes that no str has
};

}  // namespace zdbpy
