// The compiled part of the package zdbcc: databases and symbols by the column. What it raises,
// zdbcc._errors defines; what users see of it, the modules of the package wrap.
#include <pybind11/numpy.h>

#include "database.h"

namespace {

/// Before 2.12, pybind11 reads the arrays of numpy 2 wrongly, without an error.
void requireFittingNumpy() {
#if PYBIND11_VERSION_HEX < 0x020C0000
  const auto version = pybind11::module_::import("numpy").attr("__version__").cast<std::string>();
  if (version.starts_with("0.") || version.starts_with("1.")) return;
  throw pybind11::import_error("zdbcc was built with pybind11 " PYBIND11_TOSTRING(
      PYBIND11_VERSION_MAJOR) "." PYBIND11_TOSTRING(PYBIND11_VERSION_MINOR) ", which does not know "
      "numpy " + version + "; install the wheel, build with pybind11 2.12 or newer, or use numpy 1");
#endif
}

}  // namespace

PYBIND11_MODULE(_core, module) {
  requireFittingNumpy();
  module.doc() = "Databases and symbols by the column, for the package zdbcc.";
  zdbpy::bindDatabase(module);
  zdbpy::bindSymbols(module);
  zdbpy::bindLabels(module);
  zdbpy::bindColumns(module);
  zdbpy::bindStreams(module);
  module.attr("__version__") = zdbx_version_text();
}
