#pragma once

#include <memory>
#include <string>

#include "core/abstractzdbsymbol.h"

namespace zdb {

/// The SymbolFactory of the record containers: a new empty symbol over the container of a storage
/// type; null for an unknown one or a dim outside 0..20.
std::unique_ptr<AbstractZDBSymbol> makeSymbol(ZDB& owner, int storageType, const std::string& name,
                                              int dim, int type, int number, int userInfo,
                                              const std::string& explText);

}  // namespace zdb
