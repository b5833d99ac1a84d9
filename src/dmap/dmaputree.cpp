#include "dmap/dmaputree.h"

#include <stdexcept>
#include <utility>

namespace zdb::dmap {

namespace {

/// Moves an address by some doubles without checking that there are any.
double* moved(double* address, std::ptrdiff_t doubles) {
  const auto offset = static_cast<std::uintptr_t>(doubles) * sizeof(double);
  return reinterpret_cast<double*>(reinterpret_cast<std::uintptr_t>(address) + offset);
}

}  // namespace

// TreeIterator.

/// Moves to the next record where that is not a sibling.
void TreeIterator::leaveList() {
  if (tree_ != nullptr) {
    tree_->nextInPlace(node_);
  } else {
    moveScalar(1);
  }
}

TreeIterator& TreeIterator::operator--() {
  if (tree_ != nullptr) {
    node_ = tree_->prev(node_);
  } else {
    moveScalar(-1);
  }
  return *this;
}

void TreeIterator::moveScalar(int doubles) {
  if (scalar_ != nullptr) scalar_ = moved(scalar_, doubles);
}

bool TreeIterator::operator==(const IDMapIterator& other) const {
  const auto* same = dynamic_cast<const TreeIterator*>(&other);
  return same != nullptr && *this == *same;
}

// DMapUTree.

DMapUTree::DMapUTree(int dim, int valueWidth)
    : IDMap(StorageTypes::Tree, dim, valueWidth),
      tree_(dim == 0 ? nullptr : std::make_unique<utree::UTree>(dim, valueWidth)),
      end_(endPosition()) {}

DMapUTree::DMapUTree(const DMapUTree& other)
    : IDMap(StorageTypes::Tree, other.getDim(), other.getValueWidth()),
      tree_(other.tree_ ? std::make_unique<utree::UTree>(*other.tree_) : nullptr),
      scalar_(other.scalar_),
      end_(endPosition()) {}

DMapUTree& DMapUTree::operator=(const DMapUTree& other) {
  if (this == &other) return *this;
  if (getDim() != other.getDim() || getValueWidth() != other.getValueWidth()) {
    throw std::invalid_argument("A tree cannot take records of another dimension or value width");
  }
  if (other.tree_) tree_ = std::make_unique<utree::UTree>(*other.tree_);
  scalar_ = other.scalar_;
  end_ = endPosition();
  return *this;
}

TreeIterator DMapUTree::scalarIterator(std::ptrdiff_t offset) {
  return {moved(scalar_.values, offset), getValueWidth()};
}

TreeIterator DMapUTree::endPosition() {
  return tree_ ? iterator(tree_->end()) : scalarIterator(1);
}

TreeIterator DMapUTree::assignScalar(const double* values) {
  scalar_.assign(values, getValueWidth());
  return begin();
}

TreeIterator DMapUTree::emplace_hint(const int* key, const double* values, TreeIterator&) {
  return emplace(key, values);
}

TreeIterator DMapUTree::insert_or_assign(TreeIterator&, const int* key, const double* values) {
  if (!tree_) return emplace(key, values);
  const auto bound = tree_->lower_bound(key);
  if (!bound) return emplace_end(key, values);
  // The record at the bound gets the values, whatever its key, by contract.
  std::copy_n(values, tree_->getNumValues(), bound->leaf()->down.values());
  return iterator(*bound);
}

void DMapUTree::erase(const TreeIterator& it) {
  if (!tree_) {
    scalar_.isPresent = false;
  } else if (it.tree() == tree_.get()) {
    tree_->erase(it.position());
  }
}

TreeIterator DMapUTree::lower_bound(const int* key) {
  // By contract, a scalar that has a record and a tree without such a record both give a
  // singular iterator.
  if (!tree_) return scalar_.isPresent ? TreeIterator() : end();
  const auto bound = tree_->lower_bound(key);
  return bound ? iterator(*bound) : TreeIterator();
}

TreeIterator DMapUTree::find(const int* key) {
  if (!tree_) return begin();
  const auto found = tree_->find(key);
  return found ? iterator(*found) : end();
}

TreeIterator DMapUTree::exactLowerBound(const int* key) {
  if (!tree_) return begin();
  const auto bound = tree_->lower_bound(key);
  return bound ? iterator(*bound) : end();
}

TreeIterator DMapUTree::insertAt(const TreeIterator& at, const int* key, const double* values) {
  return at == end_ ? emplace_end(key, values) : emplace(key, values);
}

TreeIterator DMapUTree::begin() {
  if (tree_) return iterator(tree_->begin());
  return scalar_.isPresent ? scalarIterator(0) : end();
}

void DMapUTree::clear() {
  if (tree_) tree_->clear();
  scalar_.isPresent = false;
}

int DMapUTree::index(const TreeIterator& it) {
  if (!tree_) {
    // A distance, whatever the iterator points to.
    const auto bytes = reinterpret_cast<std::uintptr_t>(it.scalar()) -
                       reinterpret_cast<std::uintptr_t>(scalar_.values);
    return static_cast<int>(static_cast<std::intptr_t>(bytes) /
                            static_cast<std::intptr_t>(sizeof(double)));
  }
  // By contract, the end has an index too: the number of records.
  return it.tree() == tree_.get() ? tree_->index(it.position()) : -1;
}

TreeIterator DMapUTree::withIndex(int rank) {
  return tree_ ? iterator(tree_->withIndex(rank)) : scalarIterator(rank);
}

void DMapUTree::reserve(int records) {
  if (tree_) tree_->reserve(records);
}

RecordRun DMapUTree::nextRun(TreeIterator& at, RunBuffer& buffer) {
  RecordRun run;
  if (!tree_) {
    if (scalar_.isPresent && at != end_) {
      run.values = scalar_.values;
      run.count = 1;
    }
    at = end_;
    return run;
  }
  run.keys = buffer.keys;
  run.positionStep = RunBuffer::kRecords;
  run.keyStep = 1;
  run.values = buffer.values;
  run.fieldStep = RunBuffer::kRecords;
  run.valueStep = 1;
  utree::UELNodeIt position = at.position();
  run.count = tree_->copyRecords(position, RunBuffer::kRecords, buffer.keys, buffer.values);
  at = iterator(position);
  return run;
}

void DMapUTree::insertMany(const int* keys, const double* values, int count, int& done) {
  const int doubles = tree_->getNumValues();
  for (int i = 0; i < count; ++i, ++done, keys += getDim(), values += doubles) {
    tree_->emplace_end(keys, values);
  }
}

void DMapUTree::swapRecords(DMapUTree& other) noexcept {
  std::swap(tree_, other.tree_);
  std::swap(scalar_, other.scalar_);
  end_ = endPosition();
  other.end_ = other.endPosition();
}

void DMapUTree::toPDF(const std::string& name) const {
  if (tree_) tree_->toPDF(name + "_dmap.pdf");
}

}  // namespace zdb::dmap
