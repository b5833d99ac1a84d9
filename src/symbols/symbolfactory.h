#pragma once

#include <memory>
#include <string>

#include "core/abstractzdbsymbol.h"

namespace zdb {

/// The SymbolFactory of the record containers: makes a new empty symbol with the container of a
/// storage type; null for an unknown type or unless 0 <= dim <= 20.
std::unique_ptr<AbstractZDBSymbol> makeSymbol(ZDB& owner, int storageType, const std::string& name,
                                              int dim, int type, int number, int userInfo,
                                              const std::string& explText);

}  // namespace zdb
