#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <random>

namespace zdb::test {

/// Where a run takes its decisions from: a seed, which never ends, or the bytes of a fuzzer.
class Choices {
 public:
  explicit Choices(std::uint32_t seed) : random_(seed) {}
  Choices(const std::uint8_t* bytes, std::size_t size) : bytes_(bytes), left_(size) {}

  bool isFinite() const { return bytes_ != nullptr; }
  bool isAtEnd() const { return isFinite() && left_ == 0; }
  /// 0 to count - 1; after the last byte, 0.
  int below(int count) {
    unsigned value = isFinite() ? nextByte() : static_cast<unsigned>(random_());
    if (isFinite() && count > 256) value = value << 8 | nextByte();
    return static_cast<int>(value % static_cast<unsigned>(count));
  }
  bool oneIn(int count) { return below(count) == count - 1; }
  template <class List>
  auto& pick(List& list) {
    return list[static_cast<std::size_t>(below(static_cast<int>(std::size(list))))];
  }
  template <class List>
  void shuffle(List& list) {
    std::shuffle(list.begin(), list.end(), random_);
  }

 private:
  unsigned nextByte() { return left_ == 0 ? 0 : (--left_, *bytes_++); }

  std::mt19937 random_;
  const std::uint8_t* bytes_ = nullptr;
  std::size_t left_ = 0;
};

}  // namespace zdb::test
