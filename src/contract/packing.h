// Values as bytes, for another process that is built from the same source: numbers as in memory,
// texts and lists preceded by their length. A struct names its fields once, for both directions, in
// a function `visit(wire, object)`.
#pragma once

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace zdb::contract {

class Packer {
 public:
  template <class T>
  void number(const T& value) {
    static_assert(std::is_trivially_copyable_v<T>);
    bytes_.append(reinterpret_cast<const char*>(&value), sizeof value);
  }

  void text(const std::string& value) {
    number(static_cast<std::uint64_t>(value.size()));
    bytes_ += value;
  }

  template <class List, class Visit>
  void list(const List& items, Visit visitItem) {
    number(static_cast<std::uint64_t>(items.size()));
    for (const auto& item : items) visitItem(*this, item);
  }

  std::string take() { return std::move(bytes_); }

 private:
  std::string bytes_;
};

/// Bytes that do not hold what they should.
class CutError : public std::runtime_error {
 public:
  CutError() : std::runtime_error("an incomplete message from another process") {}
};

/// Throws CutError rather than read outside the bytes, which must last as long as this.
class Unpacker {
 public:
  explicit Unpacker(std::string_view bytes) : rest_(bytes) {}

  template <class T>
  void number(T& value) {
    static_assert(std::is_trivially_copyable_v<T>);
    std::memcpy(&value, take(sizeof value), sizeof value);
  }

  void text(std::string& value) {
    const std::size_t size = length();
    value.assign(take(size), size);
  }

  // Every item takes at least one byte, so a list cannot have more items than there are bytes left.
  template <class List, class Visit>
  void list(List& items, Visit visitItem) {
    items.resize(length());
    for (auto& item : items) visitItem(*this, item);
  }

  bool isEmpty() const { return rest_.empty(); }

 private:
  const char* take(std::size_t size) {
    if (size > rest_.size()) throw CutError();
    const char* at = rest_.data();
    rest_.remove_prefix(size);
    return at;
  }

  std::size_t length() {
    std::uint64_t size = 0;
    number(size);
    if (size > rest_.size()) throw CutError();
    return size;
  }

  std::string_view rest_;
};

}  // namespace zdb::contract
