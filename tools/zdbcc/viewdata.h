#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "console.h"
#include "exchangefile.h"
#include "slice.h"

namespace zdb::tool {

/// A symbol on a page, or a part of one.
struct ViewPart {
  Slice slice;
  std::string title;  ///< "flow", or "flow(ATL,*)"
};

/// The most records of each part, `wanted` or fewer, with which all parts together have at most so
/// many labels and values as a page can hold: 2,000,000, some 10 MB.
std::uint64_t rowsThatFit(const std::vector<ViewPart>& parts, std::uint64_t wanted);

/// Writes the parts with at most `rows` records each as one JSON object: columns of values, and of
/// labels as places in a dictionary of those that occur. Memory is that of the largest part and of
/// the dictionary. A part whose records are damaged has those before, and its problem
/// is reported.
void writeViewData(const ExchangeFile& file, const std::vector<ViewPart>& parts, std::uint64_t rows,
                   Output& output, Console& console);

}  // namespace zdb::tool
