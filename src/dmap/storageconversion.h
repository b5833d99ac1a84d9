/// Moving records from one container to another.
#pragma once

#include "dmap/idmap.h"

namespace zdb::dmap {

/// Adds all records of `source` to the empty container `target`, in order. Throws std::bad_alloc.
///
/// Records are appended: the map and the tree put an unexpected key where it belongs, and the
/// vector takes it as it is, so that no record is lost that the vector would compare equal to
/// another.
template <class Target, class Source>
void copyRecords(Source& source, Target& target) {
  const auto end = source.end();
  for (auto it = source.begin(); it != end; ++it) {
    const VirtualPair record = *it;
    target.emplace_end(record.first, record.second);
  }
}

}  // namespace zdb::dmap
