#pragma once

#include "core/zdb.h"

namespace zdb {

/// Replaces the target's records by copies of the source's. The two may belong to different
/// databases, whose labels and texts are then matched by text. On failure returns false and leaves
/// a message in `db`, the caller's database.
bool copySymbol(ZDB& db, AbstractZDBSymbol* target, AbstractZDBSymbol* source);

}  // namespace zdb
