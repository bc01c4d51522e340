// Where the code lies that may be cut off without harm to the rest of the process.
#pragma once

#include <cstdint>

namespace platform {

struct address_range {
    std::uintptr_t begin, end;
};

/// Fills `ranges` with the code of this module and of the libraries loaded through LoadLibrary;
/// returns how many there are, `capacity` at most.
unsigned own_code(address_range* ranges, unsigned capacity);

}  // namespace platform
