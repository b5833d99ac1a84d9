#pragma once

#include <string_view>

namespace zdb::tool {

/// The number of bytes of the UTF-8 character at the start, or 0: neither overlong forms nor
/// surrogates nor what is beyond U+10FFFF are characters.
std::size_t utf8Length(std::string_view text);

/// Whether a text consists of such characters.
bool isUtf8(std::string_view text);

}  // namespace zdb::tool
