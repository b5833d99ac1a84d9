#pragma once

#include <cstddef>

#include "dmap/idmap.h"

namespace zdb::dmap {

/// Some records of a container, one after the other in key order and at equal distances in memory,
/// so that they can be read without a call for each. Valid until the container changes.
struct RecordRun {
  const int* keys = nullptr;  ///< label `i` of record `r` is at i * positionStep + r * keyStep
  std::ptrdiff_t positionStep = 1;  ///< in ints
  std::ptrdiff_t keyStep = 0;
  const double* values = nullptr;  ///< value `f` of record `r` is at f * fieldStep + r * valueStep
  std::ptrdiff_t fieldStep = 1;    ///< in doubles
  std::ptrdiff_t valueStep = 0;
  int count = 0;  ///< of records; 0 at the end of the container

  /// `length` of the records from record `from` on.
  RecordRun part(int from, int length) const {
    RecordRun run = *this;
    run.keys += from * keyStep;
    run.values += from * valueStep;
    run.count = length;
    return run;
  }
  int label(int record, int position) const {
    return keys[position * positionStep + record * keyStep];
  }
};

/// Room for a run of records that a container does not keep at equal distances.
struct RunBuffer {
  static constexpr int kRecords = 256;  ///< few enough to stay in the first-level cache

  int keys[kMaxDim * kRecords];
  double values[5 * kRecords];
};

}  // namespace zdb::dmap
