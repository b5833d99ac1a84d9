// The compiled part of the package zdbcc: databases and symbols by the column. What it raises,
// zdbcc._errors defines; what users see of it, the modules of the package wrap.
#include "database.h"

PYBIND11_MODULE(_core, module) {
  module.doc() = "Databases and symbols by the column, for the package zdbcc.";
  zdbpy::bindDatabase(module);
  zdbpy::bindSymbols(module);
  zdbpy::bindLabels(module);
  zdbpy::bindColumns(module);
  zdbpy::bindStreams(module);
  module.attr("__version__") = zdbx_version_text();
}
