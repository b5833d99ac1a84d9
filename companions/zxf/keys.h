// Keys of a block: strictly ascending tuples of label numbers, coded as steps.
//
// Each record has one token byte. Most records of sorted data differ from the previous one only in
// the last position and by a small step; the token is that step. For the others, the token is the
// first position that changes; the step there and the labels after it are varints in the tail
// stream. A block starts from a key of zeros, so it can be read independently. As steps are stored
// instead of labels, no file can have keys that are out of order or repeated.
#pragma once

#include <array>
#include <span>

#include "zxf/stream.h"

namespace zdb::zxfile {

/// Collects the keys of one block.
class KeyWriter {
 public:
  KeyWriter() : tokens_(kMaxBlockRecords) {}

  /// Discards all keys.
  /// REQUIRES 0 <= dim <= kMaxDim.
  void start(int dim);

  /// Adds a key that is greater than the last one and first differs from it at position `changed`,
  /// 0 <= changed < dim (0 for a symbol without dimensions).
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

  /// Appends the two streams, none for dimension 0.
  void append(Bytes& out, StreamWriter& streams) const;

 private:
  void addTail(const int* key, int changed);

  int dim_ = 0;
  std::uint32_t count_ = 0;
  std::array<int, kMaxDim> last_{};
  Bytes tokens_;
  Bytes tails_;
};

/// Unpacks untrusted keys.
class KeyReader {
 public:
  explicit KeyReader(StreamReader& streams) : streams_(streams) {}

  /// Fills `rows` with `dim` labels per record and `changed` with the first position, from 1, at
  /// which each record differs from the previous one in this block (1 for the first; 0 for
  /// dimension 0). The keys are strictly ascending. Fails unless 1 <= label <= labelCount for
  /// each of their labels.
  void read(FieldReader& in, int dim, std::uint32_t labelCount, std::span<int> rows,
            std::span<std::uint8_t> changed);

  /// The same by the column: fills columns[d][i] for each position d and record i of `count`.
  /// REQUIRES dim > 0.
  void readColumns(FieldReader& in, int dim, std::uint32_t labelCount, std::uint32_t count,
                   std::span<int* const> columns);

 private:
  /// Calls decode(decoder, tokens) with a decoder for the dimension.
  template <typename Decode>
  void unpack(FieldReader& in, int dim, std::uint32_t labelCount, std::uint32_t count,
              Decode decode);

  StreamReader& streams_;
  Bytes tokens_;
  Bytes tails_;
};

}  // namespace zdb::zxfile
