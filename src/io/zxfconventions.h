#pragma once

#include <algorithm>
#include <array>

#include "core/abstractzdbsymbol.h"
#include "core/specialvalues.h"
#include "loaders/zxf.h"

namespace zdb {

/// In a file, the user information of an equation is its subtype plus 53. Files and hosts may give
/// any number, so that what does not fit wraps, the same way in both directions.
constexpr int toFileUserInfo(int type, int userInfo) {
  return type == TypeEquation ? static_cast<int>(static_cast<unsigned>(userInfo) + 53U) : userInfo;
}
constexpr int fromFileUserInfo(int type, int userInfo) {
  return type == TypeEquation ? static_cast<int>(static_cast<unsigned>(userInfo) - 53U) : userInfo;
}

/// The companion's seven special values, the first five being the library's own, whatever the
/// caller has set for the database. The other two belong to the companion.
inline std::array<double, 7> zxfSpecialValues(loaders::zxfRec* zxf) {
  std::array<double, 7> values{};
  loaders::zxfGetSpecialValues(zxf, values.data());
  std::copy(kLibrarySpecialValues.begin(), kLibrarySpecialValues.end(), values.begin());
  return values;
}

}  // namespace zdb
