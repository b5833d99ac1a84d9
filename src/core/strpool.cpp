#include "core/strpool.h"

#include "core/textutils.h"

namespace zdb::strpool {

int TUMStringPool::insert(const char* text, int value) {
  const auto [place, added] = numbers_.try_emplace(zxf::utils::uppercase(text), size());
  if (added) entries_.push_back({text, value});
  return place->second;
}

bool TUMStringPool::contains(const char* text) {
  return numbers_.contains(zxf::utils::uppercase(text));
}

int TUMStringPool::operator[](const char* text) {
  return entries_[numbers_.at(zxf::utils::uppercase(text))].value;
}

}  // namespace zdb::strpool
