// Keys of a block: strictly ascending tuples of label numbers, coded as steps.
//
// Each record has one token byte. Most records of sorted data differ from the one before in the
// last position only and by a small step; those are their token. The others name the first position
// that changes in the token, and their step there and the labels behind it follow in the tail
// stream as varints. A block starts from the key of all zeros, so it can be read alone. Coding
// steps instead of labels makes order and freedom from repeats a property of the format: no file
// can break it.
#pragma once

#include <array>
#include <span>

#include "zxf/stream.h"

namespace zdb::zxfile {

/// Collects the keys of one block.
class KeyWriter {
 public:
  KeyWriter() : tokens_(kMaxBlockRecords) {}

  /// Forgets all keys; `dim` in [0, kMaxDim].
  void start(int dim);

  /// Adds a key above the last one that first differs from it at position `changed`, which is `dim`
  /// only in the one record of a symbol without dimensions.
  void add(const int* key, int changed) {
    if (count_ == 0) changed = 0;
    if (changed == dim_ - 1 && count_ > 0) {
      const int step = key[changed] - last_[changed];
      if (step <= kMaxDeltaStep) {
        tokens_[count_++] = static_cast<std::uint8_t>(kFirstDeltaToken + step - 1);
        last_[changed] = key[changed];
        return;
      }
    }
    addTail(key, changed);
  }

  std::uint32_t count() const { return count_; }

  /// Appends the two streams; none for dimension 0.
  void append(Bytes& out, StreamWriter& streams) const;

 private:
  void addTail(const int* key, int changed);

  int dim_ = 0;
  std::uint32_t count_ = 0;
  std::array<int, kMaxDim> last_{};
  Bytes tokens_;
  Bytes tails_;
};

/// Unpacks keys that nothing is known about.
class KeyReader {
 public:
  explicit KeyReader(StreamReader& streams) : streams_(streams) {}

  /// Fills `rows` with `dim` labels a record and `changed` with the first position, from 1, at
  /// which each record differs from the one before in this block (1 for the first; 0 for dimension
  /// 0). Every label is in [1, labelCount] and the keys ascend strictly, or the call fails.
  void read(FieldReader& in, int dim, std::uint32_t labelCount, std::span<int> rows,
            std::span<std::uint8_t> changed);

 private:
  StreamReader& streams_;
  Bytes tokens_;
  Bytes tails_;
};

}  // namespace zdb::zxfile
