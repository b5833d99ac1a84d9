#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "core/zdb.h"

namespace zdb {

/// Whether `set` is a one-dimensional set of the database, not the universe; one that is not is
/// reported, as `name`.
bool isOwnSet(ZDB& db, const AbstractZDBSymbol& set, const std::string& name);

/// One dimension of a dense array: labels in key order.
class DenseAxis {
 public:
  /// `labels` are label numbers in ascending order, all below `labelCount`.
  DenseAxis(int labelCount, std::vector<int> labels);

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
  /// Adds the labels of a set or alias, which is loaded where needed, or all labels for the
  /// universe and null; false and a message when the domain cannot serve as a dimension.
  bool add(ZDB& db, AbstractZDBSymbol* domain);
  /// Adds a domain per position of `symbol`.
  bool add(ZDB& db, const AbstractZDBSymbol& symbol, AbstractZDBSymbol* const* domains) {
    for (int d = 0; d < symbol.dim; ++d) {
      if (!add(db, domains[d])) return false;
    }
    return true;
  }
  /// Adds some labels of a database.
  void add(const ZDB& db, std::vector<int> labels) {
    axes_.emplace_back(db.labels().size(), std::move(labels));
  }

  int dim() const { return static_cast<int>(axes_.size()); }
  const DenseAxis& operator[](int d) const { return axes_[static_cast<std::size_t>(d)]; }
  /// Cells of the whole array; only after every dimension has passed sizesAgree().
  std::size_t cells() const;
  /// Whether `dims` gives the sizes of the axes; the first that does not is reported.
  bool sizesAgree(ZDB& db, const AbstractZDBSymbol& symbol, const int* dims) const;
  /// Whether every label of a key is on its axis; also where the array would be larger than memory.
  bool contains(const int* keys) const {
    for (std::size_t d = 0; d < axes_.size(); ++d) {
      if (axes_[d].rank(keys[d]) < 0) return false;
    }
    return true;
  }
  /// Place of a key in the array, or -1 when a label is outside; as cells().
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
