// The nodes of the label tree, and a position in it.
#pragma once

#include <algorithm>
#include <cstdint>
#include <variant>

namespace utree {

/// Maximum number of levels of a tree.
inline constexpr int kMaxLevels = 20;

struct UELNode;
class SiblingIndex;

// Packed to 4 bytes, which makes a node 20 bytes instead of 24: nodes are most of a tree.
#pragma pack(push, 4)

/// What a node points down to: a list of siblings on the next level or, on the last level, the
/// values of a record. A new link points to an empty list.
///
/// The low bits of the pointer hold the kind. The link points to the first node of the list, or to
/// its index if it has one.
class DownLink {
 public:
  bool hasValues() const { return (bits_ & kTagMask) == kValues; }
  /// The record's values. Throws std::bad_variant_access if the link points to a list.
  double* values() const {
    if (!hasValues()) throw std::bad_variant_access();
    return reinterpret_cast<double*>(bits_ - kValues);
  }
  /// First node of the list, or null if it is empty or if the link points to values.
  UELNode* first() const;
  /// The list's index, or null.
  SiblingIndex* index() const {
    if ((bits_ & kTagMask) != kIndexed) return nullptr;
    return reinterpret_cast<SiblingIndex*>(bits_ - kIndexed);
  }

  /// What the link points to, for prefetching.
  const void* address() const { return reinterpret_cast<const void*>(bits_ & ~kTagMask); }

  void setFirst(UELNode* node) { bits_ = reinterpret_cast<std::uintptr_t>(node); }
  void setValues(double* values) { bits_ = reinterpret_cast<std::uintptr_t>(values) | kValues; }
  void setIndex(SiblingIndex* index) { bits_ = reinterpret_cast<std::uintptr_t>(index) | kIndexed; }

 private:
  static constexpr std::uintptr_t kTagMask = 3;
  static constexpr std::uintptr_t kValues = 1;
  static constexpr std::uintptr_t kIndexed = 2;

  std::uintptr_t bits_ = 0;
};

/// One label at one place of the tree. Never moves, and is freed with its tree only.
struct UELNode {
  explicit UELNode(int label) : uel(label) {}

  UELNode* right = nullptr;  ///< the sibling with the next larger label, or null
  DownLink down;
  int uel;  ///< the label number
};

#pragma pack(pop)
static_assert(sizeof(UELNode) == 20 && alignof(UELNode) == 4);

/// A position in a tree: the nodes from the first level down to a record, or none of them for the
/// end. Levels are counted from 0. Only as much is copied as the tree has levels.
class UELNodeIt {
 public:
  UELNodeIt() { clear(); }
  /// The end of a tree with `dim` levels.
  explicit UELNodeIt(int dim) : dim_(static_cast<std::uint8_t>(dim)) { clear(); }
  UELNodeIt(const UELNodeIt& other) : dim_(other.dim_) { copyPath(other); }
  // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): copies every node to where it is.
  UELNodeIt& operator=(const UELNodeIt& other) {
    dim_ = other.dim_;
    copyPath(other);
    return *this;
  }
  ~UELNodeIt() = default;

  int dim() const { return dim_; }
  UELNode* operator[](int level) const { return path_[dim_ - 1 - level]; }
  void set(int level, UELNode* node) { path_[dim_ - 1 - level] = node; }

  /// The same, counted from the last level, which is 0.
  UELNode* atHeight(int height) const { return path_[height]; }
  void setAtHeight(int height, UELNode* node) { path_[height] = node; }
  /// The node that has the values; null at the end.
  UELNode* leaf() const { return path_[0]; }
  void setLeaf(UELNode* node) { path_[0] = node; }
  bool isEnd() const { return leaf() == nullptr; }
  /// Copies the labels of all levels to `key`.
  /// REQUIRES !isEnd().
  void copyLabels(int* key) const {
    switch (dim_) {  // without a loop for the keys of most symbols
      case 4:
        *key++ = path_[3]->uel;
        [[fallthrough]];
      case 3:
        *key++ = path_[2]->uel;
        [[fallthrough]];
      case 2:
        *key++ = path_[1]->uel;
        [[fallthrough]];
      case 1:
        *key = path_[0]->uel;
        break;
      default:
        for (int i = dim_ - 1; i >= 0; --i) *key++ = path_[i]->uel;
    }
  }
  /// Moves to the end.
  void clear() {
    int i = 0;
    do {
      std::fill_n(path_ + i, kGroup, nullptr);
      i += kGroup;
    } while (i < dim_);
  }
  /// A node on the last level determines its whole path.
  bool operator==(const UELNodeIt& other) const {
    return leaf() == other.leaf() && dim_ == other.dim_;
  }

 private:
  /// In groups, since the compiler makes a string instruction of a plain loop, which costs more.
  void copyPath(const UELNodeIt& other) {
    int i = 0;
    do {
      std::copy_n(other.path_ + i, kGroup, path_ + i);
      i += kGroup;
    } while (i < dim_);
  }

  static constexpr int kGroup = 4;
  static_assert(kMaxLevels % kGroup == 0);

  std::uint8_t dim_ = 0;
  /// From the last level up, so that the node that is read most often is at a fixed place. There is
  /// one per level: all set, or all null at the end.
  UELNode* path_[kMaxLevels];
};

}  // namespace utree
