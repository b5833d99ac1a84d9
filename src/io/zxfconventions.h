#pragma once

#include <algorithm>
#include <array>

#include "core/specialvalues.h"
#include "loaders/zxf.h"

namespace zdb {

/// In a file, the user information of an equation is its subtype plus this.
inline constexpr int kEquationOffset = 53;

/// The companion's seven special values, the first five being the library's own, whatever the
/// caller has set for the database. The other two belong to the companion.
inline std::array<double, 7> zxfSpecialValues(loaders::zxfRec* zxf) {
  std::array<double, 7> values{};
  loaders::zxfGetSpecialValues(zxf, values.data());
  std::copy(kLibrarySpecialValues.begin(), kLibrarySpecialValues.end(), values.begin());
  return values;
}

}  // namespace zdb
