#pragma once

#include <string>
#include <vector>

#include "json.h"
#include "model.h"

namespace zdb::tool {

/// Rows and bounds of columns that exclude each other.
class InfeasibleSet {
 public:
  /// Looks for some, in a model that has no solution, for so many seconds at most.
  InfeasibleSet(const Model& model, double seconds);

  /// Lines for people: what it is, then each row and bound as "ship(seattle) <= 350".
  std::vector<std::string> lines() const;
  /// An object: whether each of them is needed, and the rows and bounds; or why there are none.
  void writeJson(JsonWriter& json) const;

 private:
  struct Member {
    bool isRow;
    std::string symbol;
    std::vector<std::string> labels;
    std::optional<double> lower;  ///< the sides that belong to the set
    std::optional<double> upper;
  };

  void take(bool isRow, int number, int sides);
  std::string textOf(const Member& member) const;

  const Model& model_;
  bool isIrreducible_ = false;
  std::string reason_;  ///< why there is no set
  std::vector<Member> members_;
};

}  // namespace zdb::tool
