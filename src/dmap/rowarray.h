// A growable array of rows of numbers that does not touch rows before they are used.
//
// How many numbers a row has is known at run time only, so a std::vector of structs would have to
// take the widest; two of these, for keys and values, make a `DMapVector`. For a million records of
// three labels and a double that takes 20 bytes each and 2.4 ns to load, or 1.3 if their number is
// known before; a std::vector of pairs, which alignment makes 24 bytes long, takes 2.5 and 1.1
// (`make bench`, load_sorted). A std::vector of numbers zeroes a length that it is given, in a pass
// over all its memory; here that is done when a row is read that was never written. Whatever makes
// the array longer may move the rows, so that pointers to them become invalid.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

#include "memory/pages.h"

namespace zdb::dmap {

/// Unlike std::vector, it can be given a length without a pass over the memory: rows that were not
/// written to count as zeros and are zeroed when they are first read. All sizes are in rows.
template <class T>
class RowArray {
  static_assert(std::is_trivially_copyable_v<T>);

 public:
  /// An empty array of rows of `width` numbers.
  explicit RowArray(std::size_t width) : width_(width) {}

  std::size_t width() const { return width_; }
  std::size_t size() const { return std::max(size_, written_); }
  bool empty() const { return size() == 0; }
  T* row(std::size_t i) { return data_.get() + i * width_; }
  const T* row(std::size_t i) const { return data_.get() + i * width_; }

  /// Rows at the front that have been written to.
  std::size_t written() const { return written_; }
  /// Zeroes the rows before `end` that were not written to, so that they can be read.
  /// REQUIRES end <= size().
  void zeroUpTo(std::size_t end) {
    if (end > written_) std::fill(row(written_), row(end), T{});
    setWritten(end);
  }

  /// Replaces the contents by `size` zero rows, with a capacity of exactly `size`. Throws
  /// std::bad_alloc, which leaves the array as it was.
  void assignZeros(std::size_t size) {
    data_ = obtain(size);
    size_ = capacity_ = size;
    written_ = 0;
  }
  /// Overwrites row `i`.
  /// REQUIRES i <= written().
  void set(std::size_t i, const T* values) {
    if (isNarrow()) {
      setNarrow(i, values);
    } else {
      std::memcpy(row(i), values, width_ * sizeof(T));
    }
    setWritten(i + 1);
  }
  /// Rows that the allocated memory can hold.
  std::size_t capacity() const { return capacity_; }
  /// Whether rows are narrow enough for `appendNarrow`, which makes no calls.
  bool isNarrow() const { return width_ <= 4; }
  /// Writes row `i`, lengthening the array if needed. Rows after it count as zeros again.
  /// REQUIRES i < capacity() and i <= written().
  void appendNarrow(std::size_t i, const T* values) {
    setNarrow(i, values);
    written_ = i + 1;
  }
  /// The same for rows of one number.
  void appendOne(std::size_t i, T value) {
    data_[i] = value;
    written_ = i + 1;
  }
  /// Ensures room for one more row. Amortised constant time; throws std::bad_alloc.
  void makeRoom() {
    if (size() == capacity_) grow();
  }
  /// Ensures room for `rows` more rows, exactly that if the array had no
  /// memory. Throws std::bad_alloc.
  void makeRoomFor(std::size_t rows) {
    if (rows > capacity_ - size()) growTo(std::max(size() + rows, 2 * capacity_));
  }
  /// Makes the array `end` rows long; those that are added are to be written next.
  /// REQUIRES end <= capacity().
  void lengthen(std::size_t end) { setWritten(end); }
  /// Forgets the rows from `end` on.
  void truncate(std::size_t end) {
    size_ = std::min(size_, end);
    written_ = std::min(written_, end);
  }
  /// Makes the array one row longer.
  /// REQUIRES size() < capacity().
  void extend() { size_ = size() + 1; }
  /// Opens a gap at row `i` by moving the rows i <= row < end up by one.
  /// REQUIRES end < size().
  void makeGap(std::size_t i, std::size_t end) {
    setWritten(end + 1);
    std::copy_backward(row(i), row(end), row(end + 1));
  }
  /// Removes row `i` by moving the later rows before `end` down by one, and forgets the rows from
  /// `end` on.
  void erase(std::size_t i, std::size_t end) {
    std::copy(row(i + 1), row(end), row(i));
    size_ = end - 1;
    written_ = std::min(written_, size_);
  }
  /// Empties the array and frees its memory.
  void clear() noexcept {
    data_.reset();
    size_ = written_ = capacity_ = 0;
  }

 private:
// Where the compiler sees an array that is shorter than the longest row, it reports the branches
// for longer rows as errors.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Warray-bounds"
#endif
  void setNarrow(std::size_t i, const T* values) {
    T* stored = row(i);
    switch (width_) {
      case 4:
        stored[3] = values[3];
        [[fallthrough]];
      case 3:
        stored[2] = values[2];
        [[fallthrough]];
      case 2:
        stored[1] = values[1];
        [[fallthrough]];
      default:
        stored[0] = values[0];
    }
  }
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif
  void setWritten(std::size_t end) {
    written_ = std::max(written_, end);
  }

  struct Release {
    std::size_t bytes = 0;
    void operator()(T* data) const { memory::release(data, bytes); }
  };
  using Data = std::unique_ptr<T[], Release>;

  Data obtain(std::size_t rows) const {
    if (width_ > 0 && rows > std::numeric_limits<std::size_t>::max() / sizeof(T) / width_) {
      throw std::bad_alloc();
    }
    const std::size_t bytes = rows * width_ * sizeof(T);
    return Data(static_cast<T*>(memory::obtain(bytes)), Release{bytes});
  }
  [[gnu::noinline]] void grow() {
    growTo(std::max<std::size_t>(1, 2 * capacity_));
  }
  void growTo(std::size_t capacity) {
    Data data = obtain(capacity);
    std::copy_n(data_.get(), written_ * width_, data.get());
    data_ = std::move(data);
    capacity_ = capacity;
  }

  Data data_;
  std::size_t width_;
  std::size_t size_ = 0;  ///< the length, unless more is written
  std::size_t written_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace zdb::dmap
