// Reads the sections that all MPS files have: rows, columns, right-hand sides, ranges and bounds.
// Those that only some programs know are in mps.h.
#pragma once

#include <string_view>

#include "kit/modelfile/filemodel.h"
#include "kit/modelfile/format.h"

namespace zdb::kit::modelfile {

/// The model that a text in fixed or free MPS format describes, which ends with ENDATA. The first
/// free row is the objective, whose right-hand side is its constant with the sign that it has in
/// the file; other free rows are left out. An integer column without bounds is 0 or 1, and an upper
/// bound leaves the lower one where it is, even below it. In the free format, vectors of right-hand
/// sides, ranges and bounds may have no name. Throws a ReadError. Takes time in the length of the
/// text.
FileModel readMpsText(std::string_view text, FileFormat format);

}  // namespace zdb::kit::modelfile
