#pragma once

#include <algorithm>
#include <array>

#include "core/specialvalues.h"
#include "loaders/zxf.h"

namespace zdb {

/// A file's user information of an equation is its subtype plus this.
inline constexpr int kEquationOffset = 53;

/// The companion's seven special values with the library's own in the first five places, whatever
/// the caller has set on the database. The two further ones belong to the companion.
inline std::array<double, 7> zxfSpecialValues(loaders::zxfRec* zxf) {
  std::array<double, 7> values{};
  loaders::zxfGetSpecialValues(zxf, values.data());
  std::copy(kLibrarySpecialValues.begin(), kLibrarySpecialValues.end(), values.begin());
  return values;
}

}  // namespace zdb
