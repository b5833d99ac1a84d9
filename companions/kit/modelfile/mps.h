// Sections that only some programs know of MPS files, beside those that all know (mpsreader.h).
#pragma once

#include <string>
#include <vector>

#include "kit/modelfile/filemodel.h"
#include "kit/modelfile/format.h"

namespace zdb::kit::modelfile {

/// What those sections hold. Matrix entries are kept as written, with
/// their line numbers.
///
///   OBJSENSE    MAX or MIN, on the same line or the next
///   QUADOBJ     objective x'Qx/2, one triangle of Q (also QSECTION without a name)
///   QMATRIX     objective x'Qx/2, the whole symmetric Q
///   QSECTION r  row r, x'Qx/2, one triangle of Q
///   QCMATRIX r  row r, x'Qx, the whole symmetric Q
struct MpsMatrix {
  std::string row;  ///< empty: the objective
  bool isWhole = false;
  double factor = 1.0;  ///< before x'Qx
  int line = 0;
  struct Entry {
    std::string column1;
    std::string column2;
    double value;
    int line;
  };
  std::vector<Entry> entries;
};

struct MpsExtras {
  bool maximize = false;
  std::vector<MpsMatrix> matrices;
};

/// Reads these sections and turns their lines into comments, so that line numbers stay the same.
/// Throws a ReadError.
MpsExtras takeMpsExtras(std::string& text, FileFormat format);

/// Adds them to the model that the rest of the text gives. Throws a ReadError.
void addMpsExtras(FileModel& model, const MpsExtras& extras);

}  // namespace zdb::kit::modelfile
