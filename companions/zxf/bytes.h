// Little-endian bytes: the two visitors that write and read the field lists of fields.h.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "zxf/errors.h"

namespace zdb::zxfile {

using Bytes = std::vector<std::uint8_t>;
using ByteSpan = std::span<const std::uint8_t>;

/// Converts an integer between memory order and file order; a no-op on little-endian machines.
template <typename Int>
Int littleEndian(Int value) {
  if constexpr (std::endian::native == std::endian::big) {
    std::uint8_t* bytes = reinterpret_cast<std::uint8_t*>(&value);
    for (std::size_t i = 0; i < sizeof value / 2; ++i) {
      std::swap(bytes[i], bytes[sizeof value - 1 - i]);
    }
  }
  return value;
}

/// Reads an integer at any address, aligned or not.
template <typename Int>
Int loadInt(const std::uint8_t* from) {
  Int value;
  std::memcpy(&value, from, sizeof value);
  return littleEndian(value);
}

/// Writes an integer at any address.
template <typename Int>
void storeInt(std::uint8_t* to, Int value) {
  value = littleEndian(value);
  std::memcpy(to, &value, sizeof value);
}

/// A view of the bytes as characters.
inline std::string_view asText(ByteSpan bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// Appends an unsigned integer with seven bits per byte, low bits first, the high bit set in all
/// bytes but the last: label numbers below 128 take one byte, 32-bit numbers at most five.
template <typename Int>
void appendVarint(Bytes& out, Int value) {
  static_assert(std::is_unsigned_v<Int>);
  while (value >= 0x80) {
    out.push_back(static_cast<std::uint8_t>(value | 0x80));
    value = static_cast<Int>(value >> 7);
  }
  out.push_back(static_cast<std::uint8_t>(value));
}

/// Appends each visited field to a byte array. Names and limits are for the other visitors.
class FieldWriter {
 public:
  explicit FieldWriter(Bytes& out) : out_(out) {}

  template <typename Int>
  void number(const char*, Int value) {
    const std::size_t at = out_.size();
    out_.resize(at + sizeof value);
    storeInt(out_.data() + at, value);
  }
  template <typename Enum>
  void choice(const char*, Enum value, Enum) {
    out_.push_back(static_cast<std::uint8_t>(value));
  }
  void varint(const char*, std::uint64_t value) { appendVarint(out_, value); }
  void text(const char*, std::string_view value) {
    const std::size_t at = out_.size();
    out_.resize(at + 1 + value.size());
    out_[at] = static_cast<std::uint8_t>(value.size());
    std::memcpy(out_.data() + at + 1, value.data(), value.size());
  }
  /// Appends texts that are in file form already.
  void texts(const char*, std::string_view packed, int) {
    out_.insert(out_.end(), packed.begin(), packed.end());
  }

 private:
  Bytes& out_;
};

/// Fills each visited field from untrusted bytes: a missing byte, an overlong number or an unknown
/// choice fails with the code given at construction.
class FieldReader {
 public:
  FieldReader(ByteSpan bytes, Errc onDamage) : rest_(bytes), onDamage_(onDamage) {}

  template <typename Int>
  void number(const char* name, Int& value) {
    value = loadInt<Int>(take(sizeof value, name).data());
  }
  template <typename Enum>
  void choice(const char* name, Enum& value, Enum last) {
    const std::uint8_t byte = take(1, name)[0];
    if (byte > static_cast<std::uint8_t>(last)) damaged(name);
    value = static_cast<Enum>(byte);
  }
  void varint(const char* name, std::uint64_t& value) {
    value = 0;
    for (int shift = 0; shift < 63; shift += 7) {
      const std::uint8_t byte = take(1, name)[0];
      value |= std::uint64_t{byte & 0x7Fu} << shift;
      if (byte < 0x80) return;
    }
    damaged(name);
  }
  void text(const char* name, std::string& value) { value = shortText(name); }

  /// Appends `count` texts in file form to `packed`.
  void texts(const char* name, std::string& packed, int count) {
    for (int i = 0; i < count; ++i) {
      const std::string_view one = shortText(name);
      packed += static_cast<char>(one.size());
      packed += one;
    }
  }

  /// A length byte and that many bytes, as a view of the bytes given at construction.
  std::string_view shortText(const char* name) {
    const std::size_t length = take(1, name)[0];
    return asText(take(length, name));
  }

  /// The next `size` bytes, as a view of those given at construction.
  ByteSpan take(std::size_t size, const char* name) {
    if (size > rest_.size()) damaged(name);
    const ByteSpan taken = rest_.first(size);
    rest_ = rest_.subspan(size);
    return taken;
  }

  /// Bytes not taken yet. Readers of a structure that must fill its bytes check for 0 at the end.
  std::size_t left() const { return rest_.size(); }
  /// Fails as the reader itself does; `name` tells the user which part is damaged.
  [[noreturn]] void damaged(const char* name) const { fail(onDamage_, name); }

 private:
  ByteSpan rest_;
  Errc onDamage_;
};

}  // namespace zdb::zxfile
