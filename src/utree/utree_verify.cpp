#include "utree/utree.h"

namespace utree {

class UTree::Verifier {
 public:
  explicit Verifier(const UTree& tree) : tree_(tree), path_(tree.dim_), last_(tree.dim_) {}

  std::string run() {
    list(tree_.root_, 0);
    if (records_ != tree_.size_) fault("the count is wrong");
    if (!(last_ == tree_.last_)) fault("the last position is not at the last record");
    for (int level = 0; !last_.isEnd() && level < tree_.dim_; ++level) {
      if (last_[level] != tree_.last_[level]) fault("the last position has a wrong path");
    }
    return text_;
  }

 private:
  void fault(const char* text) {
    if (text_.empty()) text_ = text;
  }

  void list(const DownLink& link, int level) {
    if (link.hasValues()) return fault("values above the last level");
    if (link.first() == nullptr && level > 0) fault("a node without records");
    if (link.index() != nullptr && !link.index()->matchesList()) fault("an index is out of date");
    for (UELNode* node = link.first(); node != nullptr; node = node->right) {
      if (node->right != nullptr && node->right->uel <= node->uel) fault("siblings out of order");
      path_.set(level, node);
      if (level + 1 < tree_.dim_) {
        list(node->down, level + 1);
      } else {
        if (!node->down.hasValues()) fault("a record without values");
        last_ = path_;
        ++records_;
      }
    }
  }

  const UTree& tree_;
  UELNodeIt path_;
  UELNodeIt last_;
  std::uint64_t records_ = 0;
  std::string text_;
};

std::string UTree::verify() const {
  return Verifier(*this).run();
}

}  // namespace utree
