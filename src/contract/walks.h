// What a walk of the zlx interface gives in place of a row or column.
#pragma once

namespace zdb::contract {

inline constexpr int kEndOfWalk = -1;
inline constexpr int kNoMemoryForWalk = -2;  ///< the walk could not be made

}  // namespace zdb::contract
