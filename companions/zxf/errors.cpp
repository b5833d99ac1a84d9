#include "zxf/errors.h"

#include <climits>
#include <cstdarg>
#include <cstdio>

#include "contract/failures.h"

namespace zdb::zxfile {

using namespace zdb::contract;

static_assert(static_cast<int>(Errc::CannotReplaceFile) < kFirstContentError &&
              static_cast<int>(Errc::ForeignFile) == kFirstContentError &&
              static_cast<int>(Errc::DamagedRecords) < kFirstUseError &&
              static_cast<int>(Errc::NullArgument) == kFirstUseError &&
              static_cast<int>(Errc::DomainViolation) == kFileDomainViolation &&
              static_cast<int>(Errc::OutOfMemory) == kFileOutOfMemory);

const char* errorText(int number) {
  switch (number) {
    case 0:
      return "No error";
#define ZXF_ERROR(value, name, text) \
  case value:                        \
    return text;
#include "zxf/errors.def"
    default:
      return nullptr;
  }
}

std::string printed(const char* format, ...) {
  char buffer[512];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(buffer, sizeof buffer, format, arguments);
  va_end(arguments);
  return buffer;
}

void fail(Errc code, std::string detail) {
  throw ZxfError(code, std::move(detail));
}

void ErrorLog::clear() {
  count_ = 0;
  last_ = 0;
  pending_.clear();
  details_.clear();
}

void ErrorLog::add(Errc code, const char* detail) noexcept {
  const int number = static_cast<int>(code);
  if (count_ < INT_MAX) ++count_;
  last_ = number;
  try {
    if (!pending_.empty() && pending_.back().number == number) {
      ++pending_.back().count;
    } else if (pending_.size() < kMaxPending) {
      pending_.push_back({number, 1});
    }
    if (detail != nullptr && *detail != '\0') details_.try_emplace(number, detail);
  } catch (const std::bad_alloc&) {
    return;  // the error is counted, only its number or detail is lost
  }
}

int ErrorLog::take() {
  if (pending_.empty()) return 0;
  const int number = pending_.front().number;
  if (--pending_.front().count == 0) pending_.pop_front();
  return number;
}

bool ErrorLog::describe(int number, char* text) const {
  const char* fixed = errorText(number);
  if (fixed == nullptr) {
    std::snprintf(text, 256, "Unknown error number %d", number);
    return false;
  }
  const auto detail = details_.find(number);
  if (detail == details_.end()) {
    std::snprintf(text, 256, "%s", fixed);
  } else {
    std::snprintf(text, 256, "%s: %s", fixed, detail->second.c_str());
  }
  return true;
}

}  // namespace zdb::zxfile
