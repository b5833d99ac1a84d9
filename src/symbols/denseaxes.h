#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "core/zdb.h"

namespace zdb {

/// Whether `set` is a one-dimensional set of the database other than the universe; if not, reports
/// it as `name`.
bool isOwnSet(ZDB& db, const AbstractZDBSymbol& set, const std::string& name);

/// One dimension of a dense array: labels in key order.
class DenseAxis {
 public:
  /// REQUIRES `labels` are in ascending order, and 0 <= label < labelCount for each.
  DenseAxis(int labelCount, std::vector<int> labels);

  int size() const { return static_cast<int>(labels_.size()); }
  /// Position of a label, counted from 0; -1 if it is not on the axis.
  int rank(int label) const {
    const auto index = static_cast<std::size_t>(label);  // a negative number becomes too large
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
  /// Adds the labels of a set or alias, which is loaded if needed, or all labels for the universe
  /// and null; false and a message if the symbol cannot be a domain.
  bool add(ZDB& db, AbstractZDBSymbol* domain);
  /// Adds one domain for each position of `symbol`.
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
  /// Number of cells of the array.
  /// REQUIRES sizesAgree() has returned true for all dimensions.
  std::size_t cells() const;
  /// Whether `dims` are the sizes of the axes; reports the first that is not.
  bool sizesAgree(ZDB& db, const AbstractZDBSymbol& symbol, const int* dims) const;
  /// Whether every label of a key is on its axis; works even if the array would be larger
  /// than memory.
  bool contains(const int* keys) const {
    for (std::size_t d = 0; d < axes_.size(); ++d) {
      if (axes_[d].rank(keys[d]) < 0) return false;
    }
    return true;
  }
  /// Index of a key's cell in the array, or -1 if a label is not on its axis.
  /// REQUIRES the same as cells().
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
