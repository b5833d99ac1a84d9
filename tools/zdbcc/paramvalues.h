// Params of MathProg models as zkitdclib.h takes them. The module for Python reads models with
// these too, so nothing else of the tool is needed here.
#pragma once

#include <string>
#include <vector>

#include "zkitdclib.h"

namespace zdb::tool {

/// Values of params of a MathProg model.
struct ParamValues {
  std::vector<std::string> names = {};  ///< such as price[bread]
  std::vector<double> values = {};
};

/// C strings of texts, which must outlive them.
inline std::vector<const char*> pointersTo(const std::vector<std::string>& texts) {
  std::vector<const char*> pointers;
  pointers.reserve(texts.size());
  for (const std::string& text : texts) pointers.push_back(text.c_str());
  return pointers;
}

/// Params as the kit takes them; they must outlive it.
class GivenParams {
 public:
  explicit GivenParams(const ParamValues& params)
      : names_(pointersTo(params.names)), values_(params.values.data()) {}

  zkitParams get() const { return {static_cast<int>(names_.size()), names_.data(), values_}; }

 private:
  std::vector<const char*> names_;
  const double* values_;
};

}  // namespace zdb::tool
