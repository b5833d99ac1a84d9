// Converts between the exported types and our own: opaque handles are pointers to our objects,
// everything else is passed unchanged.
#pragma once

#include <type_traits>

#include "api/zdbcoorg.h"

namespace zdb {

template <typename T>
inline T inside(T value) {
  return value;
}
inline ZDB* inside(::zdbHandle_t db) {
  return reinterpret_cast<ZDB*>(db);
}
inline ZDB** inside(::zdbHandle_t* db) {
  return reinterpret_cast<ZDB**>(db);
}
inline AbstractZDBSymbol* inside(::zdbSymbol_t symbol) {
  return reinterpret_cast<AbstractZDBSymbol*>(symbol);
}
inline AbstractZDBSymbol** inside(::zdbSymbol_t* symbol) {
  return reinterpret_cast<AbstractZDBSymbol**>(symbol);
}
inline AbstractZDBSymbol* const* inside(const ::zdbSymbol_t* symbols) {
  return reinterpret_cast<AbstractZDBSymbol* const*>(symbols);
}
inline AbstractZDBSymbolIterator* inside(::zdbRecord_t record) {
  return reinterpret_cast<AbstractZDBSymbolIterator*>(record);
}
inline AbstractZDBSymbolIterator** inside(::zdbRecord_t* record) {
  return reinterpret_cast<AbstractZDBSymbolIterator**>(record);
}
inline DomainViolation* inside(::zdbDV_t violation) {
  return reinterpret_cast<DomainViolation*>(violation);
}
inline DomainViolation** inside(::zdbDV_t* violation) {
  return reinterpret_cast<DomainViolation**>(violation);
}

/// Calls one of our functions with exported arguments.
template <typename Result, auto Function, typename... Arguments>
inline Result forward(Arguments... arguments) {
  if constexpr (std::is_pointer_v<Result>) {
    return reinterpret_cast<Result>(Function(inside(arguments)...));
  } else {
    return Function(inside(arguments)...);
  }
}

}  // namespace zdb
