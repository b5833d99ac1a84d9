// The subtypes of variables and equations, as a database keeps them as user information.
#pragma once

#include "kit/modeldata.h"

namespace zdb::kit {

/// The subtype on which all entries of a symbol agree: of an equation its rows' type; of a variable
/// binary (1) or integer (2), or else positive (3), negative (4) or free (5) by which signs its
/// columns' bounds allow. 0 if they do not agree, and for updatable parameters.
int subtypeOf(const ModelData& model, const Symbol& symbol);

}  // namespace zdb::kit
