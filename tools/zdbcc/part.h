#pragma once

#include <cstddef>
#include <string>

namespace zdb::tool {

/// One of several parts, of about the same size, of a list: "3/16". Parts are numbered from 1 on.
struct Part {
  std::size_t number = 1;
  std::size_t count = 1;

  /// Of a list of so many, the places from begin() up to end() belong to this part, which may be
  /// none.
  std::size_t begin(std::size_t total) const;
  std::size_t end(std::size_t total) const;
  std::string text() const;
};

/// Throws WrongUseError for what is not a part. An empty text is the whole.
Part readPart(const std::string& text);

}  // namespace zdb::tool
