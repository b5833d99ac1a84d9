#include "dmap/storageconversion.h"

#include "dmap/dmap.h"
#include "dmap/dmaputree.h"
#include "dmap/dmapvector.h"

namespace zdb::dmap {

// All delegate to the container's own constructor: once that has returned, a conversion that runs
// out of memory destroys what it has built.

DMap::DMap(DMapVector& source) : DMap(source.getDim(), source.getValueWidth()) {
  copyRecords(source, *this);
}

DMap::DMap(DMapUTree& source) : DMap(source.getDim(), source.getValueWidth()) {
  copyRecords(source, *this);
}

DMapVector::DMapVector(DMap& source) : DMapVector(source.getDim(), source.getValueWidth()) {
  reserve(static_cast<int>(source.size()));
  copyRecords(source, *this);
}

DMapVector::DMapVector(DMapUTree& source) : DMapVector(source.getDim(), source.getValueWidth()) {
  reserve(static_cast<int>(source.size()));
  copyRecords(source, *this);
}

DMapUTree::DMapUTree(DMap& source) : DMapUTree(source.getDim(), source.getValueWidth()) {
  copyRecords(source, *this);
}

DMapUTree::DMapUTree(DMapVector& source) : DMapUTree(source.getDim(), source.getValueWidth()) {
  copyRecords(source, *this);
}

}  // namespace zdb::dmap
