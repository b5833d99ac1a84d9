#pragma once

#include <vector>

#include "model.h"

namespace zdb::tool {

/// Whether an objective is turned: an MPS file may leave open which way it goes.
struct Direction {
  bool minimizes = false;
  bool maximizes = false;

  /// Throws WrongUseError if it is both.
  void check() const;
  /// For all solves of a model. Throws ToolError if it has no objective to turn.
  void apply(const Model& model) const;
  /// "min" and "max", or "model": the model says it.
  const char* text() const { return minimizes ? "min" : maximizes ? "max" : "model"; }
};

/// The options of a verb that solves.
template <typename Options>
std::vector<Option> directionOptions(Direction Options::*direction) {
  return {{.name = "min",
           .text = "Minimise, whatever the model says",
           .target = into(direction, &Direction::minimizes)},
          {.name = "max",
           .text = "Maximise, whatever the model says",
           .target = into(direction, &Direction::maximizes)}};
}

}  // namespace zdb::tool
