#pragma once

#include "core/zdb.h"

// Finding records that lie outside the domains of their symbol.
//
// A violation is a record with a label that is not a record of its position's domain. Positions
// whose domain is the universe or known by name only are not checked. Functions that may have to
// load symbols return false and leave a message when that fails.
namespace zdb {

class DomainViolation;

/// `violation` becomes null when the symbol has none, else a new object of the caller's, to be
/// given to freeViolation. Time in the records of the symbol and of its domains.
bool findViolation(ZDB& db, AbstractZDBSymbol* symbol, DomainViolation** violation);
/// The same over all symbols, in table order. What is noted of the domains is kept, and later
/// changes of them are not seen, until endDomainCheck.
bool findViolation(ZDB& db, DomainViolation** violation);
/// Moves the violation on to the first one of a later symbol; `found` tells whether there is one.
bool moveToNextSymbol(ZDB& db, DomainViolation& violation, bool& found);
void freeViolation(ZDB& db, DomainViolation* violation);
void endDomainCheck(ZDB& db);

/// Whether there is a violation in the symbol, or in any one.
bool checkDomains(ZDB& db, AbstractZDBSymbol* symbol, bool& found);
bool checkDomains(ZDB& db, bool& found);

/// Loads the sets behind the domains of a symbol and notes their labels, where that was not done or
/// the notes have been dropped since; false and a message when a set cannot be loaded. Constant
/// time when all are there.
bool noteDomainLabels(const AbstractZDBSymbol& symbol);

}  // namespace zdb
