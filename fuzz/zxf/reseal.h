// Repairs the checksums of an exchange file whose bytes were changed.
#pragma once

#include <cstdint>
#include <vector>

// Recomputes the file size, the checksums of blocks and sections that lie inside the file, and that
// of the header, so that a reader gets past them to the changed bytes. Leaves what cannot be found.
void reseal(std::vector<std::uint8_t>& file);
