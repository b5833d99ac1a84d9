#pragma once

#include <algorithm>

#include "dmap/idmap.h"

namespace zdb::dmap {

/// The only record that a container of dimension 0 can hold, kept in the container itself. It has
/// no key, and every insertion overwrites it.
struct ScalarRecord {
  double values[5] = {};
  bool isPresent = false;

  /// Sets the record to the values of a row of this width.
  void assign(const double* row, int valueWidth) {
    std::copy_n(row, doublesPerRecord(valueWidth), values);
    isPresent = true;
  }
};

}  // namespace zdb::dmap
