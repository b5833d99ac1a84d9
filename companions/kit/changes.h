// Changes, by name, of numbers of an instance that was read from a file.
#pragma once

#include <span>
#include <string>

#include "kit/instance.h"

namespace zdb::kit {

/// Looks up the columns of changes whose names leave no label open, once, so that setting them does
/// not.
void findNamedColumns(Instance& instance);

/// Whether a change stands for an entry. Its labels are those that the name leaves open.
bool hasChanged(const Instance& instance, int change, std::span<const char* const> labels);

/// Sets the number for which a change stands, in place. Throws a KitError if there is no such
/// change or entry, or if the number cannot be used there.
void setChanged(Instance& instance, int change, std::span<const char* const> labels, double value);

/// Makes the numbers of the instance those of a variant, or with -1 its own, and takes changes
/// back. Throws a KitError if there is no such variant or it does not fit.
void useVariant(Instance& instance, int variant);

/// Gives all numbers that setChanged() has set the values that they had before.
void restoreChanged(Instance& instance);

}  // namespace zdb::kit
