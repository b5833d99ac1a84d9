#include "core/strpool.h"

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
  entries_.push_back({text, value});  // first, so that the map never holds a number without a text
  const auto [place, added] = numbers_.try_emplace(zxf::utils::uppercase(text), size() - 1);
  if (!added) entries_.pop_back();
  return place->second;
}

bool TUMStringPool::contains(const char* text) {
  return numbers_.contains(zxf::utils::uppercase(text));
}

int TUMStringPool::operator[](const char* text) {
  return entries_[numbers_.at(zxf::utils::uppercase(text))].value;
}

}  // namespace zdb::strpool
