// Finding records that are outside the domains of their symbol.
//
// A violation is a record with a label that is not in the domain of its position. Positions whose
// domain is the universe or known by name only are not checked. Functions that may have to load
// symbols return false and leave a message if that fails.
#pragma once

#include "core/zdb.h"

namespace zdb {

class DomainViolation;

/// Sets `violation` to null if the symbol has none, else to a new object, which the caller frees
/// with freeViolation. Takes time in the records of the symbol and of its domains.
bool findViolation(ZDB& db, AbstractZDBSymbol* symbol, DomainViolation** violation);
/// The same over all symbols, in table order. The domains are read once; later changes to them are
/// not seen until endDomainCheck.
bool findViolation(ZDB& db, DomainViolation** violation);
/// Moves to the first violation of a later symbol; `found` receives whether there is one.
bool moveToNextSymbol(ZDB& db, DomainViolation& violation, bool& found);
void freeViolation(ZDB& db, DomainViolation* violation);
void endDomainCheck(ZDB& db);

/// Sets `found` to whether there is a violation in the symbol, or in any symbol.
bool checkDomains(ZDB& db, AbstractZDBSymbol* symbol, bool& found);
bool checkDomains(ZDB& db, bool& found);

/// Loads the sets that are domains of a symbol and makes the look-ups of their labels, unless they
/// exist already; false and a message if a set cannot be loaded. Constant time if all exist.
bool noteDomainLabels(const AbstractZDBSymbol& symbol);

}  // namespace zdb
