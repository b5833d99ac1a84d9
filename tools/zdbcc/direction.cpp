#include "direction.h"

#include "exitcode.h"
#include "zkitdclib.h"

namespace zdb::tool {

void Direction::check() const {
  if (minimizes && maximizes) throw WrongUseError("--min and --max exclude each other");
}

void Direction::apply(const Model& model) const {
  if (!minimizes && !maximizes) return;
  if (zkitObjectiveColumn(model.instance()) < 0) {
    throw ToolError(model.file() + " has no objective, which --min and --max need");
  }
  zkitSetDirection(model.instance(), minimizes ? 1 : -1);
}

}  // namespace zdb::tool
