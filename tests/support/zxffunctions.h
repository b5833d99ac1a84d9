// The functions of the exchange file library as data, from the list that its loader uses as well.
#pragma once

#include "script/functiontable.h"
#include "zxf/api.h"
#include "zxf/offered.h"

// Listed and not defined: the library does not offer it.
#pragma weak C__zxfAcronymAdd

namespace zdb::test::zxf {

inline zdb::script::FunctionTable functionTable() {
  zdb::script::FunctionTable table;
#define ZDB_FUNCTION(name, result, parameters, codes) \
  table.emplace(#name, zdb::script::Function::make(#name, &C__##name, true, #parameters));
#include "contract/zxffunctions.def"
  std::erase_if(table, [](const auto& each) { return !zdb::zxfile::isOffered(each.first); });
  return table;
}

}  // namespace zdb::test::zxf
