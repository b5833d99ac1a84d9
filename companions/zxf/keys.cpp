#include "zxf/keys.h"

#include <algorithm>
#include <cstring>

namespace zdb::zxfile {

namespace {

constexpr std::size_t kMaxVarintSize = 5;  // of a label number

// The end of the tokens from `i` on that only step on in the last position.
std::size_t endOfSteps(ByteSpan tokens, std::size_t i) {
  // Eight at a time, as long as none is smaller than the first such token (Warren, Hacker's
  // Delight, 6-1).
  constexpr std::uint64_t kOnes = 0x0101010101010101;
  for (; i + 8 <= tokens.size(); i += 8) {
    const auto eight = loadInt<std::uint64_t>(tokens.data() + i);
    if (((eight - kOnes * kFirstDeltaToken) & ~eight & kOnes * 0x80) != 0) break;
  }
  while (i < tokens.size() && tokens[i] >= kFirstDeltaToken) ++i;
  return i;
}

// Unpacks the keys of one block. Dim is the dimension if it is small enough for a specialised loop,
// which keeps the current key in registers; 0 stands for any dimension.
template <int Dim>
class KeyDecoder {
 public:
  KeyDecoder(int dim, std::uint32_t labelCount, FieldReader& tails)
      : dim_(Dim > 0 ? Dim : dim), labelCount_(labelCount), tails_(tails) {}

  void toRows(ByteSpan tokens, int* rows, std::uint8_t* changed) {
    decode(
        tokens,
        [&](std::size_t i) {
          for (int d = 0; d < dim(); ++d) rows[d] = static_cast<int>(key_[d]);
          rows += dim();
          changed[i] = static_cast<std::uint8_t>(tokens[i] + 1);
        },
        [&](std::size_t i, std::size_t end) {
          std::memset(changed + i, dim(), end - i);
          auto key = key_;  // in registers: stores to the rows cannot change it
          for (; i < end; ++i, rows += dim()) {
            key[dim() - 1] += stepOf(tokens[i]);
            for (int d = 0; d < dim(); ++d) rows[d] = static_cast<int>(key[d]);
          }
          key_ = key;
        });
  }

  void toColumns(ByteSpan tokens, std::span<int* const> columns) {
    const int last = dim() - 1;
    decode(
        tokens,
        [&](std::size_t i) {
          for (int d = 0; d < dim(); ++d) columns[d][i] = static_cast<int>(key_[d]);
        },
        [&](std::size_t i, std::size_t end) {
          for (int d = 0; d < last; ++d) {
            std::fill(columns[d] + i, columns[d] + end, static_cast<int>(key_[d]));
          }
          int* const column = columns[last];
          std::uint32_t label = key_[last];
          for (; i < end; ++i) {
            label += stepOf(tokens[i]);
            column[i] = static_cast<int>(label);
          }
          key_[last] = label;
        });
  }

 private:
  int dim() const { return Dim > 0 ? Dim : dim_; }

  // Calls put(i) after the key of record i has been read from the tails, and steps(i, end) for the
  // records i <= r < end that step on in the last position.
  template <typename Put, typename Steps>
  void decode(ByteSpan tokens, Put put, Steps steps) {
    for (std::size_t i = 0; i < tokens.size();) {
      readTail(i == 0 && tokens[0] != 0 ? dim() : tokens[i]);
      put(i);
      const std::size_t end = endOfSteps(tokens, ++i);
      if (end == i) continue;
      steps(i, end);
      if (key_[dim() - 1] > labelCount_) tails_.damaged("label number of a key");
      i = end;
    }
    if (tails_.left() > 0) tails_.damaged("tails of keys");
  }

  // Unsigned, as labels are here: the sum of a damaged block's steps may exceed the range of int.
  static std::uint32_t stepOf(std::uint8_t token) {
    return std::uint32_t{token} - kFirstDeltaToken + 1;
  }

  void readTail(int changed) {
    if (changed >= dim()) tails_.damaged("token of a key");
    key_[changed] = readLabel(key_[changed]);
    for (int d = changed + 1; d < dim(); ++d) key_[d] = readLabel(0);
  }

  std::uint32_t readLabel(std::uint32_t base) {
    std::uint64_t step = 0;
    tails_.varint("step of a key", step);
    if (step < 1 || base > labelCount_ || step > labelCount_ - base) {
      tails_.damaged("label number of a key");
    }
    return base + static_cast<std::uint32_t>(step);
  }

  int dim_;
  std::uint32_t labelCount_;
  FieldReader& tails_;
  std::array<std::uint32_t, Dim == 0 ? kMaxDim : Dim> key_{};
};

}  // namespace

void KeyWriter::start(int dim) {
  dim_ = dim;
  count_ = 0;
  last_.fill(0);
  tails_.clear();
}

void KeyWriter::addTail(const int* key, int changed) {
  tokens_[count_++] = static_cast<std::uint8_t>(changed);
  if (dim_ == 0) return;
  appendVarint(tails_, static_cast<std::uint32_t>(key[changed] - last_[changed]));
  last_[changed] = key[changed];
  for (int d = changed + 1; d < dim_; ++d) {
    appendVarint(tails_, static_cast<std::uint32_t>(key[d]));
    last_[d] = key[d];
  }
}

void KeyWriter::append(Bytes& out, StreamWriter& streams) const {
  if (dim_ == 0) return;
  streams.append(out, ByteSpan(tokens_).first(count_));
  streams.append(out, tails_);
}

template <typename Decode>
void KeyReader::unpack(FieldReader& in, int dim, std::uint32_t labelCount, std::uint32_t count,
                       Decode decode) {
  tokens_.resize(count);
  const ByteSpan tokens = streams_.view(in, tokens_, "tokens of keys");
  streams_.read(in, tails_, std::uint64_t{count} * dim * kMaxVarintSize, "tails of keys");
  FieldReader tails(tails_, Errc::DamagedRecords);
  switch (dim) {
    case 1:
      return decode(KeyDecoder<1>(dim, labelCount, tails), tokens);
    case 2:
      return decode(KeyDecoder<2>(dim, labelCount, tails), tokens);
    case 3:
      return decode(KeyDecoder<3>(dim, labelCount, tails), tokens);
    case 4:
      return decode(KeyDecoder<4>(dim, labelCount, tails), tokens);
    default:
      return decode(KeyDecoder<0>(dim, labelCount, tails), tokens);
  }
}

void KeyReader::read(FieldReader& in, int dim, std::uint32_t labelCount, std::span<int> rows,
                     std::span<std::uint8_t> changed) {
  if (dim == 0) {
    std::fill(changed.begin(), changed.end(), std::uint8_t{0});
    return;
  }
  unpack(
      in, dim, labelCount, static_cast<std::uint32_t>(changed.size()),
      [&](auto decoder, ByteSpan tokens) { decoder.toRows(tokens, rows.data(), changed.data()); });
}

void KeyReader::readColumns(FieldReader& in, int dim, std::uint32_t labelCount, std::uint32_t count,
                            std::span<int* const> columns) {
  unpack(in, dim, labelCount, count,
         [&](auto decoder, ByteSpan tokens) { decoder.toColumns(tokens, columns); });
}

}  // namespace zdb::zxfile
