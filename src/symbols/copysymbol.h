#pragma once

#include "core/zdb.h"

namespace zdb {

/// Replaces the target's records by copies of the source's; the two may belong to different
/// databases, whose labels and texts are then matched by text. False and a message in `db`, the
/// database of the caller.
bool copySymbol(ZDB& db, AbstractZDBSymbol* target, AbstractZDBSymbol* source);

}  // namespace zdb
