#include "arrow/take.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>

namespace zdb::arrow {

namespace {

constexpr std::string_view kIntegers = "cCsSiIlL";

/// An entry of a column of views: the text itself, or where it is.
struct View {
  static constexpr std::int32_t kMostInside = 12;

  std::int32_t length;
  std::int32_t beginning;  ///< the first bytes of a long text, or where a short one begins
  std::int32_t buffer;
  std::int32_t offset;

  const char* inside() const { return reinterpret_cast<const char*>(this) + sizeof length; }
};
static_assert(sizeof(View) == 16);

/// Where a text begins in its buffer.
const char* partOf(const void* bytes, std::int64_t begin) {
  if (bytes == nullptr) throw StreamError(ErrorByCallback, "an array of the stream has no texts");
  return static_cast<const char*>(bytes) + begin;
}

/// The value of a number of 16 bits: sign, 5 bits of exponent, 10 of fraction.
double fromHalf(std::uint16_t half) {
  const int exponent = half >> 10 & 31;
  const int fraction = half & 1023;
  double value =
      std::ldexp(exponent == 0 ? fraction : fraction + 1024, (exponent == 0 ? 1 : exponent) - 25);
  if (exponent == 31) value = fraction == 0 ? HUGE_VAL : std::nan("");
  return (half & 0x8000) != 0 ? -value : value;
}

template <class Integer>
void readDecimals(const void* data, int scale, std::int64_t first, std::int64_t count,
                  double* out) {
  const double unit = std::pow(10.0, scale);
  const auto* bytes =
      static_cast<const char*>(data) + first * static_cast<std::int64_t>(sizeof(Integer));
  for (std::int64_t i = 0; i < count; ++i) {
    Integer number;  // copied, since producers do not align 16 bytes
    std::memcpy(&number, bytes + i * static_cast<std::int64_t>(sizeof number), sizeof number);
    out[i] = static_cast<double>(number) / unit;
  }
}

template <class Number>
void readAs(const void* data, std::int64_t first, std::int64_t count, double* out) {
  const auto* numbers = static_cast<const Number*>(data) + first;
  for (std::int64_t i = 0; i < count; ++i) out[i] = static_cast<double>(numbers[i]);
}

/// Whether `text` begins with a number, which is taken off.
bool takeNumber(std::string_view& text, int& number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return error == std::errc();
}

__extension__ using Int128 = __int128;

}  // namespace

const void* bufferOf(const ArrowArray& array, int number, std::int64_t entries) {
  if (array.n_buffers <= number || array.buffers == nullptr) {
    throw StreamError(ErrorByCallback, "an array of the stream has too few buffers");
  }
  if (array.buffers[number] == nullptr && entries > 0) {
    throw StreamError(ErrorByCallback, "an array of the stream has no data");
  }
  return array.buffers[number];
}

Validity::Validity(const ArrowArray& array) {
  if (array.null_count == 0 || array.length == 0) return;
  bits_ = static_cast<const std::uint8_t*>(bufferOf(array, 0, 0));
}

bool TextArray::isFormat(std::string_view format) {
  return format == "u" || format == "U" || format == "vu";
}

TextArray::TextArray(std::string_view format, const ArrowArray& array)
    : form_(format == "u"   ? Form::Offsets
            : format == "U" ? Form::LargeOffsets
                            : Form::Views),
      validity_(array),
      places_(bufferOf(array, 1, array.length)) {
  if (form_ == Form::Views) {
    // After the views come their buffers, and last the sizes of these.
    viewBuffers_ = array.n_buffers - 3;
    viewBytes_ = array.buffers + 2;
  } else {
    bytes_ = bufferOf(array, 2, 0);
  }
}

std::string_view TextArray::operator[](std::int64_t entry) const {
  if (form_ == Form::Offsets) return between<std::int32_t>(entry);
  return form_ == Form::LargeOffsets ? between<std::int64_t>(entry) : viewed(entry);
}

template <class Offset>
std::string_view TextArray::between(std::int64_t entry) const {
  const auto* offsets = static_cast<const Offset*>(places_) + entry;
  if (offsets[0] < 0 || offsets[1] < offsets[0]) {
    throw StreamError(ErrorByCallback, "the offsets of a text column of the stream decrease");
  }
  const auto length = static_cast<std::size_t>(offsets[1] - offsets[0]);
  return length == 0 ? "" : std::string_view(partOf(bytes_, offsets[0]), length);
}

std::string_view TextArray::viewed(std::int64_t entry) const {
  const View& view = static_cast<const View*>(places_)[entry];
  const auto length = static_cast<std::size_t>(view.length);
  if (view.length >= 0 && view.length <= View::kMostInside) return {view.inside(), length};
  if (view.length < 0 || view.offset < 0 || view.buffer < 0 || view.buffer >= viewBuffers_) {
    throw StreamError(ErrorByCallback, "a view of a text column of the stream points nowhere");
  }
  return {partOf(viewBytes_[view.buffer], view.offset), length};
}

bool isIntegerFormat(std::string_view format) {
  return format.size() == 1 && kIntegers.find(format[0]) != std::string_view::npos;
}

bool NumberFormat::parse(std::string_view format, NumberFormat& out) {
  if (isIntegerFormat(format) || format == "b" || format == "e" || format == "f" || format == "g") {
    out.format_ = format[0];
    return true;
  }
  if (format.substr(0, 2) != "d:") return false;
  format.remove_prefix(2);
  int precision;
  out.format_ = 'd';
  out.bits_ = 128;
  if (!takeNumber(format, precision) || format.substr(0, 1) != ",") return false;
  format.remove_prefix(1);
  if (!takeNumber(format, out.scale_)) return false;
  if (format.empty()) return true;
  format.remove_prefix(1);
  return takeNumber(format, out.bits_) && (out.bits_ == 32 || out.bits_ == 64 || out.bits_ == 128);
}

void NumberFormat::read(const ArrowArray& array, std::int64_t first, std::int64_t count,
                        double* out) const {
  const void* data = bufferOf(array, 1, array.length);
  if (count == 0) return;
  switch (format_) {
    case 'b': {
      const auto* bits = static_cast<const std::uint8_t*>(data);
      for (std::int64_t i = first; i < first + count; ++i) *out++ = bits[i >> 3] >> (i & 7) & 1;
      return;
    }
    case 'e': {
      const auto* halves = static_cast<const std::uint16_t*>(data) + first;
      for (std::int64_t i = 0; i < count; ++i) out[i] = fromHalf(halves[i]);
      return;
    }
    case 'f':
      return readAs<float>(data, first, count, out);
    case 'g':
      return readAs<double>(data, first, count, out);
    case 'd':
      if (bits_ == 32) return readDecimals<std::int32_t>(data, scale_, first, count, out);
      if (bits_ == 64) return readDecimals<std::int64_t>(data, scale_, first, count, out);
      return readDecimals<Int128>(data, scale_, first, count, out);
    default:
      visitIntegers(format_, data, [&]<class Integer>(const Integer*) {
        readAs<Integer>(data, first, count, out);
      });
  }
}

}  // namespace zdb::arrow
