#pragma once

#include <algorithm>

#include "dmap/idmap.h"

namespace zdb::dmap {

/// The one record that a container of dimension 0 can hold, kept in the container itself: it has no
/// key, and every insertion overwrites it.
struct ScalarRecord {
  double values[5] = {};
  bool isPresent = false;

  /// Puts the record there with the values of a row of this width.
  void assign(const double* row, int valueWidth) {
    std::copy_n(row, doublesPerRecord(valueWidth), values);
    isPresent = true;
  }
};

}  // namespace zdb::dmap
