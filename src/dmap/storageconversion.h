// Moving records from one container to another.
#pragma once

#include "dmap/idmap.h"

namespace zdb::dmap {

/// Adds all records of `source` to `target`, in order. Throws std::bad_alloc.
/// REQUIRES `target` is empty.
///
/// Records are appended. The map and the tree put a key that is out of order where it belongs; the
/// vector takes it as it comes, so that no record is lost that it would compare equal to another.
template <class Target, class Source>
void copyRecords(Source& source, Target& target) {
  const auto end = source.end();
  for (auto it = source.begin(); it != end; ++it) {
    const VirtualPair record = *it;
    target.emplace_end(record.first, record.second);
  }
}

}  // namespace zdb::dmap
