#pragma once

#include <set>

#include "blockchecker.h"

namespace zdb::tool {

/// Writes what can be read of a data file to a new one: labels, texts, symbols, and the readable
/// blocks of those symbols whose numbers are in `damaged`. A strict domain that has lost members
/// becomes a relaxed one, since records may lie outside it now. Throws the companion's ZxfError.
void salvage(BlockChecker& checker, const std::set<std::uint32_t>& damaged, const char* path);

}  // namespace zdb::tool
