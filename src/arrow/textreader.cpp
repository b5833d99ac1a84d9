#include "arrow/textreader.h"

#include <algorithm>

namespace zdb::arrow {

namespace {

const ArrowArray& textsOf(const TextFormat& column, const ArrowArray& array) {
  if (column.numbers == '\0') return array;
  if (array.dictionary == nullptr) {
    throw StreamError(ErrorByCallback, "a dictionary column of the stream has no dictionary");
  }
  return *array.dictionary;
}

}  // namespace

std::optional<TextFormat> TextFormat::parse(const ArrowSchema& schema) {
  if (schema.dictionary == nullptr) {
    if (!TextArray::isFormat(schema.format)) return std::nullopt;
    return TextFormat{schema.format, '\0'};
  }
  const ArrowSchema& texts = *schema.dictionary;
  const bool isKnown = isIntegerFormat(schema.format) && texts.dictionary == nullptr &&
                       texts.format != nullptr && TextArray::isFormat(texts.format);
  if (!isKnown) return std::nullopt;
  return TextFormat{texts.format, schema.format[0]};
}

TextReader::TextReader(const TextFormat& column, const ArrowArray& array)
    : numbers_(column.numbers), validity_(array), texts_(column.texts, textsOf(column, array)) {
  if (numbers_ == '\0') return;
  places_ = bufferOf(array, 1, array.length);
  first_ = array.dictionary->offset;
  size_ = array.dictionary->length;
  if (size_ <= array.length) known_.resize(static_cast<std::size_t>(size_), kUnused);
}

std::int64_t TextReader::checked(std::int64_t place) const {
  if (static_cast<std::uint64_t>(place) >= static_cast<std::uint64_t>(size_)) {
    throw StreamError(ErrorByCallback,
                      "a number of a dictionary column of the stream is not in the dictionary");
  }
  return place;
}

std::int64_t TextReader::place(std::int64_t entry) const {
  if (numbers_ == '\0') return entry;
  std::int64_t place = 0;
  visitIntegers(numbers_, places_, [&](const auto* numbers) {
    // NOLINTNEXTLINE(bugprone-signed-char-misuse): a number of 8 bits, not a character
    place = static_cast<std::int64_t>(numbers[entry]);
  });
  return first_ + checked(place);
}

bool TextReader::isNull(std::int64_t entry) const {
  return validity_.isNull(entry) || texts_.isNull(place(entry));
}

std::string_view TextReader::operator[](std::int64_t entry) const {
  return texts_[place(entry)];
}

std::int64_t TextReader::readEach(std::int64_t first, std::int64_t count, Translate translate,
                                  int* out) const {
  std::string_view group[kGroup];
  for (std::int64_t done = 0; done < count;) {
    const int size = static_cast<int>(std::min<std::int64_t>(kGroup, count - done));
    int there = 0;
    while (there < size && !isNull(first + done + there)) {
      group[there] = (*this)[first + done + there];
      ++there;
    }
    const int taken = translate(group, there, out + done);
    done += taken;
    if (taken < size) return done;
  }
  return count;
}

void TextReader::findUsed(std::int64_t first, std::int64_t count) {
  visitIntegers(numbers_, places_, [&](const auto* numbers) {
    for (std::int64_t entry = first; entry < first + count; ++entry) {
      if (validity_.isNull(entry)) continue;
      known_[static_cast<std::size_t>(checked(static_cast<std::int64_t>(numbers[entry])))] = kUsed;
    }
  });
}

/// In the order of the dictionary, which may mean something, and in groups, which is faster.
void TextReader::translateUsed(Translate translate) {
  std::string_view texts[kGroup];
  std::size_t places[kGroup];
  int numbers[kGroup];
  int size = 0;
  const auto translateGroup = [&] {
    for (int from = 0; from < size; ++from) {
      const int taken = translate(texts + from, size - from, numbers);
      for (int i = 0; i < taken; ++i) known_[places[from + i]] = numbers[i];
      from += taken;  // at a text that cannot be taken, whose number stays negative
    }
    size = 0;
  };
  for (std::size_t place = 0; place < known_.size(); ++place) {
    if (known_[place] != kUsed) continue;
    known_[place] = kNotTaken;
    const std::int64_t entry = first_ + static_cast<std::int64_t>(place);
    if (texts_.isNull(entry)) continue;
    texts[size] = texts_[entry];
    places[size++] = place;
    if (size == kGroup) translateGroup();
  }
  translateGroup();
}

std::int64_t TextReader::readKnown(std::int64_t first, std::int64_t count, int* out) const {
  std::int64_t done = 0;
  visitIntegers(numbers_, places_, [&](const auto* numbers) {
    for (; done < count; ++done) {
      if (validity_.isNull(first + done)) return;
      out[done] = known_[static_cast<std::size_t>(numbers[first + done])];
      if (out[done] < 0) return;
    }
  });
  return done;
}

std::int64_t TextReader::read(std::int64_t first, std::int64_t count, Translate translate,
                              int* out) {
  if (known_.empty()) return readEach(first, count, translate, out);
  if (!isTranslated_) {
    findUsed(first, count);
    translateUsed(translate);
    isTranslated_ = true;
  }
  return readKnown(first, count, out);
}

}  // namespace zdb::arrow
