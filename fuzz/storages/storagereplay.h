#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace zdb::test {

/// Does the same operations in three databases, one for each record storage, through the exported
/// interface, and compares all that can be seen after each: results, messages, records, and where
/// every handle stands.
///
/// `data` is the list: dimension, type, and then operations of kOperationBytes each. Any bytes will
/// do. Returns a description of the first difference, or an empty text.
std::string replayOnAllStorages(const std::uint8_t* data, std::size_t size);

inline constexpr std::size_t kHeaderBytes = 2;
inline constexpr std::size_t kOperationBytes = 6;

}  // namespace zdb::test
