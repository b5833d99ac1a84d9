#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "allocated.h"
#include "cube.h"
#include "memory/slabpool.h"

/// A simpler container with records that never move: an AVL tree whose nodes lie in the same kind
/// of slabs as those of `DMap`, linked by 32-bit indices.
class SlabTree {
 public:
  void append(const Key& key, double value) { insert(key, value); }
  void insert(const Key& key, double value) { root_ = insertBelow(root_, key, value); }
  double value(const Key& key) {
    std::uint32_t at = root_;
    while (node(at).key != key) at = key < node(at).key ? node(at).left : node(at).right;
    return node(at).value;
  }
  double sum() { return sumBelow(root_); }
  void erase(const Key& key) { root_ = eraseBelow(root_, key); }
  static std::int64_t bytes() { return allocatedBytes(); }

 private:
  static constexpr std::uint32_t kNone = zdb::memory::SlabPool::kNone;

  struct Node {
    std::uint32_t left;
    std::uint32_t right;
    std::int32_t height;
    Key key;
    double value;
  };

  Node& node(std::uint32_t at) { return *reinterpret_cast<Node*>(nodes_.at(at, sizeof(Node))); }
  std::int32_t height(std::uint32_t at) { return at == kNone ? 0 : node(at).height; }

  std::uint32_t insertBelow(std::uint32_t at, const Key& key, double value) {
    if (at == kNone) {
      nodes_.ensure(1);
      at = nodes_.allocate();
      node(at) = {kNone, kNone, 1, key, value};
      return at;
    }
    std::uint32_t& child = key < node(at).key ? node(at).left : node(at).right;
    child = insertBelow(child, key, value);
    return balanced(at);
  }

  std::uint32_t eraseBelow(std::uint32_t at, const Key& key) {
    Node& here = node(at);
    if (key < here.key) {
      here.left = eraseBelow(here.left, key);
    } else if (here.key < key) {
      here.right = eraseBelow(here.right, key);
    } else {
      const std::uint32_t left = here.left;
      const std::uint32_t right = here.right;
      nodes_.free(at);
      if (right == kNone) return left;
      std::uint32_t first = kNone;
      const std::uint32_t rest = withoutFirst(right, first);
      node(first).left = left;
      node(first).right = rest;
      return balanced(first);
    }
    return balanced(at);
  }

  std::uint32_t withoutFirst(std::uint32_t at, std::uint32_t& first) {
    if (node(at).left == kNone) {
      first = at;
      return node(at).right;
    }
    node(at).left = withoutFirst(node(at).left, first);
    return balanced(at);
  }

  std::uint32_t balanced(std::uint32_t at) {
    Node& here = node(at);
    const std::int32_t lean = height(here.left) - height(here.right);
    if (lean > 1) {
      if (height(node(here.left).left) < height(node(here.left).right)) {
        here.left = rotated(here.left, &Node::right, &Node::left);
      }
      return rotated(at, &Node::left, &Node::right);
    }
    if (lean < -1) {
      if (height(node(here.right).right) < height(node(here.right).left)) {
        here.right = rotated(here.right, &Node::left, &Node::right);
      }
      return rotated(at, &Node::right, &Node::left);
    }
    measure(at);
    return at;
  }

  /// Rotates the child on the side `up` above `at`.
  std::uint32_t rotated(std::uint32_t at, std::uint32_t Node::*up, std::uint32_t Node::*down) {
    const std::uint32_t lifted = node(at).*up;
    node(at).*up = node(lifted).*down;
    node(lifted).*down = at;
    measure(at);
    measure(lifted);
    return lifted;
  }

  void measure(std::uint32_t at) {
    node(at).height = 1 + std::max(height(node(at).left), height(node(at).right));
  }

  double sumBelow(std::uint32_t at) {
    if (at == kNone) return 0;
    const double before = sumBelow(node(at).left);
    return before + node(at).value + sumBelow(node(at).right);
  }

  zdb::memory::SlabPool nodes_{sizeof(Node), 8};
  std::uint32_t root_ = kNone;
};
