#include "core/strpool.h"

#include <new>

#include "core/textutils.h"

namespace zdb::strpool {

int TStrHashPool::insert(const char* text, int value) {
  return list_.AddObject(text, value);
}

int TStrHashPool::insert(std::string_view text, int value) {
  return list_.AddObject(text.data(), text.size(), value);
}

bool TStrHashPool::contains(const char* text) {
  return list_.IndexOf(text) >= 0;
}

int TStrHashPool::operator[](const char* text) {
  return list_.GetObject(list_.IndexOf(text));
}

int TUMStringPool::insert(const char* text, int value) {
  const auto [place, added] = numbers_.try_emplace(zxf::utils::uppercase(text), size());
  const int number = place->second;
  if (!added) return number;
  try {
    entries_.push_back({text, value});
  } catch (const std::bad_alloc&) {
    numbers_.erase(place);  // a number without a text
    throw;
  }
  return number;
}

bool TUMStringPool::contains(const char* text) {
  return numbers_.contains(zxf::utils::uppercase(text));
}

int TUMStringPool::operator[](const char* text) {
  return entries_[numbers_.at(zxf::utils::uppercase(text))].value;
}

}  // namespace zdb::strpool
