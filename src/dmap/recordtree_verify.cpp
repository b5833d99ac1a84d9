#include <algorithm>
#include <vector>

#include "dmap/keywords.h"
#include "dmap/recordtree.h"

namespace zdb::dmap {

/// Visits a tree in key order and keeps the first fault. Invariants:
/// 1. every leaf and inner node below the root has 1 to its capacity of entries;
/// 2. all leaves are on the same level and chained in order, from the first to the last;
/// 3. keys ascend strictly over all leaves;
/// 4. a key below child i is less than separator i and not less than separator i-1;
/// 5. each tag belongs to its key, each slot is in one leaf only, and a search from the root for a
///    record's key leads to its leaf;
/// 6. the pools have as many elements in use as the tree has records, leaves and inner nodes;
/// 7. the last record is the one that appends are compared with.
class RecordTreeBase::Verifier {
 public:
  explicit Verifier(const RecordTreeBase& tree) : tree_(tree) {}

  std::string run() {
    if (tree_.root_ != nullptr) visit(tree_.root_, 0, {}, {});
    if (previousLeaf_ != tree_.last_) fail("the last leaf is not the rightmost");
    if (previousLeaf_ == nullptr && tree_.first_ != nullptr) fail("an empty tree has a first leaf");
    if (previousKey_ != tree_.lastKey_) fail("the last record is not the rightmost");
    if (records_ != tree_.size_) fail("the size is not the number of records");
    if (records_ != tree_.records_.live()) fail("record slots leak");
    if (leaves_ != tree_.leaves_.live()) fail("leaves leak");
    if (inners_ != tree_.inners_.live()) fail("inner nodes leak");
    checkSlots();
    return fault_;
  }

 private:
  using Words = std::vector<std::uint64_t>;  ///< Empty: no bound.

  void fail(const char* fault) {
    if (fault_.empty()) fault_ = std::string(fault) + ", at record " + std::to_string(records_);
  }

  bool isLess(const std::uint64_t* a, const std::uint64_t* b) const {
    return wordsLess(a, b, static_cast<int>(tree_.keyWords_));
  }

  void visit(void* node, std::uint32_t depth, const Words& low, const Words& high) {
    if (depth == tree_.height_) {
      visitLeaf(static_cast<RecordLeaf*>(node), low, high);
      return;
    }
    auto* inner = static_cast<RecordInner*>(node);
    ++inners_;
    if (inner->count == 0 || inner->count > RecordInner::kFanout) fail("count of an inner node");
    if (depth == 0 && inner->count == 1) fail("the root does not branch");
    for (std::uint32_t i = 0; i < inner->count && fault_.empty(); ++i) {
      visit(inner->children[i], depth + 1, i == 0 ? low : bound(inner, i - 1),
            i + 1 == inner->count ? high : bound(inner, i));
    }
  }

  Words bound(RecordInner* inner, std::uint32_t i) const {
    return {tree_.separator(inner, i), tree_.separator(inner, i + 1)};
  }

  void visitLeaf(RecordLeaf* leaf, const Words& low, const Words& high) {
    ++leaves_;
    if (leaf->count == 0 || leaf->count > RecordLeaf::kCapacity) fail("count of a leaf");
    if (tree_.leafAt(leaf->prev) != previousLeaf_) fail("link to the leaf before");
    const RecordLeaf* link =
        previousLeaf_ == nullptr ? tree_.first_ : tree_.leafAt(previousLeaf_->next);
    if (link != leaf) fail("link to the leaf behind");
    previousLeaf_ = leaf;
    for (std::uint32_t place = 0; place < leaf->count && fault_.empty(); ++place) {
      visitRecord(leaf, place, low, high);
    }
  }

  void visitRecord(RecordLeaf* leaf, std::uint32_t place, const Words& low, const Words& high) {
    const std::uint32_t slot = leaf->slots[place];
    const int* key = tree_.keyAt(slot);
    Words words(tree_.keyWords_);
    packKey(key, tree_.keyLength_, words.data());
    if (!previousWords_.empty() && !isLess(previousWords_.data(), words.data())) {
      fail("keys do not ascend");
    }
    if (!low.empty() && isLess(words.data(), low.data())) fail("key before its separator");
    if (!high.empty() && !isLess(words.data(), high.data())) fail("key behind its separator");
    if (leaf->slotAt(place) != slot) fail("run");
    if (leaf->run != RecordLeaf::kNoRun && place > 0 && key != previousKey_ + tree_.recordInts_) {
      fail("run of records that lie apart");
    }
    if (leaf->tags[place] != keyTag(words.data(), static_cast<int>(tree_.keyWords_))) fail("tag");
    RecordLeaf* found = nullptr;
    tree_.pathTo(words.data(), found);
    if (found != leaf) fail("search leads to another leaf");
    slots_.push_back(slot);
    previousWords_ = words;
    previousKey_ = key;
    ++records_;
  }

  void checkSlots() {
    std::sort(slots_.begin(), slots_.end());
    if (std::adjacent_find(slots_.begin(), slots_.end()) != slots_.end()) fail("slot used twice");
  }

  const RecordTreeBase& tree_;
  std::string fault_;
  std::uint64_t records_ = 0;
  std::uint64_t leaves_ = 0;
  std::uint64_t inners_ = 0;
  RecordLeaf* previousLeaf_ = nullptr;
  const int* previousKey_ = nullptr;
  Words previousWords_;
  std::vector<std::uint32_t> slots_;
};

std::string RecordTreeBase::verify() const {
  return Verifier(*this).run();
}

}  // namespace zdb::dmap
