#include "zxf/keys.h"

#include <algorithm>

namespace zdb::zxfile {

namespace {

constexpr std::size_t kMaxVarintSize = 5;  // of a label number

// Unpacks the keys of one block. Dim is the dimension if it is small enough for a specialised loop,
// which keeps the current key in registers; 0 stands for any dimension.
template <int Dim>
class KeyDecoder {
 public:
  KeyDecoder(int dim, std::uint32_t labelCount, FieldReader& tails)
      : dim_(Dim > 0 ? Dim : dim), labelCount_(labelCount), tails_(tails) {}

  void decode(ByteSpan tokens, int* rows, std::uint8_t* changed) {
    // Labels are unsigned here: the sum of a damaged block's steps may exceed the range of int. A
    // label that is too high is reported at the end.
    bool outOfRange = false;
    for (std::size_t i = 0; i < tokens.size(); ++i, rows += dim()) {
      const std::uint8_t token = tokens[i];
      if (token >= kFirstDeltaToken && i > 0) {
        key_[dim() - 1] += std::uint32_t{token} - kFirstDeltaToken + 1;
        outOfRange |= key_[dim() - 1] > labelCount_;
        changed[i] = static_cast<std::uint8_t>(dim());
      } else {
        readTail(i == 0 && token != 0 ? dim() : token);
        changed[i] = static_cast<std::uint8_t>(token + 1);
      }
      for (int d = 0; d < dim(); ++d) rows[d] = static_cast<int>(key_[d]);
    }
    if (outOfRange) tails_.damaged("label number of a key");
    if (tails_.left() > 0) tails_.damaged("tails of keys");
  }

 private:
  int dim() const { return Dim > 0 ? Dim : dim_; }

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

void KeyReader::read(FieldReader& in, int dim, std::uint32_t labelCount, std::span<int> rows,
                     std::span<std::uint8_t> changed) {
  if (dim == 0) {
    std::fill(changed.begin(), changed.end(), std::uint8_t{0});
    return;
  }
  tokens_.resize(changed.size());
  streams_.read(in, tokens_, "tokens of keys");
  streams_.read(in, tails_, changed.size() * dim * kMaxVarintSize, "tails of keys");
  FieldReader tails(tails_, Errc::DamagedRecords);
  const auto decode = [&]<int Dim>() {
    KeyDecoder<Dim>(dim, labelCount, tails).decode(tokens_, rows.data(), changed.data());
  };
  switch (dim) {
    case 1:
      return decode.template operator()<1>();
    case 2:
      return decode.template operator()<2>();
    case 3:
      return decode.template operator()<3>();
    case 4:
      return decode.template operator()<4>();
    default:
      return decode.template operator()<0>();
  }
}

}  // namespace zdb::zxfile
