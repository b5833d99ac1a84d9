#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "core/zdb.h"

namespace zdb {

/// One dimension of a dense array: the labels of a set in key order, or all labels of the database.
class DenseAxis {
 public:
  /// `domain` is a loaded one-dimensional set or alias, or null for every label.
  DenseAxis(const ZDB& db, AbstractZDBSymbol* domain);

  int size() const { return static_cast<int>(labels_.size()); }
  /// Position of a label, from 0; -1 when it is none of the axis.
  int rank(int label) const {
    const auto index = static_cast<std::size_t>(label);  // negative: beyond every label
    return index < ranks_.size() ? ranks_[index] : -1;
  }
  int label(int rank) const { return labels_[static_cast<std::size_t>(rank)]; }

 private:
  std::vector<int> ranks_;   ///< by label number
  std::vector<int> labels_;  ///< by rank
};

/// The dimensions of a dense array in row-major order: the last one varies fastest.
class DenseAxes {
 public:
  /// Loads the domains where needed; false and a message when one cannot serve as a dimension.
  bool add(ZDB& db, AbstractZDBSymbol* domain);

  int dim() const { return static_cast<int>(axes_.size()); }
  const DenseAxis& operator[](int d) const { return axes_[static_cast<std::size_t>(d)]; }
  /// Cells of the whole array; only after every dimension has passed sizesAgree().
  std::size_t cells() const;
  /// Whether `dims` gives the sizes of the axes; the first that does not is reported.
  bool sizesAgree(ZDB& db, const AbstractZDBSymbol& symbol, const int* dims) const;
  /// Place of a key in the array, or -1 when a label is outside.
  std::ptrdiff_t cellOf(const int* keys) const {
    std::ptrdiff_t cell = 0;
    for (std::size_t d = 0; d < axes_.size(); ++d) {
      const int rank = axes_[d].rank(keys[d]);
      if (rank < 0) return -1;
      cell = cell * axes_[d].size() + rank;
    }
    return cell;
  }

 private:
  std::vector<DenseAxis> axes_;
};

}  // namespace zdb
