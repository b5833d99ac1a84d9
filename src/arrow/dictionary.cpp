#include "arrow/dictionary.h"

#include <cstring>
#include <limits>

#include "contract/utf8.h"

namespace zdb::arrow {

bool LabelDictionary::note(const ZDB& db, const int* labels, std::size_t count, int& unknown) {
  const auto size = static_cast<std::size_t>(db.labels().size());
  if (places_.size() < size) places_.resize(size, kAbsent);
  for (std::size_t i = 0; i < count; ++i) {
    const auto label = static_cast<std::size_t>(labels[i]);  // negative: becomes too large
    if (label >= size) {
      unknown = labels[i];
      return false;
    }
    places_[label] = 0;
  }
  return true;
}

bool LabelDictionary::build(const ZDB& db, std::string& reason) {
  labels_.clear();
  std::size_t bytes = 0;
  for (std::size_t label = 0; label < places_.size(); ++label) {
    if (places_[label] == kAbsent) continue;
    places_[label] = static_cast<int>(labels_.size());
    labels_.push_back(static_cast<int>(label));
    const std::string_view text = db.labelText(static_cast<int>(label));
    if (!contract::isUtf8(text)) {
      reason = "label " + std::to_string(label) + " is not UTF-8 text: " + std::string(text);
      return false;
    }
    bytes += text.size();
  }
  if (bytes > std::numeric_limits<std::int32_t>::max()) {
    reason = "the labels of a position take more than 2 GiB";
    return false;
  }
  offsets_ = makeColumn<std::int32_t>(labels_.size() + 1);
  bytes_ = makeColumn<char>(bytes);
  std::int32_t end = 0;
  for (std::size_t i = 0; i < labels_.size(); ++i) {
    const std::string_view text = db.labelText(labels_[i]);
    offsets_[i] = end;
    std::memcpy(&bytes_[end], text.data(), text.size());
    end += static_cast<std::int32_t>(text.size());
  }
  offsets_[labels_.size()] = end;
  return true;
}

bool LabelDictionary::translate(int* labels, std::size_t count) const {
  for (std::size_t i = 0; i < count; ++i) {
    const auto label = static_cast<std::size_t>(labels[i]);
    const int place = label < places_.size() ? places_[label] : kAbsent;
    if (place == kAbsent) [[unlikely]] {
      while (i-- > 0) labels[i] = labels_[static_cast<std::size_t>(labels[i])];
      return false;
    }
    labels[i] = place;
  }
  return true;
}

Array LabelDictionary::texts() const {
  return {static_cast<std::int64_t>(labels_.size()), {offsets_, bytes_}, {}, {}};
}

}  // namespace zdb::arrow
