// The compiled part of the package zdbcc for models: reading, changing and solving them, one time
// or many times. It is loaded when the first model is read.
#include "kit/model.h"

PYBIND11_MODULE(_kit, module) {
  module.doc() = "Models that are read, changed and solved, for the package zdbcc.";
  zdbpy::bindModel(module);
  zdbpy::bindSweep(module);
}
