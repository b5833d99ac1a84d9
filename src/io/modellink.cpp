// Freeing what a model link owns.
#include "io/modellink.h"

#include "loaders/zst.h"

namespace zdb {

void ModelLink::releaseSolver() {
  if (lastSolver >= 1 && lastSolverModifies) loaders::zstAlgFree(configuration, lastSolver);
  lastSolver = 0;
  lastSolverModifies = false;
}

void ModelLink::forgetPreparation() {
  releaseSolver();
  environment = nullptr;
  if (configuration != nullptr) loaders::zstFree(&configuration);
  columns = 0;
  rows = 0;
  for (auto* values :
       {&columnLevels, &columnMarginals, &rowLevels, &rowMarginals, &constantTerms}) {
    values->clear();
  }
  alternativeBoundsInUse = false;
}

}  // namespace zdb
